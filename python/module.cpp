// The extension module the harness imports. Its one public name is VornaWebWrapper; the
// names with a leading underscore serve the pure-Python modules of the `marlet` package.
#include "python/bindings.h"

PYBIND11_MODULE(vornawebwrapper, m) {
  m.doc() = "Automation driver for the web console of a server's management controller.";
  vorna_py::init_errors(m);
  vorna_py::init_platform(m);
  vorna_py::init_webdriver(m);
  vorna_py::init_wrapper(m);
  vorna_py::init_activity(m);
  // A refused call names its arguments' types, never their values (passwords, huge texts).
  pybind11::module_::import("marlet._argument_errors").attr("hide_argument_values_in")(m);
  m.attr("__all__") = pybind11::make_tuple("VornaWebWrapper");
}
