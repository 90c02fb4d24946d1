#include "tests/comparison/comparison_fixture.h"

namespace cmp = vorna::comparison;

namespace {

using Compare = void (*)(const Json&, const Json&, marlet::Logger&);

// One agreeing component of each kind, as a reader returns it, with its bench table.
struct Kind {
  const char* name;
  Compare compare;
  Json record;
  Json bench;
};

const Kind kPower{"power", cmp::compare_power,
                  {{"Type", "PSU-1600"}, {"Manufacturer", "Vorna Power"}, {"Rated Power", "1600W"},
                   {"Input Mode", "AC"}, {"BOM Code", "02310ABC"}},
                  {{"02310ABC", {{"Model", "M1600"}, {"Manufacturer", "Vorna Power"},
                                 {"PowerCapacityWatts", "1600W"}, {"PowerSupplyType", "AC"}}}}};
const Kind kPcie{"pcie", cmp::compare_pcie,
                 {{"VendorID", "0x1000"}, {"DeviceID", "0x0097"}, {"SubVendorID", "0x1000"},
                  {"SubDeviceID", "0x3090"}, {"Manufacturer", "Vorna"}},
                 {{"0x1000_0x0097_0x1000_0x3090", {{"Manufacturer", "Vorna Tech"}}}}};
const Kind kBackBoard{"back board", cmp::compare_back_board,
                      {{"BoardID", "0x21"}, {"Name", "BP 8x2.5"}, {"Manufacturer", "Vorna"}, {"PCBVersion", ".A"}},
                      {{"0x21", {{"BoardName", "BP 8x2.5"}, {"Manufacturer", "Vorna"}, {"PCBVersion", ".A"}}}}};
const Kind kRiser{"riser", cmp::compare_riser,
                  {{"BoardID", "0x31"}, {"Name", "Riser1"}, {"Manufacturer", "Vorna"}, {"Type", "x16"},
                   {"PCBVersion", ".B"}},
                  {{"0x31", {{"BoardName", "Riser1 3-slot"}, {"Manufacturer", "Vorna"},
                             {"Description", "PCIe x16 riser"}, {"PCBVersion", ".B"}}}}};
const Kind kRaid{"raid", cmp::compare_raid,
                 {{"BoardID", "0x41"}, {"Name", "RAID 9560"}, {"Manufacturer", "Vorna"}, {"Type", "SAS3"},
                  {"PCBVersion", ".C"}},
                 {{"ProductName", "RAID 9560"},
                  {"0x41", {{"Manufacturer", "Vorna"}, {"Description", "SAS3"}, {"PCBVersion", ".C"}}}}};

Failure run(const Kind& k, const Json& record_patch, const Json& bench_patch, marlet::Logger& log) {
  return failure_of([&] { k.compare(Json::array({patched(k.record, record_patch)}), patched(k.bench, bench_patch), log); });
}

}  // namespace

using ComponentComparison = ComparisonTest;

TEST_F(ComponentComparison, AgreeingComponentsLogStandardThenActualAndReturn) {
  struct Case {
    const Kind& kind;
    std::vector<std::string> lines;
  } cases[] = {
      {kPower, {"电源标准信息<类型>M1600 <厂商>Vorna Power <额定功率>1600W <输入模式>AC <部件编码>02310ABC",
                "电源实际信息<类型>PSU-1600 <厂商>Vorna Power <额定功率>1600W <输入模式>AC <部件编码>02310ABC"}},
      {kPcie, {"Pcie卡标准信息<制造商ID>0x1000 <设备ID>0x0097 <子厂商ID>0x1000 <子设备ID>0x3090 <厂商>Vorna Tech",
               "Pcie卡实际信息<制造商ID>0x1000 <设备ID>0x0097 <子厂商ID>0x1000 <子设备ID>0x3090 <厂商>Vorna"}},
      {kBackBoard, {"硬盘背板标准信息<背板ID>0x21 <名称>BP 8x2.5 <厂商>Vorna <PCB版本>.A",
                    "硬盘背板实际信息<背板ID>0x21 <名称>BP 8x2.5 <厂商>Vorna <PCB版本>.A"}},
      {kRiser, {"Riser卡标准信息<背板ID>0x31 <名称>Riser1 3-slot <厂商>Vorna <类型>PCIe x16 riser <PCB版本>.B",
                "Riser卡实际信息<背板ID>0x31 <名称>Riser1 <厂商>Vorna <类型>x16 <PCB版本>.B"}},
      {kRaid, {"RAID卡标准信息<背板ID>0x41 <名称>RAID 9560 <厂商>Vorna <类型>SAS3 <PCB版本>.C",
               "RAID卡实际信息<背板ID>0x41 <名称>RAID 9560 <厂商>Vorna <类型>SAS3 <PCB版本>.C"}},
  };
  for (const auto& c : cases) {
    marlet::RecordingLogger lines;
    // Extra fields on either side are not read.
    EXPECT_EQ(run(c.kind, {{"Extra", 1}}, {{"Extra", "x"}}, lines), kNone) << c.kind.name;
    EXPECT_EQ(lines.texts(), c.lines) << c.kind.name;
  }
}

TEST_F(ComponentComparison, EachTestedFieldRaisesItsMessageStandardFirst) {
  struct Case {
    const Kind& kind;
    Json record_patch, bench_patch;
    const char* message;
  } cases[] = {
      {kPower, {{"Manufacturer", "Vorna Power "}}, {}, "电源厂商不一致 标准:Vorna Power 实际:Vorna Power "},
      {kPower, {{"Rated Power", "1600 W"}}, {}, "电源额定功率不一致 标准:1600W 实际:1600 W"},
      {kPower, {}, {{"02310ABC", {{"PowerSupplyType", "DC"}}}}, "电源输入模式不一致 标准:DC 实际:AC"},
      {kPcie, {{"Manufacturer", "Vorna Techs"}}, {}, "Pcie卡厂商不一致 标准:Vorna Tech 实际:Vorna Techs"},
      {kBackBoard, {{"Manufacturer", "vorna"}}, {}, "硬盘背板厂商不一致 标准:Vorna 实际:vorna"},
      {kRiser, {{"Type", "x8"}}, {}, "Riser卡类型不一致 标准:PCIe x16 riser 实际:x8"},
      {kRaid, {{"Name", "RAID"}}, {}, "RAID卡名称不一致 标准:RAID 9560 实际:RAID"},
      {kRaid, {{"PCBVersion", ".D"}}, {}, "RAID卡PCB版本不一致 标准:.C 实际:.D"},
      // Two differences: the first of the field table is reported; the order differs by kind.
      {kPower, {{"Input Mode", "DC"}, {"Manufacturer", "X"}}, {}, "电源厂商不一致 标准:Vorna Power 实际:X"},
      {kRiser, {{"Name", "R2"}, {"Manufacturer", "X"}}, {}, "Riser卡名称不一致 标准:Riser1 3-slot 实际:R2"},
      // A RAID table without ProductName: a null standard name, which differs from any text.
      {kRaid, {}, {{"ProductName", nullptr}}, "RAID卡名称不一致 标准:None 实际:RAID 9560"},
      // A field the bench row lacks reads as null.
      {kBackBoard, {}, {{"0x21", {{"PCBVersion", nullptr}}}}, "硬盘背板PCB版本不一致 标准:None 实际:.A"},
  };
  for (const auto& c : cases) {
    marlet::RecordingLogger lines;
    EXPECT_EQ(run(c.kind, c.record_patch, c.bench_patch, lines), shows(c.message));
    EXPECT_EQ(lines.lines.size(), 2u) << "both lines come before the first test: " << c.message;
  }
}

TEST_F(ComponentComparison, ContainmentRunsOneWayAndOnlyWhereTheFieldSaysSo) {
  struct Case {
    const Kind& kind;
    Json record_patch, bench_patch;
    Failure expected;
  } cases[] = {
      {kRiser, {{"Name", "3-slot"}, {"Type", "riser"}}, {}, kNone},  // a part anywhere in the bench text
      {kRiser, {{"Name", ""}, {"Type", ""}}, {}, kNone},             // an empty text is in every text
      {kRiser, {{"Name", "Riser1 3-slot card"}}, {}, shows("Riser卡名称不一致 标准:Riser1 3-slot 实际:Riser1 3-slot card")},
      {kPcie, {{"Manufacturer", "Tech"}}, {}, kNone},
      // Exact elsewhere: no trimming, no case folding, nothing contained.
      {kRaid, {{"Name", "RAID"}}, {{"ProductName", "RAID 9560"}}, shows("RAID卡名称不一致 标准:RAID 9560 实际:RAID")},
      {kPower, {{"Input Mode", "ac"}}, {}, shows("电源输入模式不一致 标准:AC 实际:ac")},
      // The contained tests are defined on text: a null on either side is a TypeError.
      {kRiser, {{"Name", nullptr}}, {}, {"TypeError", "webRaiserInfo[0]['Name'] in riserInfo['0x31']['BoardName']: 'in <string>' requires string as left operand, not NoneType"}},
      {kRiser, {}, {{"0x31", {{"Description", nullptr}}}}, {"TypeError", "webRaiserInfo[0]['Type'] in riserInfo['0x31']['Description']: argument of type 'NoneType' is not iterable"}},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.kind, c.record_patch, c.bench_patch, log), c.expected) << c.record_patch;
}

TEST_F(ComponentComparison, EmptyListsRaiseTheirMessageBeforeAnyLine) {
  struct Case {
    Compare compare;
    const char* message;
  } cases[] = {
      {cmp::compare_power, "web获取电源信息失败"},       {cmp::compare_pcie, "web获取PCIE卡信息失败"},
      {cmp::compare_back_board, "web获取硬盘背板信息失败"}, {cmp::compare_riser, "web获取Raiser卡信息失败"},
      {cmp::compare_raid, "web获取Raid卡信息失败"},
  };
  for (const auto& c : cases)
    for (const Json& empty : {Json(nullptr), Json::array()})
      EXPECT_EQ(failure_of([&] { c.compare(empty, kPower.bench, log); }), (Failure{"WebElementException", c.message}));
  EXPECT_TRUE(log.lines.empty());
}

TEST_F(ComponentComparison, PowerSkipsAbsentSuppliesAndRefusesUnknownPartNumbers) {
  Json absent = {{"Status", "Not Detected"}, {"Name", "PSU2"}, {"BOM Code", "N/A"}};
  // Absent supplies are skipped before their part number is looked at, whatever the table is.
  EXPECT_EQ(failure_of([&] { cmp::compare_power(Json::array({absent, absent}), nullptr, log); }), kNone);
  EXPECT_EQ(log.texts(), (std::vector<std::string>{"电源PSU2不在位", "电源PSU2不在位"}));

  Json bench = patched(kPower.bench, {{"N/A", kPower.bench["02310ABC"]}});
  Json na = patched(kPower.record, {{"BOM Code", "N/A"}});
  EXPECT_EQ(failure_of([&] { cmp::compare_power(Json::array({kPower.record, na}), bench, log); }),
            shows("电源部件编码是N/A"));
  EXPECT_EQ(log.lines.size(), 4u);  // the first supply was compared and logged
}

TEST_F(ComponentComparison, RecordsFindTheirRowsByKeyAndTheEarlierDifferenceWins) {
  Json second = patched(kRiser.record, {{"BoardID", "0x32"}, {"PCBVersion", ".X"}});
  Json bench = patched(kRiser.bench, {{"0x32", patched(kRiser.bench["0x31"], {{"PCBVersion", ".X"}})},
                                      {"0x99", {{"never", "read"}}}});
  // Both records agree with their own rows, though the second differs from the first row.
  EXPECT_EQ(failure_of([&] { cmp::compare_riser(Json::array({second, kRiser.record, second}), bench, log); }), kNone);
  Json bad_first = patched(kRiser.record, {{"Manufacturer", "A"}});
  Json bad_second = patched(second, {{"PCBVersion", ".Y"}});
  EXPECT_EQ(failure_of([&] { cmp::compare_riser(Json::array({bad_first, bad_second}), bench, log); }),
            shows("Riser卡厂商不一致 标准:Vorna 实际:A"));
}

TEST_F(ComponentComparison, MissingRowsAndBadShapesFailWithPythonKinds) {
  struct Case {
    const Kind& kind;
    Json record_patch, bench;
    Failure expected;
  } cases[] = {
      // No bench row: neither typed failure; the KeyError names the key. Null counts as none.
      {kPower, {{"BOM Code", "02310XYZ"}}, kPower.bench, {"KeyError", "02310XYZ"}},
      {kBackBoard, {}, {{"0x21", nullptr}}, {"KeyError", "0x21"}},
      {kRiser, {{"BoardID", nullptr}}, kRiser.bench, {"KeyError", "None"}},
      // PCIe cards have a check of their own for a missing or empty row.
      {kPcie, {{"SubDeviceID", "0x3091"}}, kPcie.bench,
       {"WebElementException",
        "No PCIe device matched! Device info: <VendorID>0x1000 <DeviceID>0x0097 <SubVendorID>0x1000 "
        "<SubDeviceID>0x3091."}},
      {kPcie, {}, {{"0x1000_0x0097_0x1000_0x3090", Json::object()}},
       {"WebElementException",
        "No PCIe device matched! Device info: <VendorID>0x1000 <DeviceID>0x0097 <SubVendorID>0x1000 "
        "<SubDeviceID>0x3090."}},
      {kRiser, {}, Json::array({1}), {"TypeError", "riserInfo must be a dict, not list: [1]"}},
      {kBackBoard, {}, {{"0x21", "row"}}, {"TypeError", "backBoardInfo['0x21'] must be a dict, not str: 'row'"}},
  };
  for (const auto& c : cases)
    EXPECT_EQ(failure_of([&] { c.kind.compare(Json::array({patched(c.kind.record, c.record_patch)}), c.bench, log); }),
              c.expected);
  EXPECT_EQ(failure_of([&] { cmp::compare_power("PSU", kPower.bench, log); }),
            (Failure{"TypeError", "webPowerInfo must be a list, not str: 'PSU'"}));
  EXPECT_EQ(failure_of([&] { cmp::compare_raid(Json::array({"0x41"}), kRaid.bench, log); }),
            (Failure{"TypeError", "webRaidInfo[0] must be a dict, not str: '0x41'"}));
}
