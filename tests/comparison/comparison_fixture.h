#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/log/logger.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparisons.h"

using marlet::Json;

// What a comparison raised: its kind and its whole text; {"none", ""} when it returned.
struct Failure {
  std::string kind;
  std::string message;
  bool operator==(const Failure&) const = default;
};
inline std::ostream& operator<<(std::ostream& os, const Failure& f) { return os << f.kind << "(" << f.message << ")"; }
inline const Failure kNone{"none", ""};

inline Failure failure_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const marlet::WebDisplayException& e) {
    return {"WebDisplayException", e.what()};
  } catch (const marlet::WebElementException& e) {
    return {"WebElementException", e.what()};
  } catch (const marlet::MarletException& e) {
    return {"MarletException", e.what()};
  } catch (const marlet::PythonError& e) {
    return {e.python_builtin(), e.what()};
  } catch (const std::exception& e) {
    return {"std::exception", e.what()};  // a crash that escaped as a library error
  }
  return kNone;
}

inline Failure shows(const std::string& message) { return {"WebDisplayException", message}; }

// `base` with the members of `patch` merged in, nested maps included, a null member
// removing its key (RFC 7386); a null patch changes nothing.
inline Json patched(Json base, const Json& patch) {
  if (!patch.is_null()) base.merge_patch(patch);
  return base;
}

class ComparisonTest : public ::testing::Test {
 protected:
  marlet::RecordingLogger log;
};
