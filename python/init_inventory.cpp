// Inventory readers: the tabs of the system information page.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_inventory(WrapperClass& cls) {
  cls.def("web_get_main_board_info", operation(&VornaWebWrapper::web_get_main_board_info, "web_get_main_board_info"));
  cls.def("get_back_info", operation(&VornaWebWrapper::get_back_info, "get_back_info"));
  cls.def("web_get_fan_web_info", operation(&VornaWebWrapper::web_get_fan_web_info, "web_get_fan_web_info"));
  cls.def("web_get_power_web_info", operation(&VornaWebWrapper::web_get_power_web_info, "web_get_power_web_info"));
  cls.def("web_get_pcie_web_info", operation(&VornaWebWrapper::web_get_pcie_web_info, "web_get_pcie_web_info"));
  cls.def("web_get_hard_back_board_info",
          operation(&VornaWebWrapper::web_get_hard_back_board_info, "web_get_hard_back_board_info"));
  cls.def("web_get_riser_info", operation(&VornaWebWrapper::web_get_riser_info, "web_get_riser_info"));
  cls.def("web_get_other_raid_info", operation(&VornaWebWrapper::web_get_other_raid_info, "web_get_other_raid_info"));
  cls.def("get_tpm_info", operation(&VornaWebWrapper::get_tpm_info, "get_tpm_info"));
  cls.def("web_get_cpu_info_vorna", operation(&VornaWebWrapper::web_get_cpu_info_vorna, "web_get_cpu_info_vorna"),
          py::arg("params"));
  cls.def("web_get_cpu_info_vorna_single",
          operation(&VornaWebWrapper::web_get_cpu_info_vorna_single, "web_get_cpu_info_vorna_single"));
  cls.def("web_get_cpu_info_all", operation(&VornaWebWrapper::web_get_cpu_info_all, "web_get_cpu_info_all"));
  cls.def("web_get_memory_web_info", operation(&VornaWebWrapper::web_get_memory_web_info, "web_get_memory_web_info"));
  cls.def("get_nic_info", operation(&VornaWebWrapper::get_nic_info, "get_nic_info"));
  cls.def("web_get_netcard_web_info",
          operation(&VornaWebWrapper::web_get_netcard_web_info, "web_get_netcard_web_info"));
  cls.def("web_get_fccard_info", operation(&VornaWebWrapper::web_get_fccard_info, "web_get_fccard_info"));
  cls.def("web_get_other_devices_info",
          operation(&VornaWebWrapper::web_get_other_devices_info, "web_get_other_devices_info"));
}

}  // namespace vorna_py
