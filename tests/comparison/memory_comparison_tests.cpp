#include "tests/comparison/comparison_fixture.h"

namespace cmp = vorna::comparison;

namespace {

const Json kModule = {{"name", "DIMM000"}, {"location", "CPU1"}, {"manufacturer", "Vorna Memory"},
                      {"capacity", "32768 MB"}, {"clockSpeed", "3200 MHz"}, {"sn", "12345678"}, {"type", "DDR4"},
                      {"minimumVoltage", "1200 mV"}, {"rankQty", "2 rank"}, {"bitWith", "72 bit"},
                      {"technology", "Synchronous|Registered"}};
const Json kOsModule = {{"Manufacturer", "Vorna Memory"}, {"Size", "32 GB"}, {"Speed", "3200 MT/s"},
                        {"Serial Number", "12345678"}, {"Type", "DDR4"}, {"Minimum Voltage", "1.2 V"},
                        {"Rank", "2"}, {"Total Width", "72 bits"}, {"Type Detail", "SynchronousRegistered"}};

Failure run(const Json& web_patch, const Json& os_patch, marlet::Logger& log) {
  Json os = {{"DIMM000", patched(kOsModule, os_patch)}, {"DIMM001", nullptr}};  // unlisted: never read
  return failure_of([&] { cmp::compare_memory(Json::array({patched(kModule, web_patch)}), os, log); });
}

}  // namespace

using MemoryComparison = ComparisonTest;

TEST_F(MemoryComparison, AgreeingModulesLogBothWholeRecords) {
  EXPECT_EQ(run({}, {}, log), kNone);
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{
                "名称:DIMM000, os获取内存信息：{'Manufacturer': 'Vorna Memory', 'Size': '32 GB', 'Speed': '3200 MT/s', "
                "'Serial Number': '12345678', 'Type': 'DDR4', 'Minimum Voltage': '1.2 V', 'Rank': '2', "
                "'Total Width': '72 bits', 'Type Detail': 'SynchronousRegistered'}",
                "名称:DIMM000, we获取内存信息：{'name': 'DIMM000', 'location': 'CPU1', 'manufacturer': 'Vorna Memory', "
                "'capacity': '32768 MB', 'clockSpeed': '3200 MHz', 'sn': '12345678', 'type': 'DDR4', "
                "'minimumVoltage': '1200 mV', 'rankQty': '2 rank', 'bitWith': '72 bit', "
                "'technology': 'Synchronous|Registered'}"}));
}

TEST_F(MemoryComparison, EachFieldRaisesItsMessageSystemFirstAsRead) {
  struct Case {
    Json web, os;
    const char* message;
  } cases[] = {
      {{{"manufacturer", "Vorna Memory "}}, {}, "os下获取内存的厂商是：Vorna Memory,web下获取内存的厂商是：Vorna Memory "},
      {{{"capacity", "16384 MB"}}, {}, "os下获取内存的容量是：32 GB,web下获取内存的容量是：16384 MB"},
      {{}, {{"Type", "DDR5"}}, "os下获取内存的类型是：DDR5,web下获取内存的类型是：DDR4"},
      {{{"minimumVoltage", "1100 mV"}}, {}, "os下获取内存的最小电压是：1.2 V,web下获取内存的最小电压是：1100 mV"},
      {{{"technology", "Synchronous Registered"}}, {},
       "os下获取内存的技术是：SynchronousRegistered,web下获取内存的技术是：Synchronous Registered"},
      // Two differences: the first of the table.
      {{{"technology", "x"}, {"sn", "x"}}, {}, "os下获取内存的序列号是：12345678,web下获取内存的序列号是：x"},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.web, c.os, log), shows(c.message));
}

TEST_F(MemoryComparison, NormalisationsAndTheirDirections) {
  struct Case {
    Json web, os;
    bool agree;
  } cases[] = {
      {{{"capacity", "1024"}}, {{"Size", "1"}}, true},        // console in MB, system in GB
      {{{"capacity", "1024 GB"}}, {{"Size", "1024 MB"}}, true},  // equal numbers, units never read
      {{{"capacity", "1"}}, {{"Size", "1024"}}, false},       // the factor works one way only
      {{{"capacity", " 12 "}}, {{"Size", "+12"}}, true},       // int() of the first token
      {{{"minimumVoltage", "1199"}}, {{"Minimum Voltage", "1.1999999"}}, true},  // cut towards zero
      {{{"minimumVoltage", "1200"}}, {{"Minimum Voltage", "1.2e0 V"}}, true},
      {{{"clockSpeed", "3200MHz"}}, {{"Speed", "3200 MT/s"}}, false},  // compared as text
      {{{"rankQty", "2"}}, {{"Rank", "2 rank"}}, false},  // only the console is cut to its number
      {{{"bitWith", "72\tbit"}}, {{"Total Width", "  72 bits"}}, true},
      {{{"technology", "|Synchronous||Registered|"}}, {}, true},  // bars removed, not blanked
      // Python's int() has no bound: a huge system voltage is a difference, not a failure.
      {{{"minimumVoltage", "1200"}}, {{"Minimum Voltage", "1e20 V"}}, false},
      // The system's whole value is compared as it is: a number is no text.
      {{{"rankQty", "2 rank"}}, {{"Rank", 2}}, false},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.web, c.os, log).kind, c.agree ? "none" : "WebDisplayException") << c.web << c.os;
}

TEST_F(MemoryComparison, BrokenInputFailsWithPythonKinds) {
  struct Case {
    Json web, os;
    Failure expected;
  } cases[] = {
      {{{"name", "DIMM999"}}, {}, {"KeyError", "DIMM999"}},
      {{{"name", "DIMM001"}}, {}, {"TypeError", "osMemoryInfo['DIMM001'] must be a dict, not NoneType: None"}},
      {{}, {{"Rank", nullptr}}, {"KeyError", "Rank"}},
      {{{"capacity", "  "}}, {}, {"IndexError", "list index out of range"}},
      {{{"minimumVoltage", "1200.0 mV"}}, {}, {"ValueError", "invalid literal for int() with base 10: '1200.0'"}},
      {{}, {{"Minimum Voltage", "low"}}, {"ValueError", "could not convert string to float: 'low'"}},
      {{}, {{"Minimum Voltage", "nan"}}, {"ValueError", "cannot convert float NaN to integer"}},
      {{{"capacity", 32768}}, {}, {"TypeError", "webMemoryInfo[0]['capacity'] must be a str, not int: 32768"}},
      // A difference found before a broken field wins: the fields are read as they are tested.
      {{{"manufacturer", "X"}, {"capacity", nullptr}}, {},
       shows("os下获取内存的厂商是：Vorna Memory,web下获取内存的厂商是：X")},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.web, c.os, log), c.expected) << c.web << c.os;

  for (const Json& empty : {Json(nullptr), Json::array()})
    EXPECT_EQ(failure_of([&] { cmp::compare_memory(empty, Json::object(), log); }),
              (Failure{"WebElementException", "web获取内存信息失败:" + marlet::py::str(empty)}));
  EXPECT_EQ(failure_of([&] { cmp::compare_memory(Json::array({kModule}), Json::array(), log); }),
            (Failure{"TypeError", "osMemoryInfo must be a dict, not list: []"}));
}

TEST_F(MemoryComparison, ModulesAreComparedInOrderAndTheEarlierDifferenceWins) {
  Json second = patched(kModule, {{"name", "DIMM001"}, {"type", "DDR5"}});
  Json os = {{"DIMM001", patched(kOsModule, {{"Type", "DDR5"}})}, {"DIMM000", kOsModule}};
  EXPECT_EQ(failure_of([&] { cmp::compare_memory(Json::array({kModule, second}), os, log); }), kNone);
  EXPECT_EQ(log.lines.size(), 4u);
  Json first_bad = patched(kModule, {{"bitWith", "64"}});
  Json second_bad = patched(second, {{"manufacturer", "X"}});
  EXPECT_EQ(failure_of([&] { cmp::compare_memory(Json::array({first_bad, second_bad}), os, log); }),
            shows("os下获取内存的位宽是：72 bits,web下获取内存的位宽是：64"));
}
