// Identity, versions and the management address: what the machine says it is, and the
// controller's management IPv4 settings on the network page. Each operation drives the
// console through `w`.
#pragma once

#include <string>

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// ---- identity and versions (identity.cpp) ----
std::string get_product_sn(VornaWebWrapper& w);
std::string get_guid(VornaWebWrapper& w);
std::string get_bios_name(VornaWebWrapper& w);
// {"bmc_version", "bios_version", "cpld_version"}
Json web_get_firmware_version(VornaWebWrapper& w);
// A map of the software rows, or the fixed notice text when the OS agent does not report.
Json web_get_software_info(VornaWebWrapper& w);

// ---- management address (management_ipv4.cpp) ----
// The address record {"ipv4_address", "ipv4_mask", "ipv4_gateway"} of the network page.
Json get_manage_ipv4(VornaWebWrapper& w);
Json get_bmc_ip_addr(VornaWebWrapper& w);
// Fills and saves an address record, then ends the browser: the console moves away
// from the address the browser is on. All three keys required (KeyError before
// anything is touched), all text (TypeError naming the key). Returns true.
bool _mod_manage_ipv4(VornaWebWrapper& w, const Json& params);
bool mod_bmc_ip_addr(VornaWebWrapper& w, const Json& params);

}  // namespace vorna
