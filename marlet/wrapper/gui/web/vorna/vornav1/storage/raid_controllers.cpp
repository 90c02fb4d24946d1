// The RAID controllers as the console shows them: the panes of every "RAID" entry of the
// storage tree, and the name in the RAID card table of the other-cards tab.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage_tree.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;
using namespace storage;

namespace {
constexpr const char* kControllerRows = R"(//*[@id="RaidController"]/ul[1]/li)";
constexpr const char* kOutOfBandRows = R"(//*[@id="OOBSupport"]/li)";
constexpr const char* kBbuRows = R"(//*[@id="bbu_info"]/li)";
constexpr const char* kRaidCardName = "//div[@id='raidTableid']/div/div[2]/div/div[2]/table/tbody/tr[1]/td[1]";

// Each row's "./p" under the label rule's key of its "./span"; a later equal key replaces
// the value in place.
void read_rows(std::vector<Element>& rows, Json& record, std::string_view prefix = "") {
  for (auto& row : rows) {
    std::string label = row.find_element_by_xpath(kRowLabel).text();
    record[label_key(label, prefix)] = row.find_element_by_xpath(kRowValue).text();
  }
}

// The BBU pane's rows, prefixed "bbu"; nothing when the pane has no rows past its head.
void bbuinfo(std::vector<Element>& bbu_rows, Json& record) {
  if (bbu_rows.empty()) return;
  read_rows(bbu_rows, record, "bbu");
}
}  // namespace

Json web_get_raid_web_info(VornaWebWrapper& w) {
  w.logger().info("[get_raid_info] start...");
  Json raid_info = Json::object();
  // The storage tree fills slowly on the console: fixed settles, not the wrapper's timeout.
  for (const auto& id : pages::kSystemInfo) {
    w.locateElementById(id);
    w.settle(10);
  }
  enter_content_frame(w);
  w.settle(10);
  w.locateElementById(tabs::kStorage);
  w.settle(10);
  auto raid_list = quiet_lookups(w, kTopEntries);
  w._screenshot();
  auto read_title = [](Element& entry) { return entry.find_element_by_xpath(kTitle).text(); };
  walk_top_entries(raid_list, IndexRule::RaidTitles, read_title, [&](const TopEntry& entry) {
    if (!entry.index) return;  // not a RAID entry: not clicked, no index taken
    Json raidInfoDict = Json::object();
    raidInfoDict["cardname"] = entry.title;
    entry.element.find_element_by_xpath(kTitle).click();
    auto& s = w.session();
    auto controller_rows = without_first(s.find_elements_by_xpath(kControllerRows), 2);
    auto out_of_band_rows = s.find_elements_by_xpath(kOutOfBandRows);
    auto bbu_rows = without_first(s.find_elements_by_xpath(kBbuRows), 2);
    bbuinfo(bbu_rows, raidInfoDict);
    read_rows(controller_rows, raidInfoDict);
    read_rows(out_of_band_rows, raidInfoDict);
    raid_info[std::to_string(*entry.index)] = std::move(raidInfoDict);
  });
  leave_content_frame(w);
  if (raid_info.size() == 1) return raid_info.begin().value();
  return raid_info;
}

std::string get_raid_name(VornaWebWrapper& w) {
  w.logger().info("[getRaidName] start...");
  open_page(w, pages::kSystemInfo);
  w.locateElementById(tabs::kOther);
  // The caller leaves the content frame: the name is read where the table is.
  return w.getTextByXpath(kRaidCardName);
}

}  // namespace vorna
