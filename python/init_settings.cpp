// Service settings: LDAP, location, time zone, SNMP engine id, web time-out, disk usage.
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem settings_operations() {
  return {"service settings", {
    op("enter_ldap_config", &vorna::enter_ldap_config, {{"ldap_controller_id", "1"}}, Login::needed, "Opens the LDAP page at the tab of controller ldap_controller_id; stays in the content frame."),
    op("config_ldap_service", &vorna::config_ldap_service, {"ldap_ip", "ldap_domainName", "ldap_pwd", {"ldap_cert_enable", "1"}, {"ldap_cert_verify_level", "1"}, {"ldaps_port", "636"}, {"ldap_bind_dn", nullptr}, {"ldap_dn_pwd", nullptr}, {"user_group_folder_hidden", nullptr}}, Login::needed, "Fills and saves the selected controller's LDAP form; stays in the content frame."),
    op("web_set_system_config", &vorna::web_set_system_config, {"params"}, Login::needed, "Saves the device location params[\"location\"]; true when the page then shows it."),
    op("web_get_device_location_info", &vorna::web_get_device_location_info, {}, Login::needed, "The device location the console shows."),
    op("bmc_time_zone", &vorna::bmc_time_zone, {{"method", "GET"}, {"state", nullptr}, {"city", nullptr}}, Login::needed, "GET the time zone (or a region's cities), or SET it to state and city."),
    op("get_snmp_engine_id", &vorna::get_snmp_engine_id, {}, Login::needed, "{value: the SNMP engine id}; stays in the content frame."),
    op("web_get_web_timeout", &vorna::web_get_web_timeout, {}, Login::needed, "The web session time-out value, as the page holds it."),
    op("web_get_disk_usage_percent", &vorna::web_get_disk_usage_percent, {}, Login::needed, "Partition name -> usage text; stays in the content frame."),
  }};
}

}  // namespace vorna_py
