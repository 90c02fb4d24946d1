// What the power operations check of their params before they touch the page.
#pragma once

#include <optional>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna::power {

// `part in attr` for an attribute read from the page: an absent attribute is None, which
// a membership test refuses, as the harness's own code would.
inline bool attribute_has(const std::optional<std::string>& attr, const char* part) {
  if (!attr) throw marlet::TypeError("argument of type 'NoneType' is not iterable");
  return marlet::py::contains(*attr, part);
}

}  // namespace vorna::power
