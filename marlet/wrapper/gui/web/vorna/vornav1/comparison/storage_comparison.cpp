// RAID controllers and their disks as the console reports them, held against the
// operating system's records. The two sides spell states, sizes and speeds differently,
// so each value is first brought to one form, then tested.
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparisons.h"

namespace vorna::comparison {
namespace py = marlet::py;

namespace {

// Plain lookups into one record (KeyError when absent), with the record's place in its
// argument for type errors ("raidInfo['c0']").
struct Record {
  const Json& map;
  std::string place;

  Record(const Json& value, std::string where) : map(require_map(value, where)), place(std::move(where)) {}
  const Json& operator[](const char* key) const { return at(map, key, place); }
  const std::string& text(const char* key) const { return comparison::text((*this)[key], subscript(place, key)); }
};

// A difference shows the console's value first, then the system's, both as tested.
void require(bool agree, const char* message, const Json& web, const Json& os) {
  if (!agree) throw marlet::WebDisplayException(py::format(message, web, os));
}

void compare_controller(const std::string& k, const Record& web, const Json& raidInfo, marlet::Logger& log) {
  Json name = web["name"];
  Json firmware = web["firmware_version"];
  Json health = web["health status"];
  Json levels = web["supported raid levels"];
  Json memory = py::replace(web.text("memory size"), " ", "");
  Json interface = py::replace(web.text("device interface"), " GB", "G");
  log.info(py::format("web下查询信息：名称：%s，固件版本：%s，健康状态：%s，支持的磁盘接口类型：%s，内存容量：%s，设备接口：%s",
                      name, firmware, health, levels, memory, interface));

  Record os(at(require_map(raidInfo, "raidInfo"), k, "raidInfo"), subscript("raidInfo", k));
  Json model = os["Model"];
  Json os_firmware = os["Firmware Version"];
  // The system says "Optimal" where the console says "Normal".
  Json os_health = py::replace(os.text("Controller Status"), "Optimal", "Normal");
  Json os_levels = os["RAID Level Supported"];
  Json os_memory = os["On Board Memory Size"];
  Json os_interface = py::replace(os.text("Device Interface"), "-", " ");
  log.info(py::format("os下查询信息：名称：%s，固件版本：%s，健康状态：%s，支持的磁盘接口类型：%s，内存容量：%s，设备接口：%s",
                      model, os_firmware, os_health, os_levels, os_memory, os_interface));

  require(firmware == os_firmware, "固件版本不一致，《bmc web》:%s,《os》:%s", firmware, os_firmware);
  require(health == os_health, "健康状态不一致，《bmc web》:%s,《os》:%s", health, os_health);
  // The console lists every level it supports; the system's list may be a part of it.
  require(contained(os_levels, levels, subscript(os.place, "RAID Level Supported"),
                    subscript(web.place, "supported raid levels")),
          "支持的磁盘接口类型不一致，《bmc web》:%s,《os》:%s", levels, os_levels);
  require(memory == os_memory, "内存容量不一致，《bmc web》:%s,《os》:%s", memory, os_memory);
  require(interface == os_interface, "设备接口不一致，《bmc web》:%s,《os》:%s", interface, os_interface);
}

// The system's record is only taken up after the console's line is logged, so a broken
// system record still leaves the console's side of the disk in the log.
void compare_disk(const std::string& web_name, const Record& web, const std::string& os_name, const Json& os_record,
                  const std::string& os_place, marlet::Logger& log) {
  Json interface = web["Interface Type"];
  Json model = web["Model"];
  Json serial = web["Serial Number"];
  Json firmware = web["Firmware Version"];
  Json state = web["Firmware State"];
  Json web_capacity = gigabytes(web.text("Capacity"));
  Json capable = web["Capable Speed"];
  Json negotiated = web["Negotiated Speed"];
  log.info(py::format(
      "web下查询信息 硬盘名称：%s，接口类型：%s，型号：%s，序列号：%s，固件版本：%s，固件状态：%s，容量：%s，支持的速率：%s，协商速率：%s",
      web_name, interface, model, serial, firmware, state, web_capacity, capable, negotiated));

  Record os(os_record, os_place);
  Json os_interface = os["PD Type"];
  Json os_model = os["Model"];
  Json os_serial = os["Serial Number"];
  Json os_firmware = os["Device Firmware Level"];
  Json os_state = os["Firmware state"];
  // The system writes the sector count after the size: "1.091 TB [0x8bba0cb0 Sectors]".
  const std::string& raw = os.text("Raw Size");
  Json capacity = gigabytes(raw.substr(0, raw.find('[')));
  Json device_speed = os["Device Speed"];
  Json link_speed = os["Link Speed"];
  log.info(py::format(
      "os下查询信息 硬盘名称：%s，接口类型：%s，型号：%s，序列号：%s，固件版本：%s，固件状态：%s，容量：%s，支持的速率：%s，协商速率：%s",
      os_name, os_interface, os_model, os_serial, os_firmware, os_state, capacity, device_speed, link_speed));

  require(interface == os_interface, "接口类型不一致 《bmc web》:%s,《os》:%s", interface, os_interface);
  // The console shows a shortened form of what the system reports, never more.
  require(contained(model, os_model, subscript(web.place, "Model"), subscript(os.place, "Model")), "型号不一致 《bmc web》:%s,《os》:%s", model, os_model);
  require(contained(serial, os_serial, subscript(web.place, "Serial Number"), subscript(os.place, "Serial Number")), "序列号不一致 《bmc web》:%s,《os》:%s", serial, os_serial);
  require(contained(firmware, os_firmware, subscript(web.place, "Firmware Version"), subscript(os.place, "Device Firmware Level")), "固件版本不一致 《bmc web》:%s,《os》:%s", firmware, os_firmware);
  // Upper case for the test only: the message shows the system's text as it came.
  Json os_state_upper = py::upper(text(os_state, subscript(os.place, "Firmware state")));
  require(contained(state, os_state_upper, subscript(web.place, "Firmware State"), subscript(os.place, "Firmware state")),
          "固件状态不一致 《bmc web》:%s,《os》:%s", state, os_state);
  require(within_one_percent(web_capacity.get_ref<const std::string&>(), capacity.get_ref<const std::string&>()),
          "容量不一致，超过1%%误差率 《bmc web》:%s,《os》:%s", web_capacity, capacity);
  // Speeds are numbers (12 equals 12.0); the messages show the texts as read.
  double web_speed = speed(web.text("Capable Speed"), " Gbps");
  require(web_speed == speed(os.text("Device Speed"), "Gb/s"), "支持的速率不一致 《bmc web》:%s,《os》:%s", capable,
          device_speed);
  web_speed = speed(web.text("Negotiated Speed"), " Gbps");
  require(web_speed == speed(os.text("Link Speed"), "Gb/s"), "协商速率不一致 《bmc web》:%s,《os》:%s", negotiated,
          link_speed);
}

}  // namespace

void compare_storage(const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo, const Json& diskInfo,
                     marlet::Logger& log) {
  // The system's maps are checked only when a console key needs them: an empty console
  // side passes whatever the system side holds. There is no check for empty input.
  log.info("对比RAID信息");
  for (const auto& [k, web] : require_map(webRaidInfo, "webRaidInfo").items())
    compare_controller(k, Record(web, subscript("webRaidInfo", k)), raidInfo, log);

  log.info("对比物理盘信息");
  for (const auto& [k, web_disks] : require_map(webDiskInfo, "webDiskInfo").items()) {
    Record web_side(web_disks, subscript("webDiskInfo", k));
    Record os_side(at(require_map(diskInfo, "diskInfo"), k, "diskInfo"), subscript("diskInfo", k));
    // Disks pair by position, each map in its own order, until the shorter one ends; the
    // names are not compared and extra disks on the longer side are not looked at.
    auto w = web_side.map.begin();
    auto o = os_side.map.begin();
    for (; w != web_side.map.end() && o != os_side.map.end(); ++w, ++o)
      compare_disk(w.key(), Record(*w, subscript(web_side.place, w.key())), o.key(), *o,
                   subscript(os_side.place, o.key()), log);
  }
}

}  // namespace vorna::comparison
