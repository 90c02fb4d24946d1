// The server's power state through the power control page, the restart through the
// header's power menu, and the controller's own restart through the firmware page.
#include <regex>

#include "marlet/wrapper/gui/web/vorna/vornav1/power/power_params.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

void VornaWebWrapper::_switch_to_power() {
  follow_menu(pages::kPowerControl);
  page_settle();
  enter_content_frame();
}

void VornaWebWrapper::_set_power_state(const std::string& state) {
  _switch_to_power();
  locateElementById(state);  // the click raises the console's question
  confirm_dialog();
}

std::string VornaWebWrapper::web_get_power_status() {
  logger().info("[getPowerStatus] get power state by BMC Web");
  _switch_to_power();
  std::string text = getTextById("current_state");
  leave_content_frame();
  // Case-sensitive, anywhere in the text, "On" before "Off": the console's English words.
  if (std::regex_search(text, std::regex("On"))) return "PowerOn";
  if (std::regex_search(text, std::regex("Off"))) return "PowerOff";
  return py::format("Unknown:%s", text);
}

void VornaWebWrapper::set_power_off() {
  logger().info("[setPowerOff] set power off by BMC Web");
  _set_power_state("fpf");
}

void VornaWebWrapper::set_power_on() {
  logger().info("[setPowerOn] set power on by BMC Web");
  _set_power_state("po");
}

void VornaWebWrapper::set_power_cycle() {
  logger().info("[setPowerCycle] set power cycle by BMC Web");
  _set_power_state("reset");
}

void VornaWebWrapper::set_power_reboot() {
  logger().info("[setPowerReboot] set reboot by BMC Web");
  _set_power_state("cs");
}

void VornaWebWrapper::reboot() {
  locateElementByXpath(R"(//*[@id="btn_power"]/div[1])");
  locateElementByXpath(R"(//*[@id="power_submenu"]/ul/li[4]/span)");
  locateElementById("btn0");
}

void VornaWebWrapper::web_set_bmc_reboot(const Json& params) {
  require_params_map(params, "web_set_bmc_reboot");
  logger().info("[setBmcReset] start...");
  locateElementById("menu_SYSTEM_MANAGE");
  settle(5);
  locateElementById("menu_FIRM_UPGRADE");
  enter_content_frame();
  constexpr const char* kRestart = R"(//*[@id="restartPme"]/p)";
  waitElement("xpath", kRestart, 20, 1);
  Element restart_link = session().find_element_by_xpath(kRestart);
  await_loaded_document(restart_link);  // shown while the page still loads, yet not clickable
  restart_link.click();
  leave_content_frame();
  settle(5);
  // Only the text "Y" restarts: "y", "yes" or no answer at all cancels.
  bool restart = py::get(params, "option") == "Y";
  session().find_element_by_xpath(restart ? R"(//*[@id="btnDialogOK"])" : R"(//*[@id="btnDialogCancle"])").click();
  logger().info("[setBmcReset] completion.");
}

}  // namespace vorna
