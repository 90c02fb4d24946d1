// Boot configuration: the boot device, whether that choice holds for one start or for
// good, legacy BIOS or UEFI, and the one call that brings all three to wanted values.
// Each operation drives the console through `w`.
#pragma once

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// Boot option codes are the texts "0".."5" (boot/boot_codes.h); effectiveness and boot
// mode codes the texts "0" and "1". The setters report nothing; read back for proof.
void web_set_boot_option(VornaWebWrapper& w, const Json& params);  // params: {"option": code}
Json web_get_boot_option(VornaWebWrapper& w);                      // code, or null for a page value outside the table
Json web_get_effective(VornaWebWrapper& w);                        // "0", "1", or false when no button is selected
void web_set_effective(VornaWebWrapper& w, const Json& params);    // params: {"mode": "0" | "1"}
Json web_get_boot_mode(VornaWebWrapper& w);                        // "0" legacy, "1" UEFI, or false
void web_set_boot_mode(VornaWebWrapper& w, const Json& params);    // params: {"mode": "0" | "1"}
// A true `mode` selects legacy, a false one UEFI; works in the current window.
void change_startup_mode(VornaWebWrapper& w, const Json& mode);
// Brings boot mode, effectiveness and boot option to the wanted values, each read
// back, through the injected get_/set_ functions; returns the three values found.
Json modify_msconfig(VornaWebWrapper& w, const Json& boot_mode, const Json& effective, const Json& option_mode);
// browser.switch_to_window(browser.window_handles[0]).
void switch_to_first_window(VornaWebWrapper& w);

}  // namespace vorna
