// Boot device, its effectiveness, boot mode and start-up mode.
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot.h"
#include "python/operation.h"

namespace vorna_py {
using W = vorna::VornaWebWrapper;

namespace {
// The values found come back as a tuple: an ordered triple, as the harness unpacks it.
py::tuple modify_msconfig(W& w, const Json& boot_mode, const Json& effective, const Json& option_mode) {
  return py::tuple(from_json(operation(&vorna::modify_msconfig, "modify_msconfig")(w, boot_mode, effective, option_mode)));
}
}  // namespace

Subsystem boot_operations() {
  return {"boot settings", {
    op("web_get_boot_option", &vorna::web_get_boot_option, {}, Login::needed, "The boot option code \"0\"..\"5\", or None for a value outside the table."),
    op("web_set_boot_option", &vorna::web_set_boot_option, {"params"}, Login::needed, "Selects the boot option params[\"option\"] and saves it."),
    op("web_get_effective", &vorna::web_get_effective, {}, Login::needed, "The boot option's effectiveness, \"0\" or \"1\", or False when none is selected."),
    op("web_set_effective", &vorna::web_set_effective, {"params"}, Login::needed, "Selects the effectiveness params[\"mode\"] and saves it."),
    op("web_get_boot_mode", &vorna::web_get_boot_mode, {}, Login::needed, "The boot mode, \"0\" legacy or \"1\" UEFI, or False when none is selected."),
    op("web_set_boot_mode", &vorna::web_set_boot_mode, {"params"}, Login::needed, "Selects the boot mode params[\"mode\"] and saves it."),
    op("change_startup_mode", &vorna::change_startup_mode, {{"mode", 1}}, Login::needed, "Selects legacy for a true mode, UEFI for a false one, in the current window."),
    custom_op("modify_msconfig", modify_msconfig, {"boot_mode", "effective", "option_mode"}, Login::needed, "Brings boot mode, effectiveness and boot option to the wanted values; the three found."),
  }};
}

}  // namespace vorna_py
