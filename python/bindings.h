// The module is assembled from one init function per area, each in its own file.
#pragma once

#include <pybind11/pybind11.h>

namespace vorna_py {
namespace py = pybind11;
void init_errors(py::module_& m);
void init_platform(py::module_& m);
void init_webdriver(py::module_& m);
void init_wrapper(py::module_& m);
void init_activity(py::module_& m);
}  // namespace vorna_py
