// Power control: the server's power state, the controller's restart, the power cap and
// the restore policy. Each operation drives the console through `w`.
#pragma once

#include <string>

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// "PowerOn", "PowerOff", or "Unknown:<text>" from the power page's state text.
std::string web_get_power_status(VornaWebWrapper& w);
void set_power_off(VornaWebWrapper& w);
void set_power_on(VornaWebWrapper& w);
void set_power_cycle(VornaWebWrapper& w);
void set_power_reboot(VornaWebWrapper& w);
// Inner steps the power actions share: open the power page; select a state and confirm.
void _switch_to_power(VornaWebWrapper& w);
void _set_power_state(VornaWebWrapper& w, const std::string& state);
// Restarts the server through the header's power menu.
void reboot(VornaWebWrapper& w);
// params: "option" ("Y" restarts the controller; anything else cancels the dialog).
void web_set_bmc_reboot(VornaWebWrapper& w, const Json& params);
// {"Current Power", "Average Power", "Peak Power", "Total Consumed Power"}; params unread.
Json web_get_power_capping_info(VornaWebWrapper& w, const Json& params);
// params: "enbale" (sic, truth value) and "value" (a number or its text).
bool web_set_power_cap(VornaWebWrapper& w, const Json& params);
// params: "flag" (true: restore the previous state; false: always on).
bool web_set_poweron_strategy(VornaWebWrapper& w, const Json& params);

}  // namespace vorna
