// Storage: RAID controllers, the storage tree, logical drives.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_storage(WrapperClass& cls) {
  cls.def("web_get_raid_web_info", operation(&VornaWebWrapper::web_get_raid_web_info, "web_get_raid_web_info"));
  cls.def("get_raid_name", operation(&VornaWebWrapper::get_raid_name, "get_raid_name"));
  cls.def("delete_all_raid_logical_driver",
          operation(&VornaWebWrapper::delete_all_raid_logical_driver, "delete_all_raid_logical_driver"));
  cls.def("create_raid_logical_driver",
          operation(&VornaWebWrapper::create_raid_logical_driver, "create_raid_logical_driver"), py::arg("params"));
  cls.def("get_storage_info", operation(&VornaWebWrapper::get_storage_info, "get_storage_info"), py::arg("params"));
  cls.def("web_get_logical_driver_info",
          operation(&VornaWebWrapper::web_get_logical_driver_info, "web_get_logical_driver_info"));
}

}  // namespace vorna_py
