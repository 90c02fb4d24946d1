// Firmware upgrade through the console's upgrade page: the file goes in through the
// page's file input, the console asks for confirmation in the top document, shows its
// progress there, and writes the outcome into the page.
#include <regex>

#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware_file.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/support/expected_conditions.h"
#include "webdriver/support/wait.h"

namespace vorna {
namespace py = marlet::py;
namespace ec = webdriver::expected_conditions;

namespace {
constexpr const char* kUpgradeResult = "upgrade_result";
constexpr const char* kProgress = "processcir";
constexpr const char* kComplete = "The upgrade is complete.";
}  // namespace

bool VornaWebWrapper::set_firmware_upgrade(const std::string& filepath) {
  logger().info(py::format("[setFirmwareUpgrade] filepath:%s", filepath));
  open_page(pages::kFirmware);
  fillElementById("file_upload", firmware::upload_path(filepath), false);
  locateElementByXpath("//button[@type='button']");
  confirm_dialog();
  settle(10);
  // The progress element lives in the top document, where confirm_dialog left us.
  marlet::ActivityScope shown(activity, "wait", 1200, clock(), current_operation, "id=processcir to go");
  webdriver::WebDriverWait(browser, 1200, 60).until_not(ec::visibility_of_element_located(webdriver::By::id(kProgress)));
  enter_content_frame();
  std::string result = getTextById(kUpgradeResult);
  leave_content_frame();
  if (std::regex_search(result, std::regex("The upgrade is complete|File upload successfully"))) {
    logger().info("[setFirmwareUpgrade] upgrade success");
    return true;
  }
  logger().warn("[setFirmwareUpgrade] upgrade fail: " + result);
  return false;
}

Json VornaWebWrapper::update_fw(const std::string& fw_path) {
  locateElementById("menu_SYSTEM_MANAGE");
  locateElementById("menu_FIRM_UPGRADE");
  if (!firmware::path_exists(fw_path)) {
    logger().info("param must absolute path");
    return nullptr;
  }
  enter_content_frame();
  fillElementByXpath(R"(//*[@id="file_upload"])", firmware::upload_path(fw_path), false);
  locateElementByXpath(R"(//*[@id="systemUpgradeBtn"]/span/button/div/span)");
  leave_content_frame();
  locateElementByXpath(R"(//*[@id="btnDialogOK"])");
  settle(300);
  enter_content_frame();
  std::string result = getTextById(kUpgradeResult);
  // No second look, and the content frame stays entered for the caller.
  if (result == kComplete) {
    logger().info(result);
    return true;
  }
  logger().error(py::format("upgrade failed: %s", result));
  return false;
}

}  // namespace vorna
