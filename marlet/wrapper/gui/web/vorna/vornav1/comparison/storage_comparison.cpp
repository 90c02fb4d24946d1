// RAID controllers and their disks as the console reports them, held against the
// operating system's records: each pair is brought to one form, then tested.
#include <cmath>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/units.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;
using comparison::at;
using comparison::text;

namespace {

[[noreturn]] void differ(const char* message, const std::string& web, const std::string& os) {
  throw marlet::WebDisplayException(py::format(message, web, os));
}

// Blanks out, converted to gigabytes, "GB" shown as " GB": "1.819TB" -> "1862.656 GB".
std::string capacity_rule(const std::string& size) {
  std::string converted = marlet::Units::convert(py::replace(size, " ", ""), "GB");
  return py::replace(converted, "GB", " GB");
}

double leading_number(const std::string& capacity) { return py::to_float(py::split(capacity, " ").front()); }

std::string upper(std::string s) {
  for (auto& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

void compare_controller(const std::string& k, const Json& web, const Json& os, marlet::Logger& log) {
  std::string name = py::str(at(web, "name"));
  std::string firmware = text(at(web, "firmware_version"), "firmware_version");
  std::string health = text(at(web, "health status"), "health status");
  std::string levels = text(at(web, "supported raid levels"), "supported raid levels");
  std::string memory = py::replace(text(at(web, "memory size"), "memory size"), " ", "");
  std::string interface = py::replace(text(at(web, "device interface"), "device interface"), " GB", "G");
  log.info(py::format("web下查询信息：名称：%s，固件版本：%s，健康状态：%s，支持的磁盘接口类型：%s，内存容量：%s，设备接口：%s",
                      name, firmware, health, levels, memory, interface));

  const Json& sys = at(os, k);
  std::string model = py::str(at(sys, "Model"));
  std::string os_firmware = text(at(sys, "Firmware Version"), "Firmware Version");
  std::string os_health = py::replace(text(at(sys, "Controller Status"), "Controller Status"), "Optimal", "Normal");
  std::string os_levels = text(at(sys, "RAID Level Supported"), "RAID Level Supported");
  std::string os_memory = text(at(sys, "On Board Memory Size"), "On Board Memory Size");
  std::string os_interface = py::replace(text(at(sys, "Device Interface"), "Device Interface"), "-", " ");
  log.info(py::format("os下查询信息：名称：%s，固件版本：%s，健康状态：%s，支持的磁盘接口类型：%s，内存容量：%s，设备接口：%s",
                      model, os_firmware, os_health, os_levels, os_memory, os_interface));

  if (firmware != os_firmware) differ("固件版本不一致，《bmc web》:%s,《os》:%s", firmware, os_firmware);
  if (health != os_health) differ("健康状态不一致，《bmc web》:%s,《os》:%s", health, os_health);
  if (!py::contains(levels, os_levels)) differ("支持的磁盘接口类型不一致，《bmc web》:%s,《os》:%s", levels, os_levels);
  if (memory != os_memory) differ("内存容量不一致，《bmc web》:%s,《os》:%s", memory, os_memory);
  if (interface != os_interface) differ("设备接口不一致，《bmc web》:%s,《os》:%s", interface, os_interface);
}

void compare_disk(const std::string& web_name, const Json& web, const std::string& os_name, const Json& os,
                  marlet::Logger& log) {
  std::string interface = text(at(web, "Interface Type"), "Interface Type");
  std::string model = text(at(web, "Model"), "Model");
  std::string serial = text(at(web, "Serial Number"), "Serial Number");
  std::string firmware = text(at(web, "Firmware Version"), "Firmware Version");
  std::string state = text(at(web, "Firmware State"), "Firmware State");
  std::string web_capacity = capacity_rule(text(at(web, "Capacity"), "Capacity"));
  std::string capable = text(at(web, "Capable Speed"), "Capable Speed");
  std::string negotiated = text(at(web, "Negotiated Speed"), "Negotiated Speed");
  log.info(py::format("web下查询信息 硬盘名称：%s，接口类型：%s，型号：%s，序列号：%s，固件版本：%s，固件状态：%s，容量：%s，支持的速率：%s，协商速率：%s",
                      web_name, interface, model, serial, firmware, state, web_capacity, capable, negotiated));

  std::string os_interface = text(at(os, "PD Type"), "PD Type");
  std::string os_model = text(at(os, "Model"), "Model");
  std::string os_serial = text(at(os, "Serial Number"), "Serial Number");
  std::string os_firmware = text(at(os, "Device Firmware Level"), "Device Firmware Level");
  std::string os_state = text(at(os, "Firmware state"), "Firmware state");
  std::string raw = text(at(os, "Raw Size"), "Raw Size");
  std::string capacity = capacity_rule(raw.substr(0, raw.find('[')));
  std::string device_speed = text(at(os, "Device Speed"), "Device Speed");
  std::string link_speed = text(at(os, "Link Speed"), "Link Speed");
  log.info(py::format("os下查询信息 硬盘名称：%s，接口类型：%s，型号：%s，序列号：%s，固件版本：%s，固件状态：%s，容量：%s，支持的速率：%s，协商速率：%s",
                      os_name, os_interface, os_model, os_serial, os_firmware, os_state, capacity, device_speed,
                      link_speed));

  if (interface != os_interface) differ("接口类型不一致 《bmc web》:%s,《os》:%s", interface, os_interface);
  if (!py::contains(os_model, model)) differ("型号不一致 《bmc web》:%s,《os》:%s", model, os_model);
  if (!py::contains(os_serial, serial)) differ("序列号不一致 《bmc web》:%s,《os》:%s", serial, os_serial);
  if (!py::contains(os_firmware, firmware)) differ("固件版本不一致 《bmc web》:%s,《os》:%s", firmware, os_firmware);
  if (!py::contains(upper(os_state), state)) differ("固件状态不一致 《bmc web》:%s,《os》:%s", state, os_state);
  double web_num = leading_number(web_capacity);
  double os_num = leading_number(capacity);
  // The console's size is the base of the percentage; exactly 1% still passes.
  if (web_num == 0) throw marlet::ZeroDivisionError("float division by zero");
  if (std::fabs(web_num - os_num) / web_num > 0.01)
    differ("容量不一致，超过1%%误差率 《bmc web》:%s,《os》:%s", web_capacity, capacity);
  if (py::to_float(py::replace(capable, " Gbps", "")) != py::to_float(py::replace(device_speed, "Gb/s", "")))
    differ("支持的速率不一致 《bmc web》:%s,《os》:%s", capable, device_speed);
  if (py::to_float(py::replace(negotiated, " Gbps", "")) != py::to_float(py::replace(link_speed, "Gb/s", "")))
    differ("协商速率不一致 《bmc web》:%s,《os》:%s", negotiated, link_speed);
}

}  // namespace

void VornaWebWrapper::compare_storage(const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo,
                                      const Json& diskInfo) {
  comparison::require_map(webRaidInfo, "webRaidInfo");
  comparison::require_map(raidInfo, "raidInfo");
  comparison::require_map(webDiskInfo, "webDiskInfo");
  comparison::require_map(diskInfo, "diskInfo");
  logger().info("对比RAID信息");
  for (const auto& [k, web] : webRaidInfo.items()) compare_controller(k, web, raidInfo, logger());
  logger().info("对比物理盘信息");
  for (const auto& [k, web_disks] : webDiskInfo.items()) {
    const Json& os_disks = comparison::require_map(at(diskInfo, k), "diskInfo entry");
    comparison::require_map(web_disks, "webDiskInfo entry");
    // Disks pair by position, each map in its own order, until the shorter one ends.
    auto w = web_disks.begin();
    auto o = os_disks.begin();
    for (; w != web_disks.end() && o != os_disks.end(); ++w, ++o) compare_disk(w.key(), *w, o.key(), *o, logger());
  }
}

}  // namespace vorna
