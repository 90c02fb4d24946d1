// Power state, power capping and the restore policy.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_power(WrapperClass& cls) {
  cls.def("web_get_power_status", operation(&VornaWebWrapper::web_get_power_status, "web_get_power_status"));
  cls.def("set_power_off", operation(&VornaWebWrapper::set_power_off, "set_power_off"));
  cls.def("set_power_on", operation(&VornaWebWrapper::set_power_on, "set_power_on"));
  cls.def("set_power_cycle", operation(&VornaWebWrapper::set_power_cycle, "set_power_cycle"));
  cls.def("set_power_reboot", operation(&VornaWebWrapper::set_power_reboot, "set_power_reboot"));
  cls.def("_switch_to_power", operation(&VornaWebWrapper::_switch_to_power, "_switch_to_power"));
  cls.def("_set_power_state", operation(&VornaWebWrapper::_set_power_state, "_set_power_state"), py::arg("state"));
  cls.def("reboot", operation(&VornaWebWrapper::reboot, "reboot"));
  cls.def("web_set_bmc_reboot", operation(&VornaWebWrapper::web_set_bmc_reboot, "web_set_bmc_reboot"),
          py::arg("params"));
  cls.def("web_get_power_capping_info",
          operation(&VornaWebWrapper::web_get_power_capping_info, "web_get_power_capping_info"), py::arg("params"));
  cls.def("web_set_power_cap", operation(&VornaWebWrapper::web_set_power_cap, "web_set_power_cap"), py::arg("params"));
  cls.def("web_set_poweron_strategy",
          operation(&VornaWebWrapper::web_set_poweron_strategy, "web_set_poweron_strategy"), py::arg("params"));
}

}  // namespace vorna_py
