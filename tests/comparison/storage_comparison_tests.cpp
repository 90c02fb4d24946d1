#include "tests/comparison/comparison_fixture.h"

namespace cmp = vorna::comparison;

namespace {

const Json kController = {{"name", "RAID 9560"}, {"firmware_version", "5.1"}, {"health status", "Normal"},
                          {"supported raid levels", "RAID0, RAID1, RAID5"}, {"memory size", "4096 MB"},
                          {"device interface", "SAS 12 GB"}};
const Json kOsController = {{"Model", "RAID 9560"}, {"Firmware Version", "5.1"}, {"Controller Status", "Optimal"},
                            {"RAID Level Supported", "RAID1"}, {"On Board Memory Size", "4096MB"},
                            {"Device Interface", "SAS-12G"}};
const Json kDisk = {{"Interface Type", "SAS"}, {"Model", "ST1200"}, {"Serial Number", "WFK0"},
                    {"Firmware Version", "E004"}, {"Firmware State", "ONLINE"}, {"Capacity", "1.091 TB"},
                    {"Capable Speed", "12 Gbps"}, {"Negotiated Speed", "12 Gbps"}};
const Json kOsDisk = {{"PD Type", "SAS"}, {"Model", "STRATALINE ST1200MM"}, {"Serial Number", "WFK0ABCD"},
                      {"Device Firmware Level", "E004"}, {"Firmware state", "Online, Spun Up"},
                      {"Raw Size", "1.091 TB [0x8bba0cb0 Sectors]"}, {"Device Speed", "12.0Gb/s"},
                      {"Link Speed", "12.0Gb/s"}};

// One controller "c0" with one disk on each side, each record patched.
struct Sides {
  Json web_raid, raid, web_disk, disk;
};
Sides sides(const Json& web_c = nullptr, const Json& os_c = nullptr, const Json& web_d = nullptr,
            const Json& os_d = nullptr) {
  return {{{"c0", patched(kController, web_c)}},
          {{"c0", patched(kOsController, os_c)}, {"c9", nullptr}},  // keys the console lacks are never read
          {{"c0", {{"Slot0", patched(kDisk, web_d)}}}},
          {{"c0", {{"PD 0", patched(kOsDisk, os_d)}}}, {"c9", nullptr}}};
}

Failure run(const Sides& s, marlet::Logger& log) {
  return failure_of([&] { cmp::compare_storage(s.web_raid, s.raid, s.web_disk, s.disk, log); });
}

const char* kWebControllerLine =
    "web下查询信息：名称：RAID 9560，固件版本：5.1，健康状态：Normal，支持的磁盘接口类型：RAID0, RAID1, RAID5，"
    "内存容量：4096MB，设备接口：SAS 12G";
const char* kOsControllerLine =
    "os下查询信息：名称：RAID 9560，固件版本：5.1，健康状态：Normal，支持的磁盘接口类型：RAID1，内存容量：4096MB，"
    "设备接口：SAS 12G";

}  // namespace

using StorageComparison = ComparisonTest;

TEST_F(StorageComparison, AgreeingSidesLogStagesControllersAndDisksNormalised) {
  EXPECT_EQ(run(sides(), log), kNone);
  EXPECT_EQ(log.texts(),
            (std::vector<std::string>{
                "对比RAID信息", kWebControllerLine, kOsControllerLine, "对比物理盘信息",
                "web下查询信息 硬盘名称：Slot0，接口类型：SAS，型号：ST1200，序列号：WFK0，固件版本：E004，"
                "固件状态：ONLINE，容量：1117.184 GB，支持的速率：12 Gbps，协商速率：12 Gbps",
                "os下查询信息 硬盘名称：PD 0，接口类型：SAS，型号：STRATALINE ST1200MM，序列号：WFK0ABCD，"
                "固件版本：E004，固件状态：Online, Spun Up，容量：1117.184 GB，支持的速率：12.0Gb/s，协商速率：12.0Gb/s"}));
}

TEST_F(StorageComparison, EachFieldRaisesItsMessageConsoleFirst) {
  struct Case {
    Sides s;
    const char* message;
  } cases[] = {
      {sides({{"firmware_version", "5.2"}}), "固件版本不一致，《bmc web》:5.2,《os》:5.1"},
      {sides({{"health status", "Optimal"}}), "健康状态不一致，《bmc web》:Optimal,《os》:Normal"},
      {sides({}, {{"RAID Level Supported", "RAID6"}}),
       "支持的磁盘接口类型不一致，《bmc web》:RAID0, RAID1, RAID5,《os》:RAID6"},
      {sides({}, {{"On Board Memory Size", "4096 MB"}}), "内存容量不一致，《bmc web》:4096MB,《os》:4096 MB"},
      {sides({{"device interface", "SAS-12G"}}), "设备接口不一致，《bmc web》:SAS-12G,《os》:SAS 12G"},
      {sides({}, {}, {{"Interface Type", "SATA"}}), "接口类型不一致 《bmc web》:SATA,《os》:SAS"},
      {sides({}, {}, {{"Model", "ST1200MM X"}}), "型号不一致 《bmc web》:ST1200MM X,《os》:STRATALINE ST1200MM"},
      {sides({}, {}, {}, {{"Serial Number", "WFK"}}), "序列号不一致 《bmc web》:WFK0,《os》:WFK"},
      {sides({}, {}, {{"Capacity", "100 GB"}}, {{"Raw Size", "101.5GB"}}),
       "容量不一致，超过1%误差率 《bmc web》:100.0 GB,《os》:101.5 GB"},
      {sides({}, {}, {}, {{"Link Speed", "6.0Gb/s"}}), "协商速率不一致 《bmc web》:12 Gbps,《os》:6.0Gb/s"},
      // Two differences in a disk: the first of the table.
      {sides({}, {}, {{"Negotiated Speed", "6 Gbps"}, {"Serial Number", "X"}}),
       "序列号不一致 《bmc web》:X,《os》:WFK0ABCD"},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.s, log), shows(c.message));
}

TEST_F(StorageComparison, NormalisationsApplyToTheirOwnSideOnly) {
  struct Case {
    Sides s;
    bool agree;
  } cases[] = {
      {sides({{"memory size", " 4 096MB "}}, {{"On Board Memory Size", "4096MB"}}), true},
      {sides({}, {{"Controller Status", "Optimal, Optimal"}}), false},  // every "Optimal" becomes "Normal"
      {sides({{"health status", "Normal, Normal"}}, {{"Controller Status", "Optimal, Optimal"}}), true},
      {sides({{"supported raid levels", "RAID1"}}, {{"RAID Level Supported", "RAID0, RAID1"}}), false},
      {sides({}, {}, {{"Firmware State", "SPUN"}}), true},  // upper case, then contained
      {sides({}, {}, {{"Model", ""}, {"Serial Number", "ABCD"}}), true},
      {sides({}, {}, {}, {{"Raw Size", "1117.184 GB [ 0x8bba0cb0 Sectors ]"}}), true},
      {sides({}, {}, {{"Capable Speed", "12.0 Gbps"}}, {{"Device Speed", " 12 Gb/s"}}), true},
      {sides({}, {}, {{"Capacity", "100GB"}}, {{"Raw Size", "101 GB"}}), true},  // exactly 1% agrees
      {sides({}, {}, {{"Capacity", "100GB"}}, {{"Raw Size", "98.5 GB"}}), false},
      {sides({}, {}, {{"Capacity", "99 GB"}}, {{"Raw Size", "100 GB"}}), false},  // the console is the base
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.s, log).kind, c.agree ? "none" : "WebDisplayException") << c.s.web_disk;
}

TEST_F(StorageComparison, ControllersComeFirstAndDisksPairByPosition) {
  // A controller difference hides every disk difference; its two lines come before it.
  EXPECT_EQ(run(sides({{"firmware_version", "6"}}, {}, {{"Model", "X"}}), log),
            shows("固件版本不一致，《bmc web》:6,《os》:5.1"));
  EXPECT_EQ(log.texts(), (std::vector<std::string>{
                             "对比RAID信息", marlet::py::replace(kWebControllerLine, "固件版本：5.1", "固件版本：6"),
                             kOsControllerLine}));

  // Disks pair by position, not by name: swapped on one side, each meets the wrong partner.
  Sides s = sides();
  Json other = patched(kOsDisk, {{"Serial Number", "ZZZ9"}});
  s.web_disk["c0"]["Slot1"] = patched(kDisk, {{"Serial Number", "ZZZ9"}});
  s.disk["c0"] = {{"PD 1", other}, {"PD 0", kOsDisk}};
  EXPECT_EQ(run(s, log), shows("序列号不一致 《bmc web》:WFK0,《os》:ZZZ9"));
  // Extra disks on the longer side are not looked at, on either side.
  s.disk["c0"] = {{"PD 0", kOsDisk}};
  EXPECT_EQ(run(s, log), kNone);
  s.web_disk["c0"] = {{"Slot0", kDisk}};
  s.disk["c0"] = {{"PD 0", kOsDisk}, {"PD 1", "not a disk"}};
  EXPECT_EQ(run(s, log), kNone);
}

TEST_F(StorageComparison, EmptyConsoleSidesPassWhateverTheSystemHolds) {
  EXPECT_EQ(failure_of([&] { cmp::compare_storage(Json::object(), nullptr, Json::object(), nullptr, log); }), kNone);
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"对比RAID信息", "对比物理盘信息"}));
  // A controller without disks on the console side is no difference either.
  Sides s = sides();
  s.web_disk["c0"] = Json::object();
  EXPECT_EQ(run(s, log), kNone);
}

TEST_F(StorageComparison, BrokenInputFailsWithPythonKinds) {
  Sides no_controller = sides();
  no_controller.raid.erase("c0");
  struct Case {
    Sides s;
    Failure expected;
  } cases[] = {
      {no_controller, {"KeyError", "c0"}},
      {sides({{"memory size", nullptr}}), {"KeyError", "memory size"}},
      {sides({}, {}, {{"Capacity", "0 GB"}}), {"ZeroDivisionError", "float division by zero"}},
      {sides({}, {}, {{"Capable Speed", "12Gbps"}}), {"ValueError", "could not convert string to float: '12Gbps'"}},
      {sides({}, {}, {{"Capacity", "1.5 XB"}}), {"ValueError", "unknown unit: 'XB'"}},
      {sides({}, {{"Controller Status", 1}}),
       {"TypeError", "raidInfo['c0']['Controller Status'] must be a str, not int: 1"}},
      {sides({}, {}, {{"Model", 7}}), {"TypeError", "webDiskInfo['c0']['Slot0']['Model'] in diskInfo['c0']['PD 0']['Model']: 'in <string>' requires string as left operand, not int"}},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.s, log), c.expected);
  EXPECT_EQ(failure_of([&] { cmp::compare_storage(Json::array(), Json::object(), Json::object(), Json::object(), log); }),
            (Failure{"TypeError", "webRaidInfo must be a dict, not list: []"}));

  // A broken system disk fails only after the console's side of that disk is logged.
  Sides broken = sides();
  broken.disk["c0"]["PD 0"] = "STRATALINE";
  log.lines.clear();
  EXPECT_EQ(run(broken, log), (Failure{"TypeError", "diskInfo['c0']['PD 0'] must be a dict, not str: 'STRATALINE'"}));
  ASSERT_FALSE(log.texts().empty());
  EXPECT_EQ(log.texts().back().rfind("web下查询信息 硬盘名称：Slot0", 0), 0u) << log.texts().back();
}
