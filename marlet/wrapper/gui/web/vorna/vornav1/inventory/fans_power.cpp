// The fan and power supply tables, and the supplies' consumption from the power
// statistics page.
#include <regex>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory_records.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {
constexpr const char* kFirstTableRows = R"(//*[@id="DataTables_Table_0"]/tbody/tr)";

constexpr const char* kFanKeys[] = {"Name", "Model", "Speed (RPM)", "Speed Ratio (%)", "BOM Code"};

// info_dict: record key -> column, in record order.
constexpr std::pair<const char*, const char*> kPowerColumns[] = {
    {"Slot", "./td[1]"},          {"Manufacturer", "./td[2]"}, {"Type", "./td[3]"},
    {"Serial Number", "./td[4]"}, {"Firmware Version", "./td[5]"}, {"Rated Power", "./td[6]"},
    {"Input Mode", "./td[7]"},    {"BOM Code", "./td[8]"},
};
}  // namespace

Json web_get_fan_web_info(VornaWebWrapper& w) {
  w.logger().info("[getFan] start...");
  w.locateElementById("menu_INFO");
  repeated_click(w, "menu_SYSTEM_INFO", 3);
  enter_content_frame(w);
  w.settle(5);
  auto rows = tab_retry(w, tabs::kFan, 5, [&w] { return quiet_lookups(w, kFirstTableRows); });
  w._screenshot();
  empty_guard(w, rows, "没有获取到风扇信息标签，《风扇标签》:%s");
  Json fanList = Json::array();
  for (auto& row : rows) {
    auto texts = row_read(row, 5);
    Json fanInfo = Json::object();
    for (size_t i = 0; i < texts.size(); ++i) fanInfo[kFanKeys[i]] = texts[i];
    fanList.push_back(std::move(fanInfo));
  }
  leave_content_frame(w);
  return fanList;
}

// Adds "ConsumedWatts" to the records the consumption text names ("PS1: 230W"): the
// supply's number counts by position in the list (Python indexing, so 0 is the last);
// a number beyond the list is passed over silently.
void join_consumption(Json& powerList, const std::string& actual_power) {
  static const std::regex kSupply(R"(PS([0-9]+)\s*:\s*([0-9]+)W)");
  for (auto it = std::sregex_iterator(actual_power.begin(), actual_power.end(), kSupply);
       it != std::sregex_iterator(); ++it) {
    try {
      long long index = py::to_int((*it)[1].str()) - 1;
      long long size = static_cast<long long>(powerList.size());
      if (index < 0) index += size;
      if (index < 0 || index >= size) throw marlet::IndexError("list index out of range");
      powerList[static_cast<size_t>(index)]["ConsumedWatts"] = (*it)[2].str();
    } catch (...) {
    }
  }
}

Json web_get_power_web_info(VornaWebWrapper& w) {
  w.logger().info("[getPower] start...");
  w.locateElementById("menu_INFO");
  repeated_click(w, "menu_SYSTEM_INFO", 3);
  w.settle(5);
  enter_content_frame(w);
  w.settle(5);
  auto rows = tab_retry(w, tabs::kPower, 5, [&w] { return quiet_lookups(w, kFirstTableRows); });
  w._screenshot();
  empty_guard(w, rows, "没有获取到电源信息标签，《电源标签》:%s");
  Json powerList = Json::array();
  for (auto& row : rows) {
    Json powerInfo = Json::object();
    for (const auto& [key, column] : kPowerColumns) powerInfo[key] = row.find_element_by_xpath(column).text();
    powerList.push_back(std::move(powerInfo));
  }
  leave_content_frame(w);

  w.logger().info("get Power Consumption Info");
  open_page(w, pages::kPowerStatistics);
  std::string actual_power;
  try {
    actual_power = w.getTextById("actual_power");
  } catch (...) {
    w.logger().warn("There is no ConsumedWatts Info");
    actual_power.clear();
  }
  join_consumption(powerList, actual_power);
  leave_content_frame(w);
  return powerList;
}

}  // namespace vorna
