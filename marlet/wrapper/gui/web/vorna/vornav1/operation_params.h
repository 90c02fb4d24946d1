// What every operation that takes a map of parameters checks first.
#pragma once

#include "marlet/exception/exceptions.h"
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

}  // namespace vorna
