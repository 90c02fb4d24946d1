// Every entry of tabOther's list, each table's columns named by its own header row.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory_records.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/system_info_page.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

std::string entry_name(const std::string& name) {
  // re.findall("^[^\(]*", name)[0].strip(): all up to the first "(".
  return py::strip(name.substr(0, name.find('(')));
}

Json web_get_other_devices_info(VornaWebWrapper& w) {
  w.logger().info("[getFan] start...");
  open_system_info_settled(w);
  auto otherDevicesTable = tab_loop(w, tabs::kOther, 5, "//div[@id='otherTableid']/ul/li");
  w.settle(10);
  w._screenshot();
  empty_guard(w, otherDevicesTable, "没有获取到其他设备信息标签");
  Json otherDevicesInfos = Json::array();
  for (auto& oneDeviceInfo : otherDevicesTable) {
    Json record = Json::object();
    auto infoName = oneDeviceInfo.get_attribute("name");
    if (!infoName) throw marlet::TypeError("expected string or bytes-like object");
    record.emplace("name", entry_name(*infoName));
    auto theadTable = oneDeviceInfo.find_elements_by_xpath("./div[2]/div/div/div[2]/div/div[1]/div/table/thead/tr/th");
    auto tbodyTable = oneDeviceInfo.find_elements_by_xpath("./div[2]/div/div/div[2]/div/div[2]/table/tbody/tr");
    auto keys = header_labels(theadTable, "./div/label");
    Json infoList = Json::array();
    for (auto& tbody : tbodyTable) infoList.push_back(row_by_header(tbody, keys));
    record.emplace("info", std::move(infoList));
    otherDevicesInfos.push_back(std::move(record));
  }
  leave_content_frame(w);
  return otherDevicesInfos;
}

}  // namespace vorna
