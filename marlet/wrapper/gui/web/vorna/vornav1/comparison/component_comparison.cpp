// Power supplies, PCIe cards, disk backplanes, riser cards and RAID cards held against a
// bench table: one engine, driven by a table per kind of component.
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;
using comparison::contained;
using comparison::get;

namespace {

enum class Test { Exact, Contained, ContainedOrEqual };
enum class From { Row, Table, Record, Key };

struct Value {
  From from;
  const char* key = "";
};

struct Field {
  Value standard;
  const char* actual;  // key of the web record
  Test test;
  const char* message;  // filled with standard, actual
};

struct Component {
  const char* web_argument;
  const char* bench_argument;
  const char* empty_message;
  const char* standard_line;
  std::vector<Value> standard_values;
  const char* actual_line;
  std::vector<Value> actual_values;
  std::vector<Field> fields;
};

const Component kPower = {
    "webPowerInfo", "powerInfo", "web获取电源信息失败",
    "电源标准信息<类型>%s <厂商>%s <额定功率>%s <输入模式>%s <部件编码>%s",
    {{From::Row, "Model"}, {From::Row, "Manufacturer"}, {From::Row, "PowerCapacityWatts"},
     {From::Row, "PowerSupplyType"}, {From::Key}},
    "电源实际信息<类型>%s <厂商>%s <额定功率>%s <输入模式>%s <部件编码>%s",
    {{From::Record, "Type"}, {From::Record, "Manufacturer"}, {From::Record, "Rated Power"},
     {From::Record, "Input Mode"}, {From::Record, "BOM Code"}},
    {{{From::Row, "Manufacturer"}, "Manufacturer", Test::Exact, "电源厂商不一致 标准:%s 实际:%s"},
     {{From::Row, "PowerCapacityWatts"}, "Rated Power", Test::Exact, "电源额定功率不一致 标准:%s 实际:%s"},
     {{From::Row, "PowerSupplyType"}, "Input Mode", Test::Exact, "电源输入模式不一致 标准:%s 实际:%s"}}};

const Component kPcie = {
    "webpcieInfo", "pcieInfo", "web获取PCIE卡信息失败",
    "Pcie卡标准信息<制造商ID>%s <设备ID>%s <子厂商ID>%s <子设备ID>%s <厂商>%s",
    {{From::Record, "VendorID"}, {From::Record, "DeviceID"}, {From::Record, "SubVendorID"},
     {From::Record, "SubDeviceID"}, {From::Row, "Manufacturer"}},
    "Pcie卡实际信息<制造商ID>%s <设备ID>%s <子厂商ID>%s <子设备ID>%s <厂商>%s",
    {{From::Record, "VendorID"}, {From::Record, "DeviceID"}, {From::Record, "SubVendorID"},
     {From::Record, "SubDeviceID"}, {From::Record, "Manufacturer"}},
    {{{From::Row, "Manufacturer"}, "Manufacturer", Test::ContainedOrEqual, "Pcie卡厂商不一致 标准:%s 实际:%s"}}};

const Component kBackBoard = {
    "webBackBoardInfo", "backBoardInfo", "web获取硬盘背板信息失败",
    "硬盘背板标准信息<背板ID>%s <名称>%s <厂商>%s <PCB版本>%s",
    {{From::Key}, {From::Row, "BoardName"}, {From::Row, "Manufacturer"}, {From::Row, "PCBVersion"}},
    "硬盘背板实际信息<背板ID>%s <名称>%s <厂商>%s <PCB版本>%s",
    {{From::Key}, {From::Record, "Name"}, {From::Record, "Manufacturer"}, {From::Record, "PCBVersion"}},
    {{{From::Row, "Manufacturer"}, "Manufacturer", Test::Exact, "硬盘背板厂商不一致 标准:%s 实际:%s"},
     {{From::Row, "BoardName"}, "Name", Test::Exact, "硬盘背板名称不一致 标准:%s 实际:%s"},
     {{From::Row, "PCBVersion"}, "PCBVersion", Test::Exact, "硬盘背板PCB版本不一致 标准:%s 实际:%s"}}};

const Component kRiser = {
    "webRaiserInfo", "riserInfo", "web获取Raiser卡信息失败",
    "Riser卡标准信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {{From::Key}, {From::Row, "BoardName"}, {From::Row, "Manufacturer"}, {From::Row, "Description"},
     {From::Row, "PCBVersion"}},
    "Riser卡实际信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {{From::Key}, {From::Record, "Name"}, {From::Record, "Manufacturer"}, {From::Record, "Type"},
     {From::Record, "PCBVersion"}},
    {{{From::Row, "BoardName"}, "Name", Test::Contained, "Riser卡名称不一致 标准:%s 实际:%s"},
     {{From::Row, "Manufacturer"}, "Manufacturer", Test::Exact, "Riser卡厂商不一致 标准:%s 实际:%s"},
     {{From::Row, "Description"}, "Type", Test::Contained, "Riser卡类型不一致 标准:%s 实际:%s"},
     {{From::Row, "PCBVersion"}, "PCBVersion", Test::Exact, "Riser卡PCB版本不一致 标准:%s 实际:%s"}}};

const Component kRaid = {
    "webRaidInfo", "raidInfo", "web获取Raid卡信息失败",
    "RAID卡标准信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {{From::Key}, {From::Table, "ProductName"}, {From::Row, "Manufacturer"}, {From::Row, "Description"},
     {From::Row, "PCBVersion"}},
    "RAID卡实际信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {{From::Key}, {From::Record, "Name"}, {From::Record, "Manufacturer"}, {From::Record, "Type"},
     {From::Record, "PCBVersion"}},
    {{{From::Table, "ProductName"}, "Name", Test::Exact, "RAID卡名称不一致 标准:%s 实际:%s"},
     {{From::Row, "Manufacturer"}, "Manufacturer", Test::Exact, "RAID卡厂商不一致 标准:%s 实际:%s"},
     {{From::Row, "Description"}, "Type", Test::Exact, "RAID卡类型不一致 标准:%s 实际:%s"},
     {{From::Row, "PCBVersion"}, "PCBVersion", Test::Exact, "RAID卡PCB版本不一致 标准:%s 实际:%s"}}};

struct Context {
  const Json& table;
  const Json& row;
  const Json& record;
  const Json& key;
};

Json read(const Value& v, const Context& c) {
  switch (v.from) {
    case From::Row: return get(c.row, v.key);
    case From::Table: return get(c.table, v.key);
    case From::Record: return get(c.record, v.key);
    case From::Key: return c.key;
  }
  return nullptr;
}

std::string fill(const char* format, const std::vector<Value>& values, const Context& c) {
  std::vector<std::string> texts;
  for (const auto& v : values) texts.push_back(py::str(read(v, c)));
  return py::format_list(format, texts);
}

bool passes(Test test, const Json& standard, const Json& actual) {
  switch (test) {
    case Test::Exact: return standard == actual;
    case Test::Contained: return contained(actual, standard);
    case Test::ContainedOrEqual: return contained(actual, standard) || actual == standard;
  }
  return false;
}

// The bench row under `key`. A key the table does not hold has no test of its own (the
// next read from the row could not succeed): it is reported as a KeyError naming the
// key, which is neither of the typed comparison failures.
const Json& bench_row(const Json& table, const Json& key) {
  std::string k = key.is_string() ? key.get<std::string>() : py::str(key);
  auto it = table.find(k);
  if (it == table.end() || it->is_null()) throw marlet::KeyError(k);
  if (!it->is_object()) throw marlet::TypeError(py::format("the bench row under %s must be a map", py::repr_text(k)));
  return *it;
}

// Logs both lines of one component, then tests its fields in order.
void compare_one(const Component& kind, const Context& c, marlet::Logger& log) {
  log.info(fill(kind.standard_line, kind.standard_values, c));
  log.info(fill(kind.actual_line, kind.actual_values, c));
  for (const auto& field : kind.fields) {
    Json standard = read(field.standard, c);
    Json actual = get(c.record, field.actual);
    if (!passes(field.test, standard, actual))
      throw marlet::WebDisplayException(py::format(field.message, standard, actual));
  }
}

const Json& web_list(const Component& kind, const Json& web) {
  if (!py::truthy(web)) throw marlet::WebElementException(kind.empty_message);
  return comparison::require_list(web, kind.web_argument);
}

void compare_by_board_id(const Component& kind, const Json& web, const Json& bench, marlet::Logger& log) {
  const Json& records = web_list(kind, web);
  comparison::require_map(bench, kind.bench_argument);
  for (const auto& record : records) {
    Json key = get(record, "BoardID");
    compare_one(kind, {bench, bench_row(bench, key), record, key}, log);
  }
}

}  // namespace

void VornaWebWrapper::compare_power(const Json& webPowerInfo, const Json& powerInfo) {
  const Json& records = web_list(kPower, webPowerInfo);
  comparison::require_map(powerInfo, kPower.bench_argument);
  for (const auto& record : records) {
    // An absent supply is not compared, whatever its part number says.
    if (get(record, "Status") == "Not Detected") {
      logger().info(py::format("电源%s不在位", get(record, "Name")));
      continue;
    }
    Json code = get(record, "BOM Code");
    if (code == "N/A") throw marlet::WebDisplayException(py::format("电源部件编码是%s", code));
    compare_one(kPower, {powerInfo, bench_row(powerInfo, code), record, code}, logger());
  }
}

void VornaWebWrapper::compare_pcie(const Json& webpcieInfo, const Json& pcieInfo) {
  const Json& records = web_list(kPcie, webpcieInfo);
  comparison::require_map(pcieInfo, kPcie.bench_argument);
  for (const auto& record : records) {
    Json ids[] = {get(record, "VendorID"), get(record, "DeviceID"), get(record, "SubVendorID"),
                  get(record, "SubDeviceID")};
    std::string key = py::format("%s_%s_%s_%s", ids[0], ids[1], ids[2], ids[3]);
    auto it = pcieInfo.find(key);
    if (it == pcieInfo.end() || !py::truthy(*it))
      throw marlet::WebElementException(py::format(
          "No PCIe device matched! Device info: <VendorID>%s <DeviceID>%s <SubVendorID>%s <SubDeviceID>%s.", ids[0],
          ids[1], ids[2], ids[3]));
    compare_one(kPcie, {pcieInfo, *it, record, Json(key)}, logger());
  }
}

void VornaWebWrapper::compare_back_board(const Json& webBackBoardInfo, const Json& backBoardInfo) {
  compare_by_board_id(kBackBoard, webBackBoardInfo, backBoardInfo, logger());
}

void VornaWebWrapper::compare_riser(const Json& webRaiserInfo, const Json& riserInfo) {
  compare_by_board_id(kRiser, webRaiserInfo, riserInfo, logger());
}

void VornaWebWrapper::compare_raid(const Json& webRaidInfo, const Json& raidInfo) {
  compare_by_board_id(kRaid, webRaidInfo, raidInfo, logger());
}

}  // namespace vorna
