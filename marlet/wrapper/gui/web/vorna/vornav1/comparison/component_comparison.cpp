// Power supplies, PCIe cards, disk backplanes, riser cards and RAID cards held against a
// bench table. The five differ only in data (how a record finds its bench row, which
// fields are logged, which are tested how and in what order), so one engine runs them
// from one table per kind of component.
#include <string>
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparisons.h"

namespace vorna::comparison {
namespace py = marlet::py;

namespace {

enum class Test { Exact, Contained, ContainedOrEqual };
// Where a value comes from: the bench row, the bench table itself (the RAID card's
// ProductName), the web record, or the key that found the row.
enum class From { Row, Table, Record, Key };
// How a web record finds its bench row.
enum class Lookup { PartNumber, PciIds, BoardId };

struct Value {
  From from;
  const char* key = "";
};

struct Field {
  Value standard;
  const char* actual;  // key of the web record
  Test test;
  const char* message;  // filled with the standard value, then the actual one
};

struct Kind {
  const char* web_argument;
  const char* bench_argument;
  const char* empty_message;
  Lookup lookup;
  const char* standard_line;
  std::vector<Value> standard_values;
  const char* actual_line;
  std::vector<Value> actual_values;
  std::vector<Field> fields;
};

constexpr Value row(const char* key) { return {From::Row, key}; }
constexpr Value record(const char* key) { return {From::Record, key}; }
constexpr Value kKey{From::Key};

const Kind kPower = {
    "webPowerInfo", "powerInfo", "web获取电源信息失败", Lookup::PartNumber,
    "电源标准信息<类型>%s <厂商>%s <额定功率>%s <输入模式>%s <部件编码>%s",
    {row("Model"), row("Manufacturer"), row("PowerCapacityWatts"), row("PowerSupplyType"), kKey},
    "电源实际信息<类型>%s <厂商>%s <额定功率>%s <输入模式>%s <部件编码>%s",
    {record("Type"), record("Manufacturer"), record("Rated Power"), record("Input Mode"), record("BOM Code")},
    {{row("Manufacturer"), "Manufacturer", Test::Exact, "电源厂商不一致 标准:%s 实际:%s"},
     {row("PowerCapacityWatts"), "Rated Power", Test::Exact, "电源额定功率不一致 标准:%s 实际:%s"},
     {row("PowerSupplyType"), "Input Mode", Test::Exact, "电源输入模式不一致 标准:%s 实际:%s"}}};

const Kind kPcie = {
    "webpcieInfo", "pcieInfo", "web获取PCIE卡信息失败", Lookup::PciIds,
    "Pcie卡标准信息<制造商ID>%s <设备ID>%s <子厂商ID>%s <子设备ID>%s <厂商>%s",
    {record("VendorID"), record("DeviceID"), record("SubVendorID"), record("SubDeviceID"), row("Manufacturer")},
    "Pcie卡实际信息<制造商ID>%s <设备ID>%s <子厂商ID>%s <子设备ID>%s <厂商>%s",
    {record("VendorID"), record("DeviceID"), record("SubVendorID"), record("SubDeviceID"), record("Manufacturer")},
    {{row("Manufacturer"), "Manufacturer", Test::ContainedOrEqual, "Pcie卡厂商不一致 标准:%s 实际:%s"}}};

const Kind kBackBoard = {
    "webBackBoardInfo", "backBoardInfo", "web获取硬盘背板信息失败", Lookup::BoardId,
    "硬盘背板标准信息<背板ID>%s <名称>%s <厂商>%s <PCB版本>%s",
    {kKey, row("BoardName"), row("Manufacturer"), row("PCBVersion")},
    "硬盘背板实际信息<背板ID>%s <名称>%s <厂商>%s <PCB版本>%s",
    {kKey, record("Name"), record("Manufacturer"), record("PCBVersion")},
    // The manufacturer comes before the name here, unlike risers and RAID cards.
    {{row("Manufacturer"), "Manufacturer", Test::Exact, "硬盘背板厂商不一致 标准:%s 实际:%s"},
     {row("BoardName"), "Name", Test::Exact, "硬盘背板名称不一致 标准:%s 实际:%s"},
     {row("PCBVersion"), "PCBVersion", Test::Exact, "硬盘背板PCB版本不一致 标准:%s 实际:%s"}}};

const Kind kRiser = {
    "webRaiserInfo", "riserInfo", "web获取Raiser卡信息失败", Lookup::BoardId,
    "Riser卡标准信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {kKey, row("BoardName"), row("Manufacturer"), row("Description"), row("PCBVersion")},
    "Riser卡实际信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {kKey, record("Name"), record("Manufacturer"), record("Type"), record("PCBVersion")},
    {{row("BoardName"), "Name", Test::Contained, "Riser卡名称不一致 标准:%s 实际:%s"},
     {row("Manufacturer"), "Manufacturer", Test::Exact, "Riser卡厂商不一致 标准:%s 实际:%s"},
     {row("Description"), "Type", Test::Contained, "Riser卡类型不一致 标准:%s 实际:%s"},
     {row("PCBVersion"), "PCBVersion", Test::Exact, "Riser卡PCB版本不一致 标准:%s 实际:%s"}}};

const Kind kRaid = {
    "webRaidInfo", "raidInfo", "web获取Raid卡信息失败", Lookup::BoardId,
    "RAID卡标准信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {kKey, {From::Table, "ProductName"}, row("Manufacturer"), row("Description"), row("PCBVersion")},
    "RAID卡实际信息<背板ID>%s <名称>%s <厂商>%s <类型>%s <PCB版本>%s",
    {kKey, record("Name"), record("Manufacturer"), record("Type"), record("PCBVersion")},
    {{{From::Table, "ProductName"}, "Name", Test::Exact, "RAID卡名称不一致 标准:%s 实际:%s"},
     {row("Manufacturer"), "Manufacturer", Test::Exact, "RAID卡厂商不一致 标准:%s 实际:%s"},
     {row("Description"), "Type", Test::Exact, "RAID卡类型不一致 标准:%s 实际:%s"},
     {row("PCBVersion"), "PCBVersion", Test::Exact, "RAID卡PCB版本不一致 标准:%s 实际:%s"}}};

// One web record with the bench row it found. Fields of rows and records are read with
// get(): a field the console or the bench does not have reads as null (a power record of
// the reader has no Status or Name), and a null differs from any text.
struct Component {
  const Kind& kind;
  const Json& table;
  const Json& row;
  std::string row_name;  // "powerInfo['02310ABC']", for type errors
  const Json& record;
  std::string record_name;  // "webPowerInfo[0]"
  Json key;

  Json read(const Value& v) const {
    switch (v.from) {
      case From::Row: return get(row, v.key, row_name);
      case From::Table: return get(table, v.key, kind.bench_argument);
      case From::Record: return get(record, v.key, record_name);
      case From::Key: return key;
    }
    return nullptr;
  }

  std::string line(const char* format, const std::vector<Value>& values) const {
    std::vector<std::string> texts;
    for (const auto& v : values) texts.push_back(py::str(read(v)));
    return py::format_list(format, texts);
  }
};

bool passes(Test test, const Json& standard, const Json& actual, std::string_view actual_place,
            std::string_view standard_place) {
  switch (test) {
    case Test::Exact: return standard == actual;
    // The actual text is looked for in the standard one: a console may show a shorter
    // name than the bench knows, never a longer one.
    case Test::Contained: return contained(actual, standard, actual_place, standard_place);
    case Test::ContainedOrEqual:
      return contained(actual, standard, actual_place, standard_place) || actual == standard;
  }
  return false;
}

// Both lines of one component come before its first test, so a difference still leaves
// what was compared in the log.
void compare_one(const Component& c, marlet::Logger& log) {
  log.info(c.line(c.kind.standard_line, c.kind.standard_values));
  log.info(c.line(c.kind.actual_line, c.kind.actual_values));
  for (const auto& field : c.kind.fields) {
    Json standard = c.read(field.standard);
    Json actual = get(c.record, field.actual, c.record_name);
    std::string actual_place = subscript(c.record_name, field.actual);
    std::string standard_place =
        subscript(field.standard.from == From::Table ? c.kind.bench_argument : c.row_name, field.standard.key);
    if (!passes(field.test, standard, actual, actual_place, standard_place))
      throw marlet::WebDisplayException(py::format(field.message, standard, actual));
  }
}

// The bench row under `key`, used as the console shows it. A part number or board id the
// table lacks has no check of its own (only PCIe cards have one): the next read from the
// row could not succeed. We make that a KeyError naming the key, so the harness sees which
// bench entry is missing and can tell it from a difference (WebDisplayException) and from
// a console that showed nothing (WebElementException). A row that is present but null
// counts as absent.
const Json& bench_row(const Json& table, const Json& key) {
  // Keys of a map are texts; a key of another type names no row.
  std::string name = py::str(key);
  if (key.is_string()) {
    auto it = table.find(name);
    if (it != table.end() && !it->is_null()) return *it;
  }
  throw marlet::KeyError(name);
}

void compare_components(const Kind& kind, const Json& web, const Json& bench, marlet::Logger& log) {
  if (!py::truthy(web)) throw marlet::WebElementException(kind.empty_message);
  require_list(web, kind.web_argument);
  for (size_t i = 0; i < web.size(); ++i) {
    const Json& rec = web[i];
    std::string rec_name = std::string(kind.web_argument) + "[" + std::to_string(i) + "]";
    Json key;
    const Json* found = nullptr;
    switch (kind.lookup) {
      case Lookup::PartNumber: {
        // An absent supply is not compared, whatever its part number says.
        if (get(rec, "Status", rec_name) == "Not Detected") {
          log.info(py::format("电源%s不在位", get(rec, "Name", rec_name)));
          continue;
        }
        key = get(rec, "BOM Code", rec_name);
        // "N/A" means the supply could not tell its part number: a fault, even if the
        // bench table happens to hold a row under "N/A".
        if (key == "N/A") throw marlet::WebDisplayException(py::format("电源部件编码是%s", key));
        // The table is checked only once a record needs it: a list of absent supplies
        // passes whatever the table holds.
        found = &bench_row(require_map(bench, kind.bench_argument), key);
        break;
      }
      case Lookup::PciIds: {
        Json ids[] = {get(rec, "VendorID", rec_name), get(rec, "DeviceID", rec_name),
                      get(rec, "SubVendorID", rec_name), get(rec, "SubDeviceID", rec_name)};
        key = py::format("%s_%s_%s_%s", ids[0], ids[1], ids[2], ids[3]);
        const Json& table = require_map(bench, kind.bench_argument);
        auto it = table.find(key.get<std::string>());
        if (it == table.end() || !py::truthy(*it))
          throw marlet::WebElementException(py::format(
              "No PCIe device matched! Device info: <VendorID>%s <DeviceID>%s <SubVendorID>%s <SubDeviceID>%s.",
              ids[0], ids[1], ids[2], ids[3]));
        found = &*it;
        break;
      }
      case Lookup::BoardId:
        key = get(rec, "BoardID", rec_name);
        found = &bench_row(require_map(bench, kind.bench_argument), key);
        break;
    }
    compare_one({kind, bench, *found, subscript(kind.bench_argument, py::str(key)), rec, rec_name, key}, log);
  }
}

}  // namespace

void compare_power(const Json& webPowerInfo, const Json& powerInfo, marlet::Logger& log) {
  compare_components(kPower, webPowerInfo, powerInfo, log);
}

void compare_pcie(const Json& webpcieInfo, const Json& pcieInfo, marlet::Logger& log) {
  compare_components(kPcie, webpcieInfo, pcieInfo, log);
}

void compare_back_board(const Json& webBackBoardInfo, const Json& backBoardInfo, marlet::Logger& log) {
  compare_components(kBackBoard, webBackBoardInfo, backBoardInfo, log);
}

void compare_riser(const Json& webRaiserInfo, const Json& riserInfo, marlet::Logger& log) {
  compare_components(kRiser, webRaiserInfo, riserInfo, log);
}

void compare_raid(const Json& webRaidInfo, const Json& raidInfo, marlet::Logger& log) {
  compare_components(kRaid, webRaidInfo, raidInfo, log);
}

}  // namespace vorna::comparison
