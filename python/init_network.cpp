// The management IPv4 address.
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem network_operations() {
  return {"management address", {
    op("get_manage_ipv4", &vorna::get_manage_ipv4, {}, Login::needed, "{ipv4_address, ipv4_mask, ipv4_gateway} of the network page."),
    op("get_bmc_ip_addr", &vorna::get_bmc_ip_addr, {}, Login::needed, "The management address record {ipv4_address, ipv4_mask, ipv4_gateway}."),
    op("_mod_manage_ipv4", &vorna::_mod_manage_ipv4, {"params"}, Login::needed, "Fills and saves the address record in params, then ends the browser."),
    op("mod_bmc_ip_addr", &vorna::mod_bmc_ip_addr, {"params"}, Login::needed, "Changes the management address from params, then ends the browser."),
  }};
}

}  // namespace vorna_py
