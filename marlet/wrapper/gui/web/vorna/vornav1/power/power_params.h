// What the power operations check of their params before they touch the page.
#pragma once

#include <optional>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"

namespace vorna::power {

// The params of a power operation are a map; anything else is refused up front, so a
// wrong call changes nothing on the console.
inline void require_params(const marlet::Json& params, const char* operation) {
  if (!params.is_object())
    throw marlet::TypeError(
        marlet::py::format("%s() takes a map of parameters, not %s", operation, marlet::py::repr(params)));
}

// `part in attr` for an attribute read from the page: an absent attribute is None, which
// a membership test refuses, as the harness's own code would.
inline bool attribute_has(const std::optional<std::string>& attr, const char* part) {
  if (!attr) throw marlet::TypeError("argument of type 'NoneType' is not iterable");
  return marlet::py::contains(*attr, part);
}

}  // namespace vorna::power
