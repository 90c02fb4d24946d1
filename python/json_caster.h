// Converts between Python values and ordered_json records.
//
// dict -> map (insertion order kept), list/tuple -> list, str, int, float, bool, None as
// themselves. Any other object becomes a foreign value (its type's name and its str()): a
// params map may carry values an operation never reads (the harness's own objects), and
// those must pass without harm, while a message about one still names its real type.
#pragma once

#include <pybind11/pybind11.h>

#include "marlet/utils/pytext.h"

namespace vorna_py {

namespace py = pybind11;
using marlet::Json;

Json to_json(py::handle value);
// Re-raises a failure met while reading `value`: as it is when it is one of the kinds an
// operation may raise (or no Exception at all), otherwise as a TypeError caused by it.
[[noreturn]] void raise_unreadable(py::error_already_set& e, py::handle value);
py::object from_json(const Json& value);

}  // namespace vorna_py

namespace pybind11::detail {

template <>
struct type_caster<marlet::Json> {
  PYBIND11_TYPE_CASTER(marlet::Json, const_name("object"));

  bool load(handle src, bool) {
    value = vorna_py::to_json(src);
    return true;
  }
  static handle cast(const marlet::Json& src, return_value_policy, handle) {
    return vorna_py::from_json(src).release();
  }
};

}  // namespace pybind11::detail
