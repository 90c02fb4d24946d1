// The memory modules of tabMemory. Cells are found by their tdtitle, so the console's
// column order does not matter.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/system_info_page.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {

namespace {
// info_dict: record key -> the cell's tdtitle, in record order.
constexpr std::pair<const char*, const char*> kMemoryTitles[] = {
    {"name", "Name"},
    {"location", "Location"},
    {"manufacturer", "Manufacturer"},
    {"capacity", "Capacity"},
    {"clockSpeed", "Clock Speed"},
    {"sn", "SN"},
    {"type", "Type"},
    {"minimumVoltage", "Minimum Voltage"},
    {"rankQty", "Rank Qty"},
    {"bitWith", "Bit Width"},
    {"technology", "Technology"},
};
}  // namespace

Json web_get_memory_web_info(VornaWebWrapper& w) {
  w.logger().info("[getFan] start...");
  open_system_info_settled(w);
  auto allMemory = tab_loop(w, tabs::kMemory, 5, "//table[@id='DataTables_Table_0']/tbody/tr");
  w._screenshot();
  empty_guard(w, allMemory, "没有获取到内存信息标签，《内存标签》:%s");
  Json memoryInfos = Json::array();
  for (auto& oneMemory : allMemory) {
    Json memoryInfo = Json::object();
    for (const auto& [key, title] : kMemoryTitles)
      memoryInfo.emplace(key, titled_cell_text(oneMemory, title));
    try {
      std::string pn = titled_cell_text(oneMemory, "Part Number");
      memoryInfo.emplace("pn", pn);
    } catch (...) {
      w.logger().info("No part number exists.");
    }
    std::string bomCode;
    try {
      bomCode = titled_cell_text(oneMemory, "BOM Code ");  // the console's title ends in a blank
    } catch (...) {
      bomCode = titled_cell_text(oneMemory, "BOM Code");
    }
    memoryInfo.emplace("bomCode", bomCode);
    memoryInfos.push_back(std::move(memoryInfo));
  }
  leave_content_frame(w);
  return memoryInfos;
}

}  // namespace vorna
