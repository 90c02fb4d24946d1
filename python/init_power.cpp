// Power state, power capping and the restore policy.
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem power_operations() {
  return {"power", {
    op("web_get_power_status", &vorna::web_get_power_status, {}, Login::needed, "The server's power state as the power page shows it."),
    op("set_power_off", &vorna::set_power_off, {}, Login::needed, "Powers the server off through the power page."),
    op("set_power_on", &vorna::set_power_on, {}, Login::needed, "Powers the server on through the power page."),
    op("set_power_cycle", &vorna::set_power_cycle, {}, Login::needed, "Power-cycles the server through the power page."),
    op("set_power_reboot", &vorna::set_power_reboot, {}, Login::needed, "Resets the server through the power page."),
    op("_switch_to_power", &vorna::_switch_to_power, {}, Login::needed, "Opens the power page (an inner step of the power actions)."),
    op("_set_power_state", &vorna::_set_power_state, {"state"}, Login::needed, "Selects `state` on the power page and confirms it (the power actions' shared step)."),
    op("reboot", &vorna::reboot, {}, Login::needed, "Restarts the server through the header's power menu."),
    op("web_set_bmc_reboot", &vorna::web_set_bmc_reboot, {"params"}, Login::needed, "Restarts the controller when params[\"option\"] is \"Y\"; cancels otherwise."),
    op("web_get_power_capping_info", &vorna::web_get_power_capping_info, {"params"}, Login::needed, "The power capping page's settings, as a record."),
    op("web_set_power_cap", &vorna::web_set_power_cap, {"params"}, Login::needed, "Sets the power cap from params and saves it; true when saved."),
    op("web_set_poweron_strategy", &vorna::web_set_poweron_strategy, {"params"}, Login::needed, "Sets the power restore policy from params and saves it; true when saved."),
  }};
}

}  // namespace vorna_py
