// The server's power state through the power control page, the restart through the
// header's power menu, and the controller's own restart through the firmware page.
#include <regex>

#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power_params.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

void _switch_to_power(VornaWebWrapper& w) {
  follow_menu(w, pages::kPowerControl);
  w.page_settle();
  enter_content_frame(w);
}

void _set_power_state(VornaWebWrapper& w, const std::string& state) {
  _switch_to_power(w);
  w.locateElementById(state);  // the click raises the console's question
  confirm_dialog(w);
}

std::string web_get_power_status(VornaWebWrapper& w) {
  w.logger().info("[getPowerStatus] get power state by BMC Web");
  _switch_to_power(w);
  std::string text = w.getTextById("current_state");
  leave_content_frame(w);
  // Case-sensitive, anywhere in the text, "On" before "Off": the console's English words.
  if (std::regex_search(text, std::regex("On"))) return "PowerOn";
  if (std::regex_search(text, std::regex("Off"))) return "PowerOff";
  return py::format("Unknown:%s", text);
}

void set_power_off(VornaWebWrapper& w) {
  w.logger().info("[setPowerOff] set power off by BMC Web");
  _set_power_state(w, "fpf");
}

void set_power_on(VornaWebWrapper& w) {
  w.logger().info("[setPowerOn] set power on by BMC Web");
  _set_power_state(w, "po");
}

void set_power_cycle(VornaWebWrapper& w) {
  w.logger().info("[setPowerCycle] set power cycle by BMC Web");
  _set_power_state(w, "reset");
}

void set_power_reboot(VornaWebWrapper& w) {
  w.logger().info("[setPowerReboot] set reboot by BMC Web");
  _set_power_state(w, "cs");
}

void reboot(VornaWebWrapper& w) {
  w.locateElementByXpath(R"(//*[@id="btn_power"]/div[1])");
  w.locateElementByXpath(R"(//*[@id="power_submenu"]/ul/li[4]/span)");
  w.locateElementById("btn0");
}

void web_set_bmc_reboot(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_bmc_reboot");
  w.logger().info("[setBmcReset] start...");
  w.locateElementById("menu_SYSTEM_MANAGE");
  w.settle(5);
  w.locateElementById("menu_FIRM_UPGRADE");
  enter_content_frame(w);
  constexpr const char* kRestart = R"(//*[@id="restartPme"]/p)";
  w.waitElement("xpath", kRestart, 20, 1);
  Element restart_link = w.session().find_element_by_xpath(kRestart);
  w.await_loaded_document(restart_link);  // shown while the page still loads, yet not clickable
  restart_link.click();
  leave_content_frame(w);
  w.settle(5);
  // Only the text "Y" restarts: "y", "yes" or no answer at all cancels.
  bool restart = py::get(params, "option") == "Y";
  w.session().find_element_by_xpath(restart ? R"(//*[@id="btnDialogOK"])" : R"(//*[@id="btnDialogCancle"])").click();
  w.logger().info("[setBmcReset] completion.");
}

}  // namespace vorna
