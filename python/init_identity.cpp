// Identity and versions.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_identity(WrapperClass& cls) {
  cls.def("get_product_sn", operation(&VornaWebWrapper::get_product_sn, "get_product_sn"));
  cls.def("get_guid", operation(&VornaWebWrapper::get_guid, "get_guid"));
  cls.def("get_bios_name", operation(&VornaWebWrapper::get_bios_name, "get_bios_name"));
  cls.def("web_get_firmware_version", operation(&VornaWebWrapper::web_get_firmware_version, "web_get_firmware_version"));
  cls.def("web_get_software_info", operation(&VornaWebWrapper::web_get_software_info, "web_get_software_info"));
}

}  // namespace vorna_py
