// Service settings: LDAP, the system settings page, the time zone and the disk usage.
#pragma once

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// Opens the LDAP page and selects the tab of controller `ldap_controller_id` (text or a
// whole number, counted from 1); stays in the content frame for config_ldap_service.
void enter_ldap_config(VornaWebWrapper& w, const Json& ldap_controller_id);
// Fills and saves the form of the selected controller; no navigation, no log line, and
// the outcome is not read back. Stays in the content frame. Every argument is text (a
// number serves as its text); the three optional fields are left as the page shows them
// when null or empty. TypeError naming the argument, before the page is touched.
void config_ldap_service(VornaWebWrapper& w, const Json& ldap_ip, const Json& ldap_domainName, const Json& ldap_pwd,
                         const Json& ldap_cert_enable, const Json& ldap_cert_verify_level, const Json& ldaps_port,
                         const Json& ldap_bind_dn, const Json& ldap_dn_pwd, const Json& user_group_folder_hidden);
// params: "location" (text; empty or absent writes "xian"). True when the page's saved
// value then equals what was entered.
bool web_set_system_config(VornaWebWrapper& w, const Json& params);
Json web_get_device_location_info(VornaWebWrapper& w);
// "GET" with no state: {"state", "city"} of the current setting; "GET" with a state: the
// cities offered for it (the region is changed on the page, not saved); "SET": null when
// saved, false when the region drop-down cannot be had, WebDisplayException when the
// console refuses. Any other method: MarletException, after the page was opened.
Json bmc_time_zone(VornaWebWrapper& w, const Json& method, const Json& state, const Json& city);
// {"value": engine id text}; stays in the content frame.
Json get_snmp_engine_id(VornaWebWrapper& w);
// The `value` of WebServerTimeOut_hidden, unconverted (null when the field has none).
Json web_get_web_timeout(VornaWebWrapper& w);
// Partition name -> usage text ("5%"), in page order; stays in the content frame.
Json web_get_disk_usage_percent(VornaWebWrapper& w);

}  // namespace vorna
