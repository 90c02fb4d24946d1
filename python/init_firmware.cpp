// Firmware upgrade and diagnostics export.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_firmware(WrapperClass& cls) {
  cls.def("set_firmware_upgrade", operation(&VornaWebWrapper::set_firmware_upgrade, "set_firmware_upgrade"),
          py::arg("filepath"));
  cls.def("update_fw", operation(&VornaWebWrapper::update_fw, "update_fw"), py::arg("fw_path"));
  cls.def("set_info_collection", operation(&VornaWebWrapper::set_info_collection, "set_info_collection"),
          py::arg("timeout") = 600);
  cls.def("web_export_bmc_log", operation(&VornaWebWrapper::web_export_bmc_log, "web_export_bmc_log"));
}

}  // namespace vorna_py
