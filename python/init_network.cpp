// The management IPv4 address.
#include "python/operation.h"

namespace vorna_py {
using W = vorna::VornaWebWrapper;

Subsystem network_operations() {
  return {"management address", {
    op("get_manage_ipv4", &W::get_manage_ipv4, {}, Login::needed, "{ipv4_address, ipv4_mask, ipv4_gateway} of the network page."),
    op("get_bmc_ip_addr", &W::get_bmc_ip_addr, {}, Login::needed, "The management address record {ipv4_address, ipv4_mask, ipv4_gateway}."),
    op("_mod_manage_ipv4", &W::_mod_manage_ipv4, {"params"}, Login::needed, "Fills and saves the address record in params, then ends the browser."),
    op("mod_bmc_ip_addr", &W::mod_bmc_ip_addr, {"params"}, Login::needed, "Changes the management address from params, then ends the browser."),
  }};
}

}  // namespace vorna_py
