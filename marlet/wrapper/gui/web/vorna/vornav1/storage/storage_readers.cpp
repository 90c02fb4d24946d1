// The physical disks and the logical drives of the storage tree.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage_tree.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;
using namespace storage;

namespace {
constexpr const char* kDiskRows = R"(//*[@id="HardDisk"]/ul/li)";
constexpr const char* kLogicalDriveRows = R"(//*[@id="LogicalDrive"]/ul/li)";

bool has_value(const std::optional<std::string>& attribute) { return attribute && !attribute->empty(); }

// Clicks a disk's title to show its pane and reads the pane: rows hidden by a `style` or
// marked by a `class` are left out.
std::pair<std::string, Json> get_disk_info_dict(webdriver::Session& browser, Element& webelement) {
  webelement.find_element_by_xpath(kTitle).click();
  std::string diskName = disk_name(webelement.find_element_by_xpath(kTitle).text());
  Json diskInfoDict = Json::object();
  for (auto& row : without_first(browser.find_elements_by_xpath(kDiskRows), 2)) {
    if (has_value(row.get_attribute("style")) || has_value(row.get_attribute("class"))) continue;
    std::string value = row.find_element_by_xpath(kRowValue).text();
    diskInfoDict[pane_key(row.find_element_by_xpath(kRowLabel).text())] = value;
  }
  return {diskName, diskInfoDict};
}

void store_disk(webdriver::Session& browser, Element& entry, Json& into) {
  auto [name, record] = get_disk_info_dict(browser, entry);
  into[name] = std::move(record);
}
}  // namespace

Json get_storage_info(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "get_storage_info");
  Json raid_disk = py::get(params, "raid_disk");
  Json diskInfoAll = Json::object();
  Json notRaidDiskInfoAll = Json::object();
  w.logger().info("[getStorage] start...");
  w.locateElementById("menu_INFO");
  repeated_click(w, "menu_SYSTEM_INFO", 3);
  enter_content_frame(w);
  w.locateElementById(tabs::kStorage);
  w.settle(10);
  auto raid_list = quiet_lookups(w, kTopEntries);
  w._screenshot();
  auto& browser = w.session();
  // Every entry's title is clicked before it is read, whatever the entry turns out to be.
  auto click_then_read = [](Element& entry) {
    entry.find_element_by_xpath(kTitle).click();
    return entry.find_element_by_xpath(kTitle).text();
  };
  // The whole tree is walked whatever raid_disk says: it selects the result, not the work.
  walk_top_entries(raid_list, IndexRule::Controllers, click_then_read, [&](const TopEntry& entry) {
    if (is_controller(entry.kind)) {
      Json diskInfo = Json::object();
      for (auto& element1 : entry.element.find_elements_by_xpath(kChildren)) {
        auto span = element1.find_element_by_xpath(kTitle);
        if (is_logical_drive(span.text())) {
          element1.find_element_by_xpath(kExpander).click();  // unfolds the drive's disks
          for (auto& element2 : element1.find_elements_by_xpath(kChildren)) store_disk(browser, element2, diskInfo);
        } else {
          store_disk(browser, element1, diskInfo);
        }
      }
      diskInfoAll[std::to_string(*entry.index)] = std::move(diskInfo);
      return;
    }
    auto temp = entry.element.find_element_by_xpath(kTitle);
    if (names_disk(temp.text())) store_disk(browser, entry.element, notRaidDiskInfoAll);
  });
  leave_content_frame(w);
  return py::truthy(raid_disk) ? diskInfoAll : notRaidDiskInfoAll;
}

Json web_get_logical_driver_info(VornaWebWrapper& w) {
  w.logger().info("[getLogicalDriverInfo] start...");
  open_page(w, pages::kSystemInfo, 5);
  w.locateElementById(tabs::kStorage);
  w.settle(3);
  Json LogicalDriverInfo = Json::object();
  // The children of every top-level entry at once: a logical drive is never top-level.
  for (auto& driver : w.session().find_elements_by_xpath(kSecondLevelEntries)) {
    std::string span = driver.find_element_by_xpath(kTitle).text();
    if (!is_logical_drive(span)) continue;
    driver.click();  // the list item itself, not its title
    w.settle(3);
    Json LogicalDriverDict = Json::object();
    for (auto& row : without_first(w.session().find_elements_by_xpath(kLogicalDriveRows), 2)) {
      std::string value = row.find_element_by_xpath(kRowValue).text();
      LogicalDriverDict[pane_key(row.find_element_by_xpath(kRowLabel).text())] = value;
    }
    LogicalDriverInfo[span] = std::move(LogicalDriverDict);
  }
  w.logger().info(py::format("[getLogicalDriverInfo] %s", LogicalDriverInfo));
  leave_content_frame(w);
  return LogicalDriverInfo;
}

}  // namespace vorna
