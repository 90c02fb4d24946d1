// Service settings: LDAP, location, time zone, SNMP engine id, web time-out, disk usage.
#include "python/operation.h"

namespace vorna_py {
using vorna::VornaWebWrapper;

void init_settings(WrapperClass& cls) {
  cls.def("enter_ldap_config", operation(&VornaWebWrapper::enter_ldap_config, "enter_ldap_config"),
          py::arg("ldap_controller_id") = "1");
  cls.def("config_ldap_service", operation(&VornaWebWrapper::config_ldap_service, "config_ldap_service"),
          py::arg("ldap_ip"), py::arg("ldap_domainName"), py::arg("ldap_pwd"), py::arg("ldap_cert_enable") = "1",
          py::arg("ldap_cert_verify_level") = "1", py::arg("ldaps_port") = "636",
          py::arg("ldap_bind_dn") = py::none(), py::arg("ldap_dn_pwd") = py::none(),
          py::arg("user_group_folder_hidden") = py::none());
  cls.def("web_set_system_config", operation(&VornaWebWrapper::web_set_system_config, "web_set_system_config"),
          py::arg("params"));
  cls.def("web_get_device_location_info",
          operation(&VornaWebWrapper::web_get_device_location_info, "web_get_device_location_info"));
  cls.def("bmc_time_zone", operation(&VornaWebWrapper::bmc_time_zone, "bmc_time_zone"), py::arg("method") = "GET",
          py::arg("state") = py::none(), py::arg("city") = py::none());
  cls.def("get_snmp_engine_id", operation(&VornaWebWrapper::get_snmp_engine_id, "get_snmp_engine_id"));
  cls.def("web_get_web_timeout", operation(&VornaWebWrapper::web_get_web_timeout, "web_get_web_timeout"));
  cls.def("web_get_disk_usage_percent",
          operation(&VornaWebWrapper::web_get_disk_usage_percent, "web_get_disk_usage_percent"));
}

}  // namespace vorna_py
