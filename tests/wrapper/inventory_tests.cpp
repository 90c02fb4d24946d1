// The inventory readers against a scripted console: the guards around the tabs (tab
// retry, page retry, tab loop, empty guard), the record builders, the consumption join,
// and where the frame stands after each reader.
#include <algorithm>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory_records.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
using vorna::VornaWebWrapper;

namespace {

constexpr const char* kFirstTableRows = R"(xpath://*[@id="DataTables_Table_0"]/tbody/tr)";
constexpr const char* kMemoryRows = "xpath://table[@id='DataTables_Table_0']/tbody/tr";

class InventoryTest : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    menu({"menu_INFO", "menu_SYSTEM_INFO", "menu_POWER_ENERGY", "menu_SAVE_SETUP", "tabFan", "tabPower", "tabOther",
          "tabProcess", "tabMemory", "tabCard"});
  }
  // One row of the list `key`, its cells "./td[1]".. given in order.
  fake::FakeElement& row(const std::string& key, const std::vector<std::string>& cells) {
    auto& r = fb->add(key, /*also=*/true);
    for (size_t i = 0; i < cells.size(); ++i)
      fb->add("@" + r.uuid + " xpath:./td[" + std::to_string(i + 1) + "]").text = cells[i];
    return r;
  }
  void child(const fake::FakeElement& parent, const std::string& xpath, const std::string& text, bool also = false) {
    fb->add("@" + parent.uuid + " xpath:" + xpath, also).text = text;
  }
  int pictures() const {
    int n = 0;
    for (const auto& l : log->lines) n += l.text.rfind("[screenshot] ", 0) == 0;
    return n;
  }
  std::vector<std::string> lines() const {  // the log without the pictures' lines
    std::vector<std::string> out;
    for (const auto& l : log->lines)
      if (l.text.rfind("[screenshot] ", 0) != 0) out.push_back(l.text);
    return out;
  }
  template <class F>
  std::string failure_text(F&& f) {
    try {
      f();
    } catch (const marlet::WebElementException& e) {
      return e.what();
    }
    return "no WebElementException";
  }
};

// ---- the guards ----

class TabRetryTests : public InventoryTest {};

TEST_F(TabRetryTests, AFirstFailedClickEarnsOneMoreTryAndThePageIsNotReopened) {
  row(kFirstTableRows, {"Fan0", "08038", "8640", "45", "31180215"});
  auto* tab = fb->find("id:tabFan");
  tab->on_click = [tab] {
    if (tab->clicks == 1) throw webdriver::ElementClickInterceptedException("covered by the loading mask");
  };
  Json fans = web_get_fan_web_info(w);
  EXPECT_EQ(fans.dump(),
            R"J([{"Name":"Fan0","Model":"08038","Speed (RPM)":"8640","Speed Ratio (%)":"45","BOM Code":"31180215"}])J");
  EXPECT_EQ(count("click id:tabFan"), 2);
  EXPECT_EQ(count("click id:menu_SYSTEM_INFO"), 3) << "three clicks on the entry, once";
  EXPECT_EQ(count("click id:menu_INFO"), 1);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5})) << "the frame's settle, then the tab's for the try that clicked";
  EXPECT_EQ(pictures(), 1);
  EXPECT_EQ(lines(), std::vector<std::string>{"[getFan] start..."});
  EXPECT_EQ(fb->events.back(), "default content");
}

TEST_F(TabRetryTests, AnEmptyFirstLookupRaisesAtOnceWithTheEmptyListShown) {
  EXPECT_EQ(failure_text([this] { web_get_fan_web_info(w); }), "没有获取到风扇信息标签，《风扇标签》:[]");
  EXPECT_EQ(count("click id:tabFan"), 1);
  EXPECT_EQ(pictures(), 1);
  EXPECT_EQ(fb->events.back(), "default content");
  log->lines.clear();
  EXPECT_EQ(failure_text([this] { web_get_power_web_info(w); }), "没有获取到电源信息标签，《电源标签》:[]");
  EXPECT_EQ(count("click id:menu_POWER_ENERGY"), 0) << "the statistics page is not reached";
}

class TabLoopTests : public InventoryTest {};

TEST_F(TabLoopTests, ThreeEmptyLookupsThenOnePictureAndTheGuard) {
  EXPECT_EQ(failure_text([this] { web_get_memory_web_info(w); }), "没有获取到内存信息标签，《内存标签》:[]");
  EXPECT_EQ(count("click id:tabMemory"), 3);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5, 5, 5, 5}));
  EXPECT_EQ(pictures(), 1);
  EXPECT_EQ(fb->events.back(), "default content");

  // The plain messages have no placeholder to fill.
  clock.clear();
  EXPECT_EQ(failure_text([this] { web_get_other_devices_info(w); }), "没有获取到其他设备信息标签");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5, 5, 5, 5, 10})) << "the settle of 10 comes once, after the loop";
}

class PageRetryTests : public InventoryTest {
 protected:
  std::string bodies(int entry) { return "xpath:" + vorna::other_entry_bodies(entry); }
};

TEST_F(PageRetryTests, TheSecondRunStartsFromTheTopDocument) {
  auto& body = fb->add(bodies(3), true);
  auto& r = fb->add("@" + body.uuid + " xpath:./tr", true);
  for (int c = 1; c <= 6; ++c) child(r, "./td[" + std::to_string(c) + "]", "c" + std::to_string(c));
  auto* tab = fb->find("id:tabOther");
  tab->on_click = [tab] {
    if (tab->clicks == 1) throw webdriver::ElementClickInterceptedException("covered");
  };
  Json risers = web_get_riser_info(w);
  EXPECT_EQ(risers.dump(),
            R"([{"Name":"c1","Manufacturer":"c2","Type":"c4","PCBVersion":"c5","Slot":"c3","BoardID":"c6"}])");
  std::vector<std::string> run = {"click id:menu_INFO", "click id:menu_SYSTEM_INFO", "click id:menu_SYSTEM_INFO",
                                  "frame id:rightMid", "click id:tabOther"};
  std::vector<std::string> expected = run;
  expected.push_back("default content");  // the failed run's frame is left first
  expected.insert(expected.end(), run.begin(), run.end());
  expected.push_back("default content");
  EXPECT_EQ(fb->events, expected);
  EXPECT_EQ(lines(), std::vector<std::string>{"[getRiser] start..."});
}

TEST_F(PageRetryTests, NoPcieCardIsAnErrorLineTheOthersRaise) {
  Json pcie = web_get_pcie_web_info(w);
  EXPECT_EQ(pcie, Json::array());
  EXPECT_EQ(lines(), (std::vector<std::string>{"[getPcie] start...", "没有获取到PCIE信息标签"}));
  EXPECT_EQ(log->lines.back().level, marlet::LogLevel::Error);
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(count("click id:tabOther"), 1) << "an empty lookup earns no second run";
  EXPECT_EQ(failure_text([this] { web_get_hard_back_board_info(w); }), "没有获取到硬盘背板信息标签，《硬盘背板标签》:[]");
  EXPECT_EQ(failure_text([this] { web_get_riser_info(w); }), "没有获取到Riser卡信息标签，《Riser卡标签》:[]");
  EXPECT_EQ(failure_text([this] { web_get_other_raid_info(w); }), "没有获取到Raid卡信息标签，《Raid卡标签》:[]");
  EXPECT_EQ(failure_text([this] { get_tpm_info(w); }), "没有获取到安全模块信息标签，《安全模块标签》:[]");
}

TEST_F(PageRetryTests, OneRecordPerBodyFromItsFirstRowKeysInRecordOrder) {
  // Two RAID cards, the first body with three rows.
  for (int card = 0; card < 2; ++card) {
    auto& body = fb->add(bodies(5), true);
    for (int r = 0; r < (card == 0 ? 3 : 1); ++r) {
      auto& tr = fb->add("@" + body.uuid + " xpath:./tr", true);
      for (int c = 1; c <= 9; ++c) child(tr, "./td[" + std::to_string(c) + "]", std::to_string(card) + std::to_string(r) + "-" + std::to_string(c));
    }
  }
  Json raid = web_get_other_raid_info(w);
  ASSERT_EQ(raid.size(), 2u);
  EXPECT_EQ(raid[0].dump(), R"({"Name":"00-1","Manufacturer":"00-3","Type":"00-5","location":"00-2","Number":"00-4",)"
                            R"("CPLDersion":"00-7","PCBVersion":"00-6","ConnectedTo":"00-9","BoardID":"00-8"})");
  EXPECT_EQ(raid[1]["Name"], "10-1");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5}));
  EXPECT_EQ(count("click id:menu_SYSTEM_INFO"), 2);
}

// ---- the readers' records ----

class ReaderRecordTests : public InventoryTest {};

TEST_F(ReaderRecordTests, PowerRecordsGetTheirConsumptionJoinedByPosition) {
  row(kFirstTableRows, {"0", "Delvoe", "PAC1600S12", "SN0", "1.3.2", "1600W", "AC", "02131877"});
  row(kFirstTableRows, {"1", "Delvoe", "PAC1600S12", "SN1", "1.3.2", "1600W", "AC", "02131877"});
  fb->add("id:actual_power").text = "PS2 :228W PS1: 236W PS3: 100W";
  Json power = web_get_power_web_info(w);
  EXPECT_EQ(power[0].dump(), R"({"Slot":"0","Manufacturer":"Delvoe","Type":"PAC1600S12","Serial Number":"SN0",)"
                             R"("Firmware Version":"1.3.2","Rated Power":"1600W","Input Mode":"AC",)"
                             R"("BOM Code":"02131877","ConsumedWatts":"236"})");
  EXPECT_EQ(power[1]["ConsumedWatts"], "228");
  EXPECT_EQ(lines(), (std::vector<std::string>{"[getPower] start...", "get Power Consumption Info"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5}));
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(count("click id:menu_SAVE_SETUP"), 1);
}

TEST_F(ReaderRecordTests, AnUnreadableConsumptionIsAWarningNotAFailure) {
  row(kFirstTableRows, {"0", "a", "b", "c", "d", "e", "f", "g"});
  Json power = web_get_power_web_info(w);  // no actual_power on the page
  EXPECT_FALSE(power[0].contains("ConsumedWatts"));
  EXPECT_EQ(log->lines.back().text, "There is no ConsumedWatts Info");
  EXPECT_EQ(log->lines.back().level, marlet::LogLevel::Warn);
  EXPECT_EQ(fb->events.back(), "default content");
}

TEST_F(ReaderRecordTests, ProcessorsTakeDigitRunsAndFailOnTooFew) {
  auto block = [this](const std::string& key, const std::vector<std::string>& values) {
    for (size_t i = 0; i < values.size(); ++i)
      fb->add(key + " xpath:./tr[" + std::to_string(i + 1) + "]/td[2]/span").text = values[i];
  };
  std::vector<std::string> cpu0 = {"CPU0", "Korvat(R) Corporation", "Arcus 6330", "000606A6", "2000 MHz",
                                   "28 Cores / 56 Threads", "L1 80.5KB / 2048 KB / 43008KB", "Present", "4102",
                                   "SN-0", "N/A"};
  fb->add("xpath://div[@id='cpupermutation']/div[1]/div/table/tbody");
  block("xpath://div[@id='cpupermutation']/div[1]/div/table/tbody", cpu0);
  Json single = web_get_cpu_info_vorna(w, {{"type", "single"}});
  EXPECT_EQ(single.dump(), R"({"CPU_name":"CPU0","Manufacturer":"Korvat(R) Corporation","Model_name":"Arcus 6330",)"
                           R"("CPU_ID":"000606A6","CPU_MHz":"2000","Core(s)_per_socket":"28",)"
                           R"("Thread(s)_per_socket":"56","L1_cache":"1","L2_cache":"80","L3_cache":"5"})")
      << "digit runs are taken by position, a label's digit and a decimal point included";
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 10}));
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(lines(), std::vector<std::string>{"[getCpuInfoVorna] get cpu info from vorna."});

  // All: blocks under the container, fourteen keys; a block short of digit runs fails.
  auto& box = fb->add("xpath://div[@id='cpupermutation']");
  auto& monitor = fb->add("@" + box.uuid + " xpath:./div[@class='monitor']");
  auto& tbody = fb->add("@" + monitor.uuid + " xpath:./div/table/tbody");
  block("@" + tbody.uuid, cpu0);
  Json all = web_get_cpu_info_vorna(w, {{"type", "all"}});
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].size(), 14u);
  EXPECT_EQ(all[0]["Others"], "N/A");
  fb->add("@" + tbody.uuid + " xpath:./tr[6]/td[2]/span").text = "28 Cores";
  fb->events.clear();
  EXPECT_THROW(web_get_cpu_info_all(w), marlet::IndexError);
  EXPECT_TRUE(fb->events.empty()) << "the frame stays entered";

  // Another type, or the key under another name, gives null with the frame entered.
  fb->events.clear();
  EXPECT_EQ(web_get_cpu_info_vorna(w, {{"requestType", "all"}}), Json(nullptr));
  EXPECT_EQ(fb->events.back(), "click id:tabProcess");
  EXPECT_THROW(web_get_cpu_info_vorna(w, Json("all")), marlet::TypeError);
}

TEST_F(ReaderRecordTests, AMissingProcessorBlockIsTheReadersOwnFailure) {
  EXPECT_EQ(failure_text([this] { web_get_cpu_info_vorna(w, {{"type", "single"}}); }), "没有获取到CPU信息标签");
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(pictures(), 0) << "no picture on this path";
}

TEST_F(ReaderRecordTests, MemoryTitlesPartNumberAndBomCode) {
  auto memory_row = [this](bool pn, const char* bom_title) {
    auto& r = fb->add(kMemoryRows, true);
    const char* titles[] = {"Name", "Location", "Manufacturer", "Capacity", "Clock Speed", "SN", "Type",
                            "Minimum Voltage", "Rank Qty", "Bit Width", "Technology"};
    for (auto t : titles) child(r, std::string("./td[@tdtitle=\"") + t + "\"]", t);
    if (pn) child(r, "./td[@tdtitle=\"Part Number\"]", "M393");
    if (bom_title) child(r, std::string("./td[@tdtitle=\"") + bom_title + "\"]", bom_title);
    return &r;
  };
  memory_row(true, "BOM Code ");
  auto* both = memory_row(false, "BOM Code");
  child(*both, "./td[@tdtitle=\"BOM Code \"]", "with blank");
  memory_row(false, "BOM Code");
  Json memory = web_get_memory_web_info(w);
  EXPECT_EQ(memory[0].dump(), R"({"name":"Name","location":"Location","manufacturer":"Manufacturer",)"
                              R"("capacity":"Capacity","clockSpeed":"Clock Speed","sn":"SN","type":"Type",)"
                              R"("minimumVoltage":"Minimum Voltage","rankQty":"Rank Qty","bitWith":"Bit Width",)"
                              R"("technology":"Technology","pn":"M393","bomCode":"BOM Code "})");
  EXPECT_EQ(memory[1]["bomCode"], "with blank") << "the title with the blank is taken first";
  EXPECT_EQ(memory[2]["bomCode"], "BOM Code");
  EXPECT_FALSE(memory[2].contains("pn"));
  EXPECT_EQ(lines(), (std::vector<std::string>{"[getFan] start...", "No part number exists.", "No part number exists."}));
}

class CardTreeTests : public InventoryTest {
 protected:
  // A card of the tree `list_key` with `props` (label, value) and ports of cells and details.
  struct Port {
    std::vector<std::pair<std::string, std::string>> cells;  // tdtitle, text
    std::vector<std::pair<std::string, std::string>> details;
  };
  void card(const std::string& list_key, const std::string& table_key, const std::string& entries_xpath,
            const std::vector<std::pair<std::string, std::string>>& props, const std::vector<Port>& ports) {
    auto& c = fb->add(list_key, true);
    auto& a = fb->add("@" + c.uuid + " xpath:./a");
    a.on_click = [=, this] {
      auto& table = fb->add(table_key);
      fb->remove(table_key + " xpath:" + entries_xpath);
      for (const auto& [label, value] : props) {
        auto& li = fb->add(table_key + " xpath:" + entries_xpath, true);
        child(li, "./span", label);
        child(li, "./p", value);
      }
      (void)table;
      auto& portTable = fb->add("xpath://div[@id='cardPortTable']");
      fb->add("xpath://*[@id='cardPortTable']");
      fb->remove("xpath://div[@id='cardPortTable'] xpath:./div/div[2]/table/tbody/tr");
      fb->remove("xpath://*[@id='cardPortTable'] xpath:./div/div[2]/table/tbody/tr");
      (void)portTable;
      for (const auto& port : ports) {
        for (auto parent : {"xpath://div[@id='cardPortTable']", "xpath://*[@id='cardPortTable']"}) {
          auto& tr = fb->add(std::string(parent) + " xpath:./div/div[2]/table/tbody/tr", true);
          for (const auto& [title, text] : port.cells) child(tr, "./td[@tdtitle='" + title + "']", text);
          auto& toggle = fb->add("@" + tr.uuid + " xpath:./td[1]/div");
          std::string detail_key = "@" + tr.uuid + " xpath:../tr[@class='tiny-table-detail-row']";
          auto details = port.details;
          toggle.on_click = [this, &toggle, detail_key, details] {
            if (toggle.clicks % 2 == 0) {
              fb->remove(detail_key);
              return;
            }
            auto& d = fb->add(detail_key);
            for (const auto& [k, v] : details) {
              auto& line = fb->add("@" + d.uuid + " xpath:./td/div[2]/div/div/div/div/table/tbody/tr", true);
              child(line, "./td[1]/span", k);
              child(line, "./td[2]/span", v);
            }
          };
        }
      }
    };
  }
};

TEST_F(CardTreeTests, NetCardsPropertiesFromTheFourthEntryPortsWithTheirDetails) {
  std::vector<std::pair<std::string, std::string>> props = {
      {"Slot:", "1"}, {"Status:", "Present"}, {"Health:", "OK"}, {"Name:", "X770"}, {"Name:", "second"}};
  Port p1{{{"Port", "1"}, {"Status", "Up"}, {"Port Type", "SFP+"}, {"Media type", "Optical"}},
          {{"MAC: Address:", "b4:05"}, {"Status", "from details"}, {"Speed:", "10G"}}};
  Port p2{{{"Port", "2"}, {"Status", "Down"}, {"Port Type", "SFP+"}, {"Media type", "Copper"}}, {}};
  card("xpath://td[@id='CardTreeL']/ul/li/ul/li", "xpath://div[@id='cardTable']", "./ul/li", props, {p1, p2});
  card("xpath://td[@id='CardTreeL']/ul/li/ul/li", "xpath://div[@id='cardTable']", "./ul/li",
       {{"a", "1"}, {"b", "2"}, {"c", "3"}}, {});
  Json cards = web_get_netcard_web_info(w);
  ASSERT_EQ(cards.size(), 2u);
  EXPECT_EQ(cards[0].dump(), R"({"Name:":"X770","portInfos":[)"
                             R"({"Port":"1","Status":"Up","Port_Type":"SFP+","Media_type":"Optical","MAC Address":"b4:05","Speed":"10G"},)"
                             R"({"Port":"2","Status":"Down","Port_Type":"SFP+","Media_type":"Copper"}]})")
      << "property labels keep their colons, detail labels lose every one, the first value of a key stands";
  EXPECT_EQ(cards[1].dump(), R"({"portInfos":[]})");
  EXPECT_EQ(count("click id:tabCard"), 1);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5, 5, 10, 10}));
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(lines(), std::vector<std::string>{"[getFan] start..."});
}

TEST_F(CardTreeTests, FcCardsOpenTheSecondBranchAndReadFcId) {
  fb->add("xpath://*[@id='CardTreeL']/ul/li[2]/span");
  Port p{{{"Port", "1"}, {"Status", "Up"}, {"Port Type", "FC"}, {"FC_ID", "0x011100"}}, {{"WWPN:", "10:00"}}};
  card("xpath://*[@id='CardTreeL']/ul/li[2]/ul/li", "xpath://*[@id='cardTable']/ul", "./li",
       {{"a", "1"}, {"b", "2"}, {"c", "3"}, {"Model:", "LPe"}}, {p});
  Json cards = web_get_fccard_info(w);
  EXPECT_EQ(cards.dump(), R"([{"Model:":"LPe","portInfos":[{"Port":"1","Status":"Up","Port_Type":"FC","FC_ID":"0x011100","WWPN":"10:00"}]}])");
  EXPECT_EQ(count("click xpath://*[@id='CardTreeL']/ul/li[2]/span"), 1);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5, 5})) << "no settle after a card's click";
  EXPECT_EQ(lines(), std::vector<std::string>{"[getFccardInfo] start..."});
  EXPECT_EQ(fb->events.back(), "default content");
}

TEST_F(ReaderRecordTests, OtherDevicesColumnsByTheirHeaderRow) {
  auto& entry = fb->add("xpath://div[@id='otherTableid']/ul/li", true);
  entry.attributes["name"] = "  PCIe Card (2)(x) ";
  const char* labels[] = {"Name", "", "Slot", "Name"};
  for (auto l : labels) {
    auto& th = fb->add("@" + entry.uuid + " xpath:./div[2]/div/div/div[2]/div/div[1]/div/table/thead/tr/th", true);
    child(th, "./div/label", l);
  }
  row("@" + entry.uuid + " xpath:./div[2]/div/div/div[2]/div/div[2]/table/tbody/tr", {"left", "skipped", "s1", "right"});
  auto& bare = fb->add("xpath://div[@id='otherTableid']/ul/li", true);
  bare.attributes["name"] = "(none)";
  row("@" + bare.uuid + " xpath:./div[2]/div/div/div[2]/div/div[2]/table/tbody/tr", {"x"});
  Json devices = web_get_other_devices_info(w);
  EXPECT_EQ(devices.dump(), R"([{"name":"PCIe Card","info":[{"Name":"left","Slot":"s1"}]},{"name":"","info":[{}]}])");
  EXPECT_EQ(fb->events.back(), "default content");

  bare.attributes.erase("name");
  EXPECT_THROW(web_get_other_devices_info(w), marlet::TypeError);
}

TEST_F(ReaderRecordTests, MainboardAndBackplanes) {
  const char* ids[] = {"txtFirmVersion", "txtBiosVersion", "txtCpldVersion", "txtUbootVersion", "txtUbootBackVersion",
                       "txtPcbVersion", "txtBoardID", "txtFruManufacturer", "txtFruModel", "txtFruSN"};
  for (auto id : ids) fb->add(std::string("id:") + id).text = id;
  Json board = web_get_main_board_info(w);
  EXPECT_EQ(board.size(), 10u);
  EXPECT_EQ(board.begin().key(), "bmc_version");
  EXPECT_EQ(board["serial_number"], "txtFruSN");
  EXPECT_TRUE(clock.sleeps().empty());
  EXPECT_EQ(fb->events.back(), "default content");

  fb->add("id:pcie_card_info").attributes["name"] = "PCIe Card(10)";
  fb->add("xpath:/html/body/div/div/div[2]/div[2]/div[9]/div/ul/li[2]").attributes["name"] = "Disk Backplane(2)";
  for (int i = 1; i <= 2; ++i) {
    fb->add("xpath://table[@id='DataTables_Table_1']//tr[" + std::to_string(i) + "]/td[1]").text = "Front";
    fb->add("xpath://table[@id='DataTables_Table_1']//tr[" + std::to_string(i) + "]/td[7]").text = "1.0" + std::to_string(i);
  }
  fb->events.clear();
  Json back = get_back_info(w);
  EXPECT_EQ(back.dump(), R"({"Front":"1.02"})") << "one digit of ten picks the second table; the later version stands";
  EXPECT_EQ(fb->events.back(), "click id:tabOther") << "the frame stays entered";
  EXPECT_EQ(lines().back(), "[getRaidName] start...");

  fb->add("id:pcie_card_info").attributes["name"] = "PCIe Card";
  EXPECT_THROW(get_back_info(w), marlet::AttributeError);
}

TEST_F(ReaderRecordTests, NicInfoReadsTheOpenCard) {
  fb->add(R"(xpath://*[@id="cardTable"]/ul/li[4]/p)").text = "X770";
  fb->add(R"(xpath://*[@id="cardTable"]/ul/li[7]/p)").text = "Ethernet";
  EXPECT_EQ(get_nic_info(w).dump(), R"({"name":"X770","type":"Ethernet"})");
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_INFO", "click id:menu_SYSTEM_INFO", "frame id:rightMid",
                                                  "click id:tabCard", "default content"}));
}

// ---- builders without a browser ----

TEST(InventoryRecordTests, ConsumptionJoin) {
  auto supplies = [](int n) {
    Json list = Json::array();
    for (int i = 0; i < n; ++i) list.push_back(Json{{"Slot", std::to_string(i)}});
    return list;
  };
  struct Case {
    const char* text;
    int supplies;
    const char* expected;
  } cases[] = {
      {"PS1:236W PS2 : 228W", 2, R"([{"Slot":"0","ConsumedWatts":"236"},{"Slot":"1","ConsumedWatts":"228"}])"},
      {"PS1: 236 W", 1, R"([{"Slot":"0"}])"},                       // a blank before W is no match
      {"PS0: 99W", 2, R"([{"Slot":"0"},{"Slot":"1","ConsumedWatts":"99"}])"},  // index -1: the last
      {"PS1: 236W PS2: 228W", 1, R"([{"Slot":"0","ConsumedWatts":"236"}])"},  // beyond the list: passed over
  };
  for (const auto& c : cases) {
    Json list = supplies(c.supplies);
    vorna::join_consumption(list, c.text);
    EXPECT_EQ(list.dump(), c.expected) << c.text;
  }
}

TEST(InventoryRecordTests, NamesLabelsAndDigitRuns) {
  EXPECT_EQ(vorna::entry_name(" RAID Card (1)"), "RAID Card");
  EXPECT_EQ(vorna::entry_name("Riser Card"), "Riser Card");
  EXPECT_EQ(vorna::entry_name("(2) cards"), "");
  EXPECT_EQ(vorna::detail_label("MAC: Address:"), "MAC Address");
  EXPECT_EQ(vorna::digit_runs("L1 80.5KB"), (std::vector<std::string>{"1", "80", "5"}));
  EXPECT_TRUE(vorna::digit_runs("N/A").empty());
  EXPECT_THROW(vorna::digit_run("28 Cores", 1), marlet::IndexError);
  Json pcie = vorna::card_record(vorna::pcie_table(), {{2, "d"}, {9, "cpu"}});
  EXPECT_EQ(pcie.size(), 8u) << "every key of the table, also where a cell was not given";
  EXPECT_EQ(pcie["ConnectedTo"], "cpu");
}

}  // namespace
