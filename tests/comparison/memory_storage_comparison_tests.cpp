#include "tests/comparison/comparison_fixture.h"

namespace {

Json module(Json changes = Json::object()) {
  Json m = {{"name", "DIMM000"}, {"manufacturer", "Vorna Memory"}, {"capacity", "32768 MB"},
            {"clockSpeed", "3200 MHz"}, {"sn", "12345678"}, {"type", "DDR4"}, {"minimumVoltage", "1200 mV"},
            {"rankQty", "2 rank"}, {"bitWith", "72 bit"}, {"technology", "Synchronous|Registered"}};
  m.update(changes);
  return m;
}

Json os_module(Json changes = Json::object()) {
  Json m = {{"Manufacturer", "Vorna Memory"}, {"Size", "32 GB"}, {"Speed", "3200 MT/s"},
            {"Serial Number", "12345678"}, {"Type", "DDR4"}, {"Minimum Voltage", "1.2 V"}, {"Rank", "2"},
            {"Total Width", "72 bits"}, {"Type Detail", "SynchronousRegistered"}};
  m.update(changes);
  return {{"DIMM000", m}};
}

Json controllers(Json web_changes = Json::object(), Json os_changes = Json::object()) {
  Json web = {{"name", "RAID 9560"}, {"firmware_version", "5.1"}, {"health status", "Normal"},
              {"supported raid levels", "RAID0, RAID1, RAID5"}, {"memory size", "4096 MB"},
              {"device interface", "SAS 12 GB"}};
  Json os = {{"Model", "RAID 9560"}, {"Firmware Version", "5.1"}, {"Controller Status", "Optimal"},
             {"RAID Level Supported", "RAID1"}, {"On Board Memory Size", "4096MB"}, {"Device Interface", "SAS-12G"}};
  web.update(web_changes);
  os.update(os_changes);
  return Json::array({{{"c0", web}}, {{"c0", os}}});
}

Json disks(Json web_changes = Json::object(), Json os_changes = Json::object()) {
  Json web = {{"Interface Type", "SAS"}, {"Model", "ST1200"}, {"Serial Number", "WFK0"}, {"Firmware Version", "E004"},
              {"Firmware State", "ONLINE"}, {"Capacity", "1.091 TB"}, {"Capable Speed", "12 Gbps"},
              {"Negotiated Speed", "12 Gbps"}};
  Json os = {{"PD Type", "SAS"}, {"Model", "SEAGATE ST1200MM"}, {"Serial Number", "WFK0ABCD"},
             {"Device Firmware Level", "E004"}, {"Firmware state", "Online, Spun Up"},
             {"Raw Size", "1.091 TB [0x8bba0cb0 Sectors]"}, {"Device Speed", "12.0Gb/s"}, {"Link Speed", "12.0Gb/s"}};
  web.update(web_changes);
  os.update(os_changes);
  return Json::array({{{"c0", {{"Slot0", web}}}}, {{"c0", {{"PD 0", os}}}}});
}

}  // namespace

using MemoryComparisonTests = ComparisonTest;
using StorageComparisonTests = ComparisonTest;

TEST_F(MemoryComparisonTests, AgreesThroughUnitsFactorsAndSeparatorsAndLogsBothSides) {
  w.compare_memory(Json::array({module()}), os_module());
  ASSERT_EQ(log->lines.size(), 2u);
  EXPECT_EQ(log->lines[0].text.rfind("名称:DIMM000, os获取内存信息：{'Manufacturer': 'Vorna Memory'", 0), 0u);
  EXPECT_EQ(log->lines[1].text.rfind("名称:DIMM000, we获取内存信息：{'name': 'DIMM000'", 0), 0u);
  w.compare_memory(Json::array({module({{"capacity", "32 GB"}})}), os_module());  // equal numbers
}

TEST_F(MemoryComparisonTests, EachFieldThatDiffersRaisesSystemValueFirst) {
  struct Row {
    Json web;
    Json os;
    const char* message;
  } rows[] = {
      {{{"manufacturer", "Vorna Memory "}}, {}, "os下获取内存的厂商是：Vorna Memory,web下获取内存的厂商是：Vorna Memory "},
      {{{"capacity", "32 GB"}}, {{"Size", "32768 MB"}}, "os下获取内存的容量是：32768 MB,web下获取内存的容量是：32 GB"},
      {{{"clockSpeed", "2933 MHz"}}, {}, "os下获取内存的主频是：3200 MT/s,web下获取内存的主频是：2933 MHz"},
      {{{"sn", "1234567"}}, {}, "os下获取内存的序列号是：12345678,web下获取内存的序列号是：1234567"},
      {{{"type", "DDR5"}}, {}, "os下获取内存的类型是：DDR4,web下获取内存的类型是：DDR5"},
      {{{"minimumVoltage", "1100 mV"}}, {}, "os下获取内存的最小电压是：1.2 V,web下获取内存的最小电压是：1100 mV"},
      {{}, {{"Rank", "2 rank"}}, "os下获取内存的RANK列是：2 rank,web下获取内存的RANK列是：2 rank"},
      {{{"bitWith", "64 bit"}}, {}, "os下获取内存的位宽是：72 bits,web下获取内存的位宽是：64 bit"},
      {{{"technology", "Synchronous Registered"}}, {},
       "os下获取内存的技术是：SynchronousRegistered,web下获取内存的技术是：Synchronous Registered"},
  };
  for (const auto& r : rows) {
    Json web = r.web.is_null() ? Json::object() : r.web;
    Json os = r.os.is_null() ? Json::object() : r.os;
    EXPECT_EQ(display_failure([&] { w.compare_memory(Json::array({module(web)}), os_module(os)); }), r.message);
  }
}

TEST_F(MemoryComparisonTests, PythonKindsForMissingKeysBlankTokensAndBadNumbers) {
  EXPECT_THROW(w.compare_memory(Json::array({module({{"name", "DIMM999"}})}), os_module()), marlet::KeyError);
  Json no_sn = module();
  no_sn.erase("sn");
  EXPECT_THROW(w.compare_memory(Json::array({no_sn}), os_module()), marlet::KeyError);
  EXPECT_THROW(w.compare_memory(Json::array({module({{"capacity", "  "}})}), os_module()), marlet::IndexError);
  // The console's voltage is read as an integer: a decimal point cannot be.
  EXPECT_THROW(w.compare_memory(Json::array({module({{"minimumVoltage", "1200.0 mV"}})}), os_module()),
               marlet::ValueError);
  // The factor 1024 works one way only.
  EXPECT_NE(display_failure([&] {
              w.compare_memory(Json::array({module({{"capacity", "1 GB"}})}), os_module({{"Size", "1024 MB"}}));
            }),
            "");
  try {
    w.compare_memory(Json::array(), os_module());
    FAIL();
  } catch (const marlet::WebElementException& e) {
    EXPECT_STREQ(e.what(), "web获取内存信息失败:[]");
  }
}

TEST_F(StorageComparisonTests, AgreesAfterNormalisingBothSides) {
  auto c = controllers();
  auto d = disks();
  w.compare_storage(c[0], c[1], d[0], d[1]);
  auto lines = log->texts();
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[0], "对比RAID信息");
  EXPECT_EQ(lines[1], "web下查询信息：名称：RAID 9560，固件版本：5.1，健康状态：Normal，支持的磁盘接口类型：RAID0, RAID1, RAID5，内存容量：4096MB，设备接口：SAS 12G");
  EXPECT_EQ(lines[2], "os下查询信息：名称：RAID 9560，固件版本：5.1，健康状态：Normal，支持的磁盘接口类型：RAID1，内存容量：4096MB，设备接口：SAS 12G");
  EXPECT_EQ(lines[3], "对比物理盘信息");
  EXPECT_EQ(lines[4], "web下查询信息 硬盘名称：Slot0，接口类型：SAS，型号：ST1200，序列号：WFK0，固件版本：E004，固件状态：ONLINE，容量：1117.184 GB，支持的速率：12 Gbps，协商速率：12 Gbps");
  EXPECT_EQ(lines[5], "os下查询信息 硬盘名称：PD 0，接口类型：SAS，型号：SEAGATE ST1200MM，序列号：WFK0ABCD，固件版本：E004，固件状态：Online, Spun Up，容量：1117.184 GB，支持的速率：12.0Gb/s，协商速率：12.0Gb/s");
}

TEST_F(StorageComparisonTests, ControllerAndDiskDifferencesInTableOrder) {
  struct Row {
    Json web_c, os_c, web_d, os_d;
    const char* message;
  } rows[] = {
      {{{"firmware_version", "5.2"}}, {}, {}, {}, "固件版本不一致，《bmc web》:5.2,《os》:5.1"},
      {{{"health status", "Optimal"}}, {}, {}, {}, "健康状态不一致，《bmc web》:Optimal,《os》:Normal"},
      {{}, {{"RAID Level Supported", "RAID6"}}, {}, {}, "支持的磁盘接口类型不一致，《bmc web》:RAID0, RAID1, RAID5,《os》:RAID6"},
      {{}, {{"On Board Memory Size", "4096 MB"}}, {}, {}, "内存容量不一致，《bmc web》:4096MB,《os》:4096 MB"},
      {{{"device interface", "SAS-12G"}}, {}, {}, {}, "设备接口不一致，《bmc web》:SAS-12G,《os》:SAS 12G"},
      {{}, {}, {{"Interface Type", "SATA"}}, {}, "接口类型不一致 《bmc web》:SATA,《os》:SAS"},
      {{}, {}, {{"Model", "SEAGATE ST1200MM X"}}, {}, "型号不一致 《bmc web》:SEAGATE ST1200MM X,《os》:SEAGATE ST1200MM"},
      {{}, {}, {}, {{"Serial Number", "WFK"}}, "序列号不一致 《bmc web》:WFK0,《os》:WFK"},
      {{}, {}, {{"Firmware Version", "E005"}}, {}, "固件版本不一致 《bmc web》:E005,《os》:E004"},
      {{}, {}, {{"Firmware State", "Online"}}, {}, "固件状态不一致 《bmc web》:Online,《os》:Online, Spun Up"},
      {{}, {}, {{"Capacity", "100 GB"}}, {{"Raw Size", "101.5 GB"}}, "容量不一致，超过1%误差率 《bmc web》:100.0 GB,《os》:101.5 GB"},
      {{}, {}, {{"Capable Speed", "6 Gbps"}}, {}, "支持的速率不一致 《bmc web》:6 Gbps,《os》:12.0Gb/s"},
      {{}, {}, {}, {{"Link Speed", "6.0Gb/s"}}, "协商速率不一致 《bmc web》:12 Gbps,《os》:6.0Gb/s"},
  };
  for (const auto& r : rows) {
    auto obj = [](const Json& j) { return j.is_null() ? Json::object() : j; };
    auto c = controllers(obj(r.web_c), obj(r.os_c));
    auto d = disks(obj(r.web_d), obj(r.os_d));
    log->lines.clear();
    EXPECT_EQ(display_failure([&] { w.compare_storage(c[0], c[1], d[0], d[1]); }), r.message);
  }
}

TEST_F(StorageComparisonTests, CapacityToleranceHasTheConsoleAsBase) {
  for (const char* os_size : {"101 GB", "99 GB"}) {
    auto c = controllers();
    auto d = disks({{"Capacity", "100 GB"}}, {{"Raw Size", os_size}});
    w.compare_storage(c[0], c[1], d[0], d[1]);
  }
  auto c = controllers();
  auto d = disks({{"Capacity", "100 GB"}}, {{"Raw Size", "98.5 GB"}});
  EXPECT_NE(display_failure([&] { w.compare_storage(c[0], c[1], d[0], d[1]); }), "");
  auto zero = disks({{"Capacity", "0 GB"}});
  try {
    w.compare_storage(c[0], c[1], zero[0], zero[1]);
    FAIL();
  } catch (const marlet::ZeroDivisionError& e) {
    EXPECT_STREQ(e.what(), "float division by zero");
  }
}

TEST_F(StorageComparisonTests, EmptyConsoleSidesPassAndDisksPairByPosition) {
  w.compare_storage(Json::object(), Json::object(), Json::object(), Json::object());
  EXPECT_EQ(log->texts(), (std::vector<std::string>{"对比RAID信息", "对比物理盘信息"}));
  // The system side has one disk fewer: the partnered disk agrees, the extra is not read.
  auto c = controllers();
  auto d = disks();
  d[0]["c0"]["Slot1"] = Json{{"broken", true}};
  w.compare_storage(c[0], c[1], d[0], d[1]);
  // A controller key the system side lacks is a missing-key failure.
  Json os = {{"c1", c[1]["c0"]}};
  EXPECT_THROW(w.compare_storage(c[0], os, d[0], d[1]), marlet::KeyError);
}
