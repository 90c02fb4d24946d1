// What the settings operations accept as arguments. Everything they put into a field is
// text; a number stands for its own text, as a person would type it. Anything else (None
// where a value is required, a bool, a list, a map) is refused with a TypeError naming
// the argument, before the page is touched, so a refused call changes nothing.
#pragma once

#include <optional>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"

namespace vorna::settings {

using marlet::Json;

inline bool is_text_like(const Json& value) {
  return value.is_string() || value.is_number_integer() || value.is_number_unsigned() || value.is_number_float();
}

// The text of a required argument.
inline std::string text_arg(const Json& value, const char* operation, const char* name) {
  if (value.is_string()) return value.get<std::string>();
  if (is_text_like(value)) return marlet::py::str(value);
  throw marlet::TypeError(marlet::py::format("%s() argument '%s' must be a text, not %s", operation, name,
                                             marlet::py::type_name(value)));
}

// The text of an optional field, or nothing when it is null or empty: the field is then
// left as the page shows it.
inline std::optional<std::string> optional_text_arg(const Json& value, const char* operation, const char* name) {
  if (value.is_null()) return std::nullopt;
  std::string text = text_arg(value, operation, name);
  if (text.empty()) return std::nullopt;
  return text;
}

// A value that is used only as a drop-down's visible text: a text, or null when absent.
inline void require_text_or_null(const Json& value, const char* operation, const char* name) {
  if (!value.is_null() && !value.is_string())
    throw marlet::TypeError(marlet::py::format("%s() argument '%s' must be a text or None, not %s", operation, name,
                                               marlet::py::type_name(value)));
}

}  // namespace vorna::settings
