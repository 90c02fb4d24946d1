// First-login registration: web_register, web_register_web.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_register(WrapperClass& cls) {
  cls.def("web_register", operation(&VornaWebWrapper::web_register, "web_register"), py::arg("params"));
  cls.def("web_register_web", operation(&VornaWebWrapper::web_register_web, "web_register_web"), py::arg("params"));
}

}  // namespace vorna_py
