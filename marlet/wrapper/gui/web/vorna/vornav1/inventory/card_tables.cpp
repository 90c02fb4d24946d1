// The card tables of tabOther (PCIe cards, disk backplanes, risers, RAID cards) and the
// security module: one table body per component, one record from its first row.
#include <algorithm>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory_records.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

const CardTable& pcie_table() {
  static const CardTable t{1, "[getPcie] start...", "没有获取到PCIE信息标签", false,
                           {{"CardDescription", 2}, {"Manufacturer", 3}, {"Slot", 4}, {"VendorID", 5},
                            {"DeviceID", 6}, {"SubVendorID", 7}, {"SubDeviceID", 8}, {"ConnectedTo", 9}}};
  return t;
}

const CardTable& back_board_table() {
  static const CardTable t{2, "[getHardBackBoard] start...", "没有获取到硬盘背板信息标签，《硬盘背板标签》:%s", true,
                           {{"Name", 1}, {"Manufacturer", 3}, {"Location", 2}, {"Number", 4}, {"Type", 5},
                            {"PCBVersion", 6}, {"CPLDVersion", 7}, {"BoardID", 8}}};
  return t;
}

const CardTable& riser_table() {
  static const CardTable t{3, "[getRiser] start...", "没有获取到Riser卡信息标签，《Riser卡标签》:%s", true,
                           {{"Name", 1}, {"Manufacturer", 2}, {"Type", 4}, {"PCBVersion", 5}, {"Slot", 3},
                            {"BoardID", 6}}};
  return t;
}

const CardTable& raid_table() {
  static const CardTable t{5, "[getOtherRaid] start...", "没有获取到Raid卡信息标签，《Raid卡标签》:%s", true,
                           {{"Name", 1}, {"Manufacturer", 3}, {"Type", 5}, {"location", 2}, {"Number", 4},
                            {"CPLDersion", 7}, {"PCBVersion", 6}, {"ConnectedTo", 9}, {"BoardID", 8}}};
  return t;
}

std::string other_entry_bodies(int entry) {
  return py::format(
      R"(//div[@id="otherTableid"]/ul/li[%s]/div[2]//div[@class="dataTables_wrapper"]//div[@class="dataTables_scrollBody"]/table/tbody)",
      entry);
}

Json card_record(const CardTable& table, const std::vector<std::pair<int, std::string>>& texts_by_column) {
  Json record = Json::object();
  for (const auto& [key, column] : table.columns) {
    auto it = std::find_if(texts_by_column.begin(), texts_by_column.end(),
                           [column = column](const auto& p) { return p.first == column; });
    record[key] = it == texts_by_column.end() ? Json(nullptr) : Json(it->second);
  }
  return record;
}

namespace {

// The first row of every table body, all taken before any cell is read; a body without
// a row is an index failure.
std::vector<Element> first_rows(std::vector<Element>& bodies) {
  std::vector<Element> element_list;
  for (auto& body : bodies) {
    auto rows = body.find_elements_by_xpath("./tr");
    if (rows.empty()) throw marlet::IndexError("list index out of range");
    element_list.push_back(rows.front());
  }
  return element_list;
}

// Row read of the table's columns in rising order.
std::vector<std::pair<int, std::string>> read_columns(Element& row, const CardTable& table) {
  std::vector<int> columns;
  for (const auto& c : table.columns) columns.push_back(c.second);
  std::sort(columns.begin(), columns.end());
  std::vector<std::pair<int, std::string>> texts;
  for (int c : columns) texts.emplace_back(c, cell_text(row, c));
  return texts;
}

}  // namespace

// The card reader: page retry around get_element_lists, picture, the entry's empty
// rule, then one record per table body.
static Json read_card_table(VornaWebWrapper& w, const CardTable& table) {
  w.logger().info(table.tag);
  auto get_element_lists = [&w, &table] {
    w.locateElementById("menu_INFO");
    repeated_click(w, "menu_SYSTEM_INFO", 2);
    w.settle(5);
    enter_content_frame(w);
    w.settle(5);
    w.locateElementById(tabs::kOther);
    w.settle(5);
    return quiet_lookups(w, other_entry_bodies(table.entry));
  };
  auto element_lists = page_retry(w, get_element_lists);
  w._screenshot();
  Json result = Json::array();
  if (element_lists.empty() && !table.empty_raises) {
    leave_content_frame(w);
    w.logger().error(table.empty_text);
    return result;
  }
  empty_guard(w, element_lists, table.empty_text);
  auto element_list = first_rows(element_lists);
  for (auto& row : element_list) result.push_back(card_record(table, read_columns(row, table)));
  leave_content_frame(w);
  return result;
}

Json web_get_pcie_web_info(VornaWebWrapper& w) { return read_card_table(w, pcie_table()); }
Json web_get_hard_back_board_info(VornaWebWrapper& w) { return read_card_table(w, back_board_table()); }
Json web_get_riser_info(VornaWebWrapper& w) { return read_card_table(w, riser_table()); }
Json web_get_other_raid_info(VornaWebWrapper& w) { return read_card_table(w, raid_table()); }

Json get_tpm_info(VornaWebWrapper& w) {
  w.logger().info("[getTpm] start...");
  auto opening = [&w] {
    w.locateElementById("menu_INFO");
    w.locateElementById("menu_SYSTEM_INFO");
    w.settle(5);
    enter_content_frame(w);
    w.settle(5);
    w.locateElementById(tabs::kOther);
    w.settle(5);
    return quiet_lookups(w, other_entry_bodies(4));
  };
  auto element_lists = page_retry(w, opening);
  w._screenshot();
  empty_guard(w, element_lists, "没有获取到安全模块信息标签，《安全模块标签》:%s");
  auto element_list = first_rows(element_lists);
  static const char* kKeys[] = {"ProtocolType", "ProtocolVersion", "Manufacturer", "ManufacturerVersion", "SelfTest"};
  Json tpmList = Json::array();
  for (auto& row : element_list) {
    auto texts = row_read(row, 5);
    Json tpmInfo = Json::object();
    for (size_t i = 0; i < texts.size(); ++i) tpmInfo[kKeys[i]] = texts[i];
    tpmList.push_back(std::move(tpmInfo));
  }
  leave_content_frame(w);
  return tpmList;
}

}  // namespace vorna
