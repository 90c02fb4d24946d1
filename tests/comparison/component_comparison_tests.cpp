#include "tests/comparison/comparison_fixture.h"

namespace {

Json power_record() {
  return {{"Type", "PSU-1600"}, {"Manufacturer", "Vorna Power"}, {"Rated Power", "1600W"},
          {"Input Mode", "AC"}, {"BOM Code", "02310ABC"}};
}
Json power_bench() {
  return {{"02310ABC", {{"Model", "M1600"}, {"Manufacturer", "Vorna Power"}, {"PowerCapacityWatts", "1600W"},
                        {"PowerSupplyType", "AC"}}}};
}
Json board(const char* id, const char* name, const char* type) {
  return {{"BoardID", id}, {"Name", name}, {"Manufacturer", "Vorna"}, {"Type", type}, {"PCBVersion", ".A"}};
}
Json board_bench(const char* id, const char* name, const char* description) {
  return {{id, {{"BoardName", name}, {"Manufacturer", "Vorna"}, {"Description", description}, {"PCBVersion", ".A"}}}};
}

}  // namespace

using ComponentComparisonTests = ComparisonTest;

TEST_F(ComponentComparisonTests, PowerAgreesAndLogsStandardThenActual) {
  w.compare_power(Json::array({power_record()}), power_bench());
  EXPECT_EQ(log->texts(), (std::vector<std::string>{
                              "电源标准信息<类型>M1600 <厂商>Vorna Power <额定功率>1600W <输入模式>AC <部件编码>02310ABC",
                              "电源实际信息<类型>PSU-1600 <厂商>Vorna Power <额定功率>1600W <输入模式>AC <部件编码>02310ABC",
                          }));
}

TEST_F(ComponentComparisonTests, EachPowerFieldThatDiffersRaisesItsMessageStandardFirst) {
  struct Row {
    const char* key;
    const char* value;
    const char* message;
  } rows[] = {
      {"Manufacturer", "Vorna Power ", "电源厂商不一致 标准:Vorna Power 实际:Vorna Power "},
      {"Rated Power", "1600 W", "电源额定功率不一致 标准:1600W 实际:1600 W"},
      {"Input Mode", "DC", "电源输入模式不一致 标准:AC 实际:DC"},
  };
  for (const auto& r : rows) {
    Json record = power_record();
    record[r.key] = r.value;
    EXPECT_EQ(display_failure([&] { w.compare_power(Json::array({record}), power_bench()); }), r.message) << r.key;
  }
  // Two differences: only the first of the table is reported.
  Json record = power_record();
  record["Input Mode"] = "DC";
  record["Manufacturer"] = "Other";
  EXPECT_EQ(display_failure([&] { w.compare_power(Json::array({record}), power_bench()); }),
            "电源厂商不一致 标准:Vorna Power 实际:Other");
}

TEST_F(ComponentComparisonTests, AbsentSuppliesAreSkippedAndNaPartNumbersRaise) {
  Json absent = {{"Status", "Not Detected"}, {"Name", "PSU2"}, {"BOM Code", "N/A"}};
  w.compare_power(Json::array({absent, absent}), Json::object());
  EXPECT_EQ(log->texts(), (std::vector<std::string>{"电源PSU2不在位", "电源PSU2不在位"}));
  Json na = power_record();
  na["BOM Code"] = "N/A";
  Json bench = power_bench();
  bench["N/A"] = bench["02310ABC"];
  EXPECT_EQ(display_failure([&] { w.compare_power(Json::array({na}), bench); }), "电源部件编码是N/A");
}

TEST_F(ComponentComparisonTests, EmptyListsRaiseBeforeAnythingIsLogged) {
  struct Row {
    std::function<void(const Json&)> call;
    const char* message;
  } rows[] = {
      {[&](const Json& l) { w.compare_power(l, Json::object()); }, "web获取电源信息失败"},
      {[&](const Json& l) { w.compare_pcie(l, Json::object()); }, "web获取PCIE卡信息失败"},
      {[&](const Json& l) { w.compare_back_board(l, Json::object()); }, "web获取硬盘背板信息失败"},
      {[&](const Json& l) { w.compare_riser(l, Json::object()); }, "web获取Raiser卡信息失败"},
      {[&](const Json& l) { w.compare_raid(l, Json::object()); }, "web获取Raid卡信息失败"},
  };
  for (const auto& r : rows) {
    for (const Json& empty : {Json(nullptr), Json::array()}) {
      try {
        r.call(empty);
        ADD_FAILURE() << r.message;
      } catch (const marlet::WebElementException& e) {
        EXPECT_EQ(std::string(e.what()), r.message);
      }
    }
  }
  EXPECT_TRUE(log->lines.empty());
}

TEST_F(ComponentComparisonTests, PcieIsKeyedByTheIdQuadrupleAndAcceptsContainedOrEqual) {
  Json card = {{"VendorID", "0x1000"}, {"DeviceID", "0x0097"}, {"SubVendorID", "0x1000"}, {"SubDeviceID", "0x3090"},
               {"Manufacturer", "Vorna"}};
  Json bench = {{"0x1000_0x0097_0x1000_0x3090", {{"Manufacturer", "Vorna Technologies"}}}};
  w.compare_pcie(Json::array({card}), bench);
  EXPECT_EQ(log->texts().front(),
            "Pcie卡标准信息<制造商ID>0x1000 <设备ID>0x0097 <子厂商ID>0x1000 <子设备ID>0x3090 <厂商>Vorna Technologies");
  card["Manufacturer"] = "Vorna Tech Inc";
  EXPECT_EQ(display_failure([&] { w.compare_pcie(Json::array({card}), bench); }),
            "Pcie卡厂商不一致 标准:Vorna Technologies 实际:Vorna Tech Inc");
  for (const Json& row : {Json(nullptr), Json::object()}) {
    Json b = {{"0x1000_0x0097_0x1000_0x3090", row}};
    try {
      w.compare_pcie(Json::array({card}), b);
      ADD_FAILURE();
    } catch (const marlet::WebElementException& e) {
      EXPECT_STREQ(e.what(),
                   "No PCIe device matched! Device info: <VendorID>0x1000 <DeviceID>0x0097 <SubVendorID>0x1000 "
                   "<SubDeviceID>0x3090.");
    }
  }
}

TEST_F(ComponentComparisonTests, FieldOrderAndTestKindDifferBetweenBoardsRisersAndRaidCards) {
  // Backplanes test the manufacturer before the name; risers and RAID cards the name first.
  Json bp = board("0x21", "Backplane X", "");
  bp["Manufacturer"] = "Other";
  bp["Name"] = "Backplane Y";
  EXPECT_EQ(display_failure([&] { w.compare_back_board(Json::array({bp}), board_bench("0x21", "Backplane X", "")); }),
            "硬盘背板厂商不一致 标准:Vorna 实际:Other");
  Json riser = board("0x31", "Riser Z", "PCIe x16");
  riser["Manufacturer"] = "Other";
  EXPECT_EQ(display_failure([&] { w.compare_riser(Json::array({riser}), board_bench("0x31", "Riser Y", "PCIe x16")); }),
            "Riser卡名称不一致 标准:Riser Y 实际:Riser Z");
  // A name that is part of the bench name passes for a riser (containment) ...
  w.compare_riser(Json::array({board("0x31", "Riser", "x16")}), board_bench("0x31", "Riser 1A", "PCIe x16 slot"));
  // ... but not for a RAID card (exact), whose standard name is the table's ProductName.
  Json raid_bench = board_bench("0x41", "unused", "RAID");
  raid_bench["ProductName"] = "RAID 9560";
  EXPECT_EQ(display_failure([&] { w.compare_raid(Json::array({board("0x41", "RAID", "RAID")}), raid_bench); }),
            "RAID卡名称不一致 标准:RAID 9560 实际:RAID");
  EXPECT_EQ(display_failure([&] { w.compare_raid(Json::array({board("0x41", "RAID 9560", "RAID card")}), raid_bench); }),
            "RAID卡类型不一致 标准:RAID 实际:RAID card");
  // An empty web text is contained in everything.
  w.compare_riser(Json::array({board("0x31", "", "")}), board_bench("0x31", "Riser 1A", "PCIe"));
}

TEST_F(ComponentComparisonTests, MissingRowsAndNullsFailWithPythonKinds) {
  // A board id the bench table lacks: a KeyError naming the id, no typed failure.
  try {
    w.compare_riser(Json::array({board("0x99", "R", "T")}), board_bench("0x31", "R", "T"));
    FAIL();
  } catch (const marlet::KeyError& e) {
    EXPECT_STREQ(e.what(), "0x99");
  }
  // A contained test on a null is a TypeError.
  Json riser = board("0x31", "R", "T");
  riser.erase("Name");
  EXPECT_THROW(w.compare_riser(Json::array({riser}), board_bench("0x31", "R", "T")), marlet::TypeError);
  // No ProductName in a RAID table: a null standard name, which counts as a difference.
  EXPECT_NE(display_failure([&] { w.compare_raid(Json::array({board("0x41", "R", "T")}), board_bench("0x41", "R", "T")); }),
            "");
  // Wrong shapes of argument are TypeErrors naming the argument.
  try {
    w.compare_power(Json("not a list"), power_bench());
    FAIL();
  } catch (const marlet::TypeError& e) {
    EXPECT_NE(std::string(e.what()).find("webPowerInfo"), std::string::npos);
  }
  EXPECT_THROW(w.compare_power(Json::array({power_record()}), Json::array()), marlet::TypeError);
}
