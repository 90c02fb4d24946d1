// What the machine says it is: serial number, GUID, BIOS name, firmware versions and the
// software list the operating-system agent feeds into the console.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {
constexpr const char* kSoftwareRows = R"(//*[@id="SysSoftTrue"]/div[1]/table/tbody/tr)";
constexpr const char* kAgentNotice = R"(//*[@id="SysSoftFalse"]/span[2])";
constexpr const char* kInstallAgent =
    "To enable complete software information to be displayed, install Tolmar 2.0 and start it on the OS.";
}  // namespace

std::string get_product_sn(VornaWebWrapper& w) {
  w.logger().info("[getProductSN] start...");
  open_page(w, pages::kSummary);
  std::string sn = w.getTextById("txtSequence");
  leave_content_frame(w);
  return sn;
}

std::string get_guid(VornaWebWrapper& w) {
  w.logger().info("[getGUID] start...");
  open_page(w, pages::kSummary);
  std::string guid = w.getTextById("txtBMCGuid");
  leave_content_frame(w);
  return guid;
}

std::string get_bios_name(VornaWebWrapper& w) {
  w.logger().info("[getBiosName] start...");
  open_page(w, pages::kOverview, 6);
  std::string name = w.getTextById("productAlias");
  leave_content_frame(w);
  return name;
}

Json web_get_firmware_version(VornaWebWrapper& w) {
  w.logger().info("[getBmcFirmwareVersion] start...");
  auto read_versions = [&w] {
    Json versions = Json::object();
    versions["bmc_version"] = w.getTextById("txtFirmVersion");
    versions["bios_version"] = w.getTextById("txtBiosVersion");
    versions["cpld_version"] = w.getTextById("txtCpldVersion");
    leave_content_frame(w);
    return versions;
  };
  try {
    w.locateElementById("menu_INFO");
    w.settle(5);
    w.locateElementById("menu_SYSTEM_INFO");
    enter_content_frame(w);
    w.settle(6);
    return read_versions();
  } catch (const marlet::MarletException&) {
  }
  // The information menu is still open: only its entry is clicked again.
  leave_content_frame(w);
  w.locateElementById("menu_SYSTEM_INFO");
  enter_content_frame(w);
  w.settle(6);
  return read_versions();
}

Json web_get_software_info(VornaWebWrapper& w) {
  w.logger().info("[getSoftwareInfo] start...");
  follow_menu(w, pages::kSystemInfo);
  w.settle(5);
  enter_content_frame(w);
  w.settle(5);
  w.locateElementById(tabs::kSystem);
  w.settle(5);
  Json software = Json::object();
  std::exception_ptr failure;
  std::string failure_text;
  try {
    auto rows = quiet_lookups(w, kSoftwareRows);
    // No rows fails on the first row, like an empty first label: the agent is silent.
    if (rows.empty()) throw marlet::IndexError("list index out of range");
    if (rows.front().find_element_by_xpath("./td[1]/span").text().empty())
      throw marlet::MarletException("can not get SoftWareInfo");
    for (auto& row : rows) {
      std::string label = row.find_element_by_xpath("./td[1]/span").text();
      std::string value = row.find_element_by_xpath("./td[2]/span").text();
      software[label] = value;
    }
    leave_content_frame(w);
    return software;
  } catch (const std::exception& e) {
    failure = std::current_exception();
    failure_text = e.what();
  } catch (...) {
    failure = std::current_exception();
    failure_text = "unknown failure while reading the software rows";
  }
  std::string notice = w.getTextByXpath(kAgentNotice);
  if (!notice.empty()) {
    w.logger().error("Tolmar is not installed or running");
    leave_content_frame(w);
    return kInstallAgent;
  }
  throw marlet::MarletException(failure_text, failure);
}

}  // namespace vorna
