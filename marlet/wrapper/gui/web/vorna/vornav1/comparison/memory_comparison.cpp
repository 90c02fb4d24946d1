// Memory modules as the console lists them, held against the operating system's records.
#include <cmath>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;
using comparison::at;
using comparison::first_token;
using comparison::text;

namespace {

// A difference reports the system's value first, then the console's, both as read.
[[noreturn]] void differ(const char* message, const Json& os_value, const Json& web_value) {
  throw marlet::WebDisplayException(py::format(message, os_value, web_value));
}

void compare_module(const Json& web, const Json& os) {
  const Json& manufacturer = at(web, "manufacturer");
  const Json& os_manufacturer = at(os, "Manufacturer");
  if (os_manufacturer != manufacturer)
    differ("os下获取内存的厂商是：%s,web下获取内存的厂商是：%s", os_manufacturer, manufacturer);

  const Json& capacity = at(web, "capacity");
  const Json& size = at(os, "Size");
  long long web_gb = py::to_int(first_token(text(capacity, "capacity")));
  long long os_gb = py::to_int(first_token(text(size, "Size")));
  // The console may count in MB where the system counts in GB: one direction only.
  if (web_gb != os_gb && web_gb != os_gb * 1024)
    differ("os下获取内存的容量是：%s,web下获取内存的容量是：%s", size, capacity);

  const Json& speed = at(web, "clockSpeed");
  const Json& os_speed = at(os, "Speed");
  if (first_token(text(speed, "clockSpeed")) != first_token(text(os_speed, "Speed")))
    differ("os下获取内存的主频是：%s,web下获取内存的主频是：%s", os_speed, speed);

  const Json& sn = at(web, "sn");
  const Json& os_sn = at(os, "Serial Number");
  if (os_sn != sn) differ("os下获取内存的序列号是：%s,web下获取内存的序列号是：%s", os_sn, sn);

  const Json& type = at(web, "type");
  const Json& os_type = at(os, "Type");
  if (os_type != type) differ("os下获取内存的类型是：%s,web下获取内存的类型是：%s", os_type, type);

  const Json& voltage = at(web, "minimumVoltage");
  const Json& os_voltage = at(os, "Minimum Voltage");
  long long millivolts = py::to_int(first_token(text(voltage, "minimumVoltage")));
  double volts = py::to_float(first_token(text(os_voltage, "Minimum Voltage")));
  if (millivolts != static_cast<long long>(std::trunc(volts * 1000)))
    differ("os下获取内存的最小电压是：%s,web下获取内存的最小电压是：%s", os_voltage, voltage);

  const Json& rank = at(web, "rankQty");
  const Json& os_rank = at(os, "Rank");
  if (first_token(text(rank, "rankQty")) != text(os_rank, "Rank"))
    differ("os下获取内存的RANK列是：%s,web下获取内存的RANK列是：%s", os_rank, rank);

  const Json& width = at(web, "bitWith");
  const Json& os_width = at(os, "Total Width");
  if (first_token(text(width, "bitWith")) != first_token(text(os_width, "Total Width")))
    differ("os下获取内存的位宽是：%s,web下获取内存的位宽是：%s", os_width, width);

  const Json& technology = at(web, "technology");
  const Json& os_technology = at(os, "Type Detail");
  if (py::replace(text(technology, "technology"), "|", "") != text(os_technology, "Type Detail"))
    differ("os下获取内存的技术是：%s,web下获取内存的技术是：%s", os_technology, technology);
}

}  // namespace

void VornaWebWrapper::compare_memory(const Json& webMemoryInfo, const Json& osMemoryInfo) {
  if (!py::truthy(webMemoryInfo))
    throw marlet::WebElementException(py::format("web获取内存信息失败:%s", webMemoryInfo));
  comparison::require_list(webMemoryInfo, "webMemoryInfo");
  comparison::require_map(osMemoryInfo, "osMemoryInfo");
  for (const auto& item : webMemoryInfo) {
    const Json& name = at(item, "name");
    const Json& os_info = at(osMemoryInfo, py::str(name));
    logger().info(py::format("名称:%s, os获取内存信息：%s", name, os_info));
    logger().info(py::format("名称:%s, we获取内存信息：%s", name, item));
    compare_module(item, os_info);
  }
}

}  // namespace vorna
