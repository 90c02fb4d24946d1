// Boot device, its effectiveness, boot mode and start-up mode.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_boot(WrapperClass& cls) {
  cls.def("web_set_boot_option", operation(&VornaWebWrapper::web_set_boot_option, "web_set_boot_option"),
          py::arg("params"));
  cls.def("web_get_boot_option", operation(&VornaWebWrapper::web_get_boot_option, "web_get_boot_option"));
  cls.def("web_get_effective", operation(&VornaWebWrapper::web_get_effective, "web_get_effective"));
  cls.def("web_set_effective", operation(&VornaWebWrapper::web_set_effective, "web_set_effective"),
          py::arg("params"));
  cls.def("web_get_boot_mode", operation(&VornaWebWrapper::web_get_boot_mode, "web_get_boot_mode"));
  cls.def("web_set_boot_mode", operation(&VornaWebWrapper::web_set_boot_mode, "web_set_boot_mode"),
          py::arg("params"));
  cls.def("change_startup_mode", operation(&VornaWebWrapper::change_startup_mode, "change_startup_mode"),
          py::arg("mode") = 1);
  // The values found come back as a tuple: an ordered triple, as the harness unpacks it.
  cls.def(
      "modify_msconfig",
      [](VornaWebWrapper& w, const Json& boot_mode, const Json& effective, const Json& option_mode) {
        Json found = operation(&VornaWebWrapper::modify_msconfig, "modify_msconfig")(w, boot_mode, effective,
                                                                                     option_mode);
        return py::tuple(from_json(found));
      },
      py::arg("boot_mode"), py::arg("effective"), py::arg("option_mode"));
}

}  // namespace vorna_py
