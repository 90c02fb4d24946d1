// What every operation that takes a map of parameters checks first.
#pragma once

#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/gui/web/web_base.h"
#include "marlet/utils/pytext.h"

namespace vorna {

// An operation's params are a map; anything else is refused before the console is
// touched, so a wrong call changes nothing. The message names the value's type, never
// the value: a password or a megabyte of text passed in the map's place stays out of
// the error's text.
inline void require_params_map(const marlet::Json& params, const char* operation) {
  if (!params.is_object())
    throw marlet::TypeError(marlet::py::format("%s() takes a map of parameters, not %s", operation,
                                               marlet::py::type_name(params)));
}

// A text an operation will type into a console field, checked before the operation logs
// or touches anything: a text longer than the element layer types within its bound is
// refused with a ValueError naming `argument` and the limit (never the text: it may be a
// password). Returns the text.
inline const std::string& typed_text(const std::string& text, const char* argument) {
  size_t length = marlet::typed_length(text);
  if (length > marlet::kLongestTypedText)
    throw marlet::ValueError(marlet::py::format("%s is %s characters long; a console field is typed %s characters "
                                                "at most",
                                                argument, length, marlet::kLongestTypedText));
  return text;
}

}  // namespace vorna
