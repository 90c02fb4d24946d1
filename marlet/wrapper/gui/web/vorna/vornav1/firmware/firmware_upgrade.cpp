// Firmware upgrade through the console's upgrade page: the file goes in through the
// page's file input, the console asks for confirmation in the top document, shows its
// progress there, and writes the outcome into the page.
#include <regex>

#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware.h"
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

bool set_firmware_upgrade(VornaWebWrapper& w, const std::string& filepath) {
  w.logger().info(py::format("[setFirmwareUpgrade] filepath:%s", filepath));
  open_page(w, pages::kFirmware);
  w.fillElementById("file_upload", firmware::upload_path(filepath), false);
  w.locateElementByXpath("//button[@type='button']");
  confirm_dialog(w);
  // The upgrade starting: the ring shown (or the result already written) ends it early.
  w.settle_until(10, [&w] {
    return top_element_shown(w, kProgress) || ring_gone_and_result_written(w, kProgress, kUpgradeResult);
  });
  // The progress element lives in the top document, where confirm_dialog left us.
  marlet::ActivityScope shown(w.activity, "wait", 1200, w.clock(), w.current_operation, "id=processcir to go");
  webdriver::WebDriverWait(w.browser, 1200, 60).until_not(ec::visibility_of_element_located(webdriver::By::id(kProgress)));
  enter_content_frame(w);
  std::string result = w.getTextById(kUpgradeResult);
  leave_content_frame(w);
  if (std::regex_search(result, std::regex("The upgrade is complete|File upload successfully"))) {
    w.logger().info("[setFirmwareUpgrade] upgrade success");
    return true;
  }
  w.logger().warn("[setFirmwareUpgrade] upgrade fail: " + result);
  return false;
}

Json update_fw(VornaWebWrapper& w, const std::string& fw_path) {
  w.locateElementById("menu_SYSTEM_MANAGE");
  w.locateElementById("menu_FIRM_UPGRADE");
  if (!firmware::path_exists(fw_path)) {
    w.logger().info("param must absolute path");
    return nullptr;
  }
  enter_content_frame(w);
  w.fillElementByXpath(R"(//*[@id="file_upload"])", firmware::upload_path(fw_path), false);
  w.locateElementByXpath(R"(//*[@id="systemUpgradeBtn"]/span/button/div/span)");
  leave_content_frame(w);
  w.locateElementByXpath(R"(//*[@id="btnDialogOK"])");
  // The controller's time: under "adaptive" only the ring gone and the result written end it.
  w.settle_until(300, [&w] { return ring_gone_and_result_written(w, kProgress, kUpgradeResult); });
  enter_content_frame(w);
  std::string result = w.getTextById(kUpgradeResult);
  // No second look, and the content frame stays entered for the caller.
  if (result == kComplete) {
    w.logger().info(result);
    return true;
  }
  w.logger().error(py::format("upgrade failed: %s", result));
  return false;
}

}  // namespace vorna
