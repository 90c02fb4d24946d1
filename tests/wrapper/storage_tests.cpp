// Storage: the tree rules, the RAID controller panes, the disk and logical drive readers,
// and deleting and creating logical drives, against the fake browser.
#include <algorithm>
#include <map>
#include <tuple>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage_tree.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
namespace st = vorna::storage;

namespace {

const char* kTop = R"(xpath://*[@id="storageViewId"]/ul/li)";
const char* kController = R"(xpath://*[@id="RaidController"]/ul[1]/li)";
const char* kOob = R"(xpath://*[@id="OOBSupport"]/li)";
const char* kBbu = R"(xpath://*[@id="bbu_info"]/li)";
const char* kDisk = R"(xpath://*[@id="HardDisk"]/ul/li)";
const char* kDrive = R"(xpath://*[@id="LogicalDrive"]/ul/li)";
const char* kSecond = R"(xpath://*[@id="storageViewId"]/ul/li/ul/li)";

struct Row {
  std::string label, value;
  std::map<std::string, std::string> attributes = {};
};
using Rows = std::vector<Row>;

TEST(StorageTreeRules, LabelRuleDropsTheLastCharacterStripsJoinsAndLowers) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"Firmware Version:", "bbu", "bbufirmware_version"},
      {"  Health Status :", "", "health_status"},            // stripped after the cut
      {"JBOD State\xef\xbc\x9a", "", "jbod_state"},          // a full-width colon is one character
      {"Copyback  State:", "", "copyback__state"},           // each blank becomes "_"
      {"\xc3\x84nderung:", "", "\xc3\xa4nderung"}};          // lower case beyond ASCII
  for (const auto& [label, prefix, key] : cases) EXPECT_EQ(st::label_key(label, prefix), key) << label;
  EXPECT_EQ(st::pane_key("SAS Address (0):"), "SAS Address (0)");  // case and blanks stay
  EXPECT_EQ(st::pane_key(" Media Type :"), " Media Type ");
}

TEST(StorageTreeRules, TitlesSortEntriesCaseSensitivelyAndTheIndexRulesDiffer) {
  using st::Entry;
  const std::pair<const char*, Entry> cases[] = {
      {"RAID Disk Set", Entry::RaidController}, {"PCIe Card Disk", Entry::CardController},
      {"raid card", Entry::Other},              {"raid Disk", Entry::PassThroughDisk}};
  for (const auto& [title, kind] : cases) EXPECT_EQ(st::top_entry(title), kind) << title;
  EXPECT_FALSE(st::takes_index(st::IndexRule::RaidTitles, Entry::CardController));
  EXPECT_TRUE(st::takes_index(st::IndexRule::Controllers, Entry::CardController));
  EXPECT_FALSE(st::takes_index(st::IndexRule::Controllers, Entry::PassThroughDisk));
  EXPECT_TRUE(st::is_logical_drive("Logical Drive0(VD)"));
  EXPECT_FALSE(st::is_logical_drive("logical drive0"));
}

// A storage tab on the fake browser: tree entries with titles and children, and panes
// whose rows a click on an entry puts in place.
class StorageTests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    menu({"menu_INFO", "menu_SYSTEM_INFO", "tabStorage", "tabOther", "storageConfBut", "logicDriveShowId", "delBtu",
          "btnDialogOK", "LDCreatePerSave"});
  }

  // An entry (list item) of `list`, with its title; `expander` adds its "./span".
  fake::FakeElement& entry(const std::string& list, const std::string& title, bool expander = false) {
    auto& li = fb->add(list, true);
    auto& span = fb->add(at(li, "./a/span[2]"));
    span.text = title;
    if (expander) fb->add(at(li, "./span"));
    return li;
  }
  static std::string at(const fake::FakeElement& e, const std::string& xpath) { return "@" + e.uuid + " xpath:" + xpath; }
  static std::string children(const fake::FakeElement& e) { return at(e, "./ul/li"); }
  fake::FakeElement& title(const fake::FakeElement& e) { return *fb->find(at(e, "./a/span[2]")); }

  // Replaces the rows of a pane.
  void pane(const std::string& key, const Rows& rows) {
    fb->remove(key);
    for (const auto& r : rows) {
      auto& li = fb->add(key, true);
      li.attributes = r.attributes;
      fb->add(at(li, "./span")).text = r.label;
      fb->add(at(li, "./p")).text = r.value;
    }
  }
  // A click on `e` shows these panes (every other pane empty).
  void shows(fake::FakeElement& e, std::map<std::string, Rows> panes) {
    e.on_click = [this, panes] {
      for (const char* key : {kController, kOob, kBbu, kDisk, kDrive}) {
        auto it = panes.find(key);
        pane(key, it == panes.end() ? Rows{} : it->second);
      }
    };
  }
  static Rows head() { return {{"Properties", ""}, {"-", ""}}; }
  static Rows with_head(Rows rows) {
    Rows all = head();
    all.insert(all.end(), rows.begin(), rows.end());
    return all;
  }
  // A disk entry under `list` whose title click shows `rows` after the pane's head.
  fake::FakeElement& disk(const std::string& list, const std::string& title_text, Rows rows) {
    auto& li = entry(list, title_text);
    shows(title(li), {{kDisk, with_head(std::move(rows))}});
    return li;
  }
  // The operations' own log lines, without the pictures' paths.
  std::vector<std::string> lines() const {
    std::vector<std::string> out;
    for (const auto& t : log->texts())
      if (t.rfind("[screenshot]", 0) != 0) out.push_back(t);
    return out;
  }
  std::vector<std::string> clicks() const {
    std::vector<std::string> out;
    for (const auto& e : fb->events)
      if (e.rfind("click ", 0) == 0) out.push_back(e);
    return out;
  }
};

// ---- RAID controllers ----

TEST_F(StorageTests, OneRaidEntryGivesAFlatRecordInPaneOrder) {
  auto& other = entry(kTop, "Enclosure 252");
  auto& lower = entry(kTop, "raid card");
  auto& raid = entry(kTop, "RAID Card VR3508");
  entry(kTop, "Disk0(Onboard)");
  shows(title(raid), {{kController, with_head({{"Name:", "VR3508"}, {"Firmware Version:", "5.1"},
                                               {"Health Status:", ""}, {"name:", "later"}})},
                      {kOob, {{"Out of Band Management Supported:", "Yes"}}},
                      {kBbu, with_head({{"Type:", "CVPM05"}, {" Health Status :", "Normal"}})}});
  Json info = web_get_raid_web_info(w);
  EXPECT_EQ(info.dump(), Json({{"cardname", "RAID Card VR3508"},
                               {"bbutype", "CVPM05"},
                               {"bbuhealth_status", "Normal"},
                               {"name", "later"},  // a repeated key keeps its place, takes the later value
                               {"firmware_version", "5.1"},
                               {"health_status", ""},
                               {"out_of_band_management_supported", "Yes"}})
                             .dump());
  EXPECT_EQ(title(other).clicks + title(lower).clicks, 0) << "entries without RAID are not clicked";
  EXPECT_EQ(clicks(), (std::vector<std::string>{"click id:menu_INFO", "click id:menu_SYSTEM_INFO",
                                                "click id:tabStorage", "click " + at(raid, "./a/span[2]")}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{10, 10, 10, 10}));
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(lines(), std::vector<std::string>{"[get_raid_info] start..."});
}

TEST_F(StorageTests, SeveralRaidEntriesAreIndexedByRaidTitlesAlone) {
  auto& first = entry(kTop, "RAID Card A");
  entry(kTop, "PCIe Card HBA");  // a controller, but not a RAID entry: no index, no click
  auto& second = entry(kTop, "Onboard RAID B");
  shows(title(first), {{kController, with_head({{"Name:", "A"}})},
                       {kBbu, {{"BBU", ""}, {"-", ""}}}});  // a BBU pane of its head only
  shows(title(second), {{kOob, {{"Out of Band Management Supported:", "No"}}}});
  Json info = web_get_raid_web_info(w);
  EXPECT_EQ(info.dump(), Json({{"0", {{"cardname", "RAID Card A"}, {"name", "A"}}},
                               {"1", {{"cardname", "Onboard RAID B"}, {"out_of_band_management_supported", "No"}}}})
                             .dump());
}

TEST_F(StorageTests, RaidNameIsTheFirstCellReadInsideTheFrame) {
  fb->add("xpath://div[@id='raidTableid']/div/div[2]/div/div[2]/table/tbody/tr[1]/td[1]").text = "RAID Card VR3508";
  EXPECT_EQ(get_raid_name(w), "RAID Card VR3508");
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_INFO", "click id:menu_SYSTEM_INFO",
                                                  "frame id:rightMid", "click id:tabOther"}));
  EXPECT_TRUE(clock.sleeps().empty());
  EXPECT_EQ(lines(), std::vector<std::string>{"[getRaidName] start..."});
}

// ---- physical disks ----

// A PCIe card controller, a RAID controller with two logical drives and a disk of its
// own, a pass-through disk, a title with both "RAID" and "Disk", and another entry.
class StorageInfoTests : public StorageTests {
 protected:
  void SetUp() override {
    StorageTests::SetUp();
    auto& card = entry(kTop, "PCIe Card HBA");
    disk(children(card), "Disk0(Slot 8)", {{"Model:", "AL15"}});
    auto& raid = entry(kTop, "RAID Card VR3508");
    auto& ld0 = entry(children(raid), "Logical Drive0(VD_OS)", true);
    auto& ld1 = entry(children(raid), "Logical Drive1(VD_DATA)", true);
    disk(children(ld0), "Disk0(Slot 0)", {{"Model:", "ST600"},
                                          {"SAS Address (1):", "", {{"style", "display: none;"}}},
                                          {"Rebuild Progress:", "N/A", {{"class", "rebuildProgress"}}},
                                          {"Firmware State:", "ONLINE", {{"style", ""}, {"class", ""}}}});
    disk(children(ld1), "Disk1 (Slot 1)", {{"Model:", "first"}});
    disk(children(ld1), "Disk2(Slot 2)", {{"Model:", "ST600"}});
    disk(children(raid), "Disk1 (Slot 9)", {{"Model:", "read last"}});  // the same name as in ld1
    disk(children(raid), "Disk3", {});
    disk(kTop, "Disk0(Onboard SATA 0)", {{"Capacity:", "447 GB"}});
    entry(kTop, "RAID Disk Group");  // a controller by its title, with no children
    other = &entry(kTop, "Enclosure 252");
    expanders = {fb->find(at(ld0, "./span")), fb->find(at(ld1, "./span"))};
  }
  fake::FakeElement* other = nullptr;
  std::vector<fake::FakeElement*> expanders;
};

TEST_F(StorageInfoTests, ControllersOfBothKindsAreIndexedAndHoldAllTheirDisks) {
  Json disks = get_storage_info(w, {{"raid_disk", true}});
  EXPECT_EQ(disks.dump(), Json({{"0", {{"Disk0", {{"Model", "AL15"}}}}},
                                {"1",
                                 {{"Disk0", {{"Model", "ST600"}, {"Firmware State", "ONLINE"}}},
                                  {"Disk1 ", {{"Model", "read last"}}},
                                  {"Disk2", {{"Model", "ST600"}}},
                                  {"Disk3", Json::object()}}},
                                {"2", Json::object()}})
                              .dump());
  for (auto* e : expanders) EXPECT_EQ(e->clicks, 1) << "each logical drive is unfolded once";
  EXPECT_EQ(title(*other).clicks, 1) << "another entry is clicked and passed over";
  EXPECT_EQ(clicks().front(), "click id:menu_INFO");
  EXPECT_EQ(std::count(fb->events.begin(), fb->events.end(), "click id:menu_SYSTEM_INFO"), 3);
  EXPECT_EQ(clock.sleeps(), std::vector<double>{10});
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(lines(), std::vector<std::string>{"[getStorage] start..."});
}

TEST_F(StorageTests, AnEmptyTreeGivesEmptyMapsAndAMissingTitleFails) {
  EXPECT_EQ(get_storage_info(w, {{"raid_disk", true}}), Json::object());
  EXPECT_EQ(get_storage_info(w, Json::object()), Json::object());
  auto& raid = entry(kTop, "RAID Card");
  auto& child = fb->add(children(raid), true);  // a child entry without a title
  (void)child;
  fb->events.clear();
  EXPECT_THROW(get_storage_info(w, {{"raid_disk", true}}), webdriver::NoSuchElementException);
  EXPECT_NE(fb->events.back(), "default content");
}

// ---- logical drives ----

TEST_F(StorageTests, LogicalDrivesAreSecondLevelEntriesClickedAsListItems) {
  entry(kTop, "Logical Drive9(top level)");  // never a logical drive
  auto& ld0 = entry(kSecond, "Logical Drive0(VD_OS)");
  auto& disk0 = entry(kSecond, "Disk6(Slot 6)");
  auto& ld1 = entry(kSecond, "Logical Drive1(VD_DATA)");
  auto& again = entry(kSecond, "Logical Drive0(VD_OS)");  // the same title under another controller
  shows(ld0, {{kDrive, with_head({{"Name:", "VD_OS"}, {"RAID Level:", "RAID1"}})}});
  shows(ld1, {{kDrive, with_head({{"Name:", "VD_DATA"}, {" Strip Size :", "256 KB"}})}});
  shows(again, {{kDrive, with_head({{"Name:", "other"}, {"Status:", "Optimal", {{"class", "x"}}}})}});
  Json info = web_get_logical_driver_info(w);
  Json expected = {{"Logical Drive0(VD_OS)", {{"Name", "other"}, {"Status", "Optimal"}}},
                   {"Logical Drive1(VD_DATA)", {{"Name", "VD_DATA"}, {" Strip Size ", "256 KB"}}}};
  EXPECT_EQ(info.dump(), expected.dump());
  EXPECT_EQ(disk0.clicks, 0);
  EXPECT_EQ(ld0.clicks + ld1.clicks + again.clicks, 3);
  EXPECT_EQ(title(ld0).clicks, 0) << "the list item is clicked, not its title";
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 3, 3, 3, 3}));
  EXPECT_EQ(fb->events.back(), "default content");
}

// ---- deleting logical drives ----

class LogicalDriveTests : public StorageTests {
 protected:
  void marks(int n) {
    for (int i = 0; i < n; ++i)
      fb->add("xpath://span[@id='DelteRadio" + std::to_string(i) + "']/div/div/div/div");
  }
  static std::vector<std::string> opening(const char* switch_xpath) {
    return {"click id:menu_INFO",        "click id:menu_SYSTEM_INFO",      "frame id:rightMid",
            "click id:tabStorage",       "click id:storageConfBut",        "click id:logicDriveShowId",
            std::string("click xpath:") + switch_xpath};
  }
  static std::vector<std::string> plus(std::vector<std::string> a, const std::vector<std::string>& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  }
  static constexpr const char* kDeleting = "//div[@id='LDSwitchRaio']/div/div[2]/div/div";
  static constexpr const char* kCreating = "//div[@id='LDSwitchRaio']/div/div[1]/div/div";
  void SetUp() override {
    StorageTests::SetUp();
    fb->add(std::string("xpath:") + kDeleting);
    fb->add(std::string("xpath:") + kCreating);
  }
};

TEST_F(LogicalDriveTests, DeletingSelectsUpToFourMarksAndStopsAtTheFirstMissing) {
  auto mark = [](int i) { return "click xpath://span[@id='DelteRadio" + std::to_string(i) + "']/div/div/div/div"; };
  // None: nothing is selected, delBtu and the dialog are not touched, the frame is left.
  delete_all_raid_logical_driver(w);
  EXPECT_EQ(fb->events, plus(opening(kDeleting), {"default content"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 10}));
  EXPECT_EQ(lines(), std::vector<std::string>{"[deleteAllRaidLogicalDriver] start..."});
  // Two: marks 0 and 1, one delete.
  marks(2);
  fb->events.clear();
  clock.clear();
  delete_all_raid_logical_driver(w);
  EXPECT_EQ(fb->events, plus(opening(kDeleting),
                             {mark(0), mark(1), "click id:delBtu", "default content", "click id:btnDialogOK"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 1, 1, 10}));
  // Five: marks 0 to 3; the fifth is never tried.
  marks(5);
  fb->events.clear();
  delete_all_raid_logical_driver(w);
  EXPECT_EQ(fb->events, plus(opening(kDeleting), {mark(0), mark(1), mark(2), mark(3), "click id:delBtu",
                                                  "default content", "click id:btnDialogOK"}));
  EXPECT_EQ(fb->find("xpath://span[@id='DelteRadio4']/div/div/div/div")->clicks, 0);
}

// ---- creating a logical drive ----

class LogicalDriveCreateTests : public LogicalDriveTests {
 protected:
  void SetUp() override {
    LogicalDriveTests::SetUp();
    fb->add("xpath://span[@id='LDCreName']/input").tag = "input";
    fb->add("xpath:.//span[@id='LDCreLevel']/div/div/input");
    levels({"RAID0", "RAID 1", "raid1", "RAID1", "RAID5"});
    for (int i = 0; i < 3; ++i) fb->add("id:ldisk_arr_" + std::to_string(i));
  }
  void levels(const std::vector<std::string>& texts) {
    fb->remove(kLevels);
    level_spans.clear();
    for (const auto& t : texts) {
      auto& li = fb->add(kLevels, true);
      auto& span = fb->add(at(li, "./span"));
      span.text = t;
      level_spans.push_back(&span);
    }
  }
  std::vector<std::string> level_clicks() {
    std::vector<std::string> out;
    for (auto* s : level_spans)
      if (s->clicks) out.push_back(s->text);
    return out;
  }
  std::vector<std::string> after_level_box() const {
    auto it = std::find(fb->events.begin(), fb->events.end(), "click xpath:.//span[@id='LDCreLevel']/div/div/input");
    return {it == fb->events.end() ? it : it + 1, fb->events.end()};
  }
  static constexpr const char* kLevels = "xpath:.//body/div[13]/ul/li";
  std::vector<fake::FakeElement*> level_spans;
};

TEST_F(LogicalDriveCreateTests, TheExactLevelIsChosenAndTheFirstCountDisksSaved) {
  create_raid_logical_driver(w, {{"name", "VD_NEW"}, {"level", "RAID1"}, {"count", 2}});
  EXPECT_EQ(fb->find("xpath://span[@id='LDCreName']/input")->value, "VD_NEW");
  EXPECT_EQ(level_clicks(), std::vector<std::string>{"RAID1"}) << "'RAID 1' and 'raid1' are other levels";
  auto tail = after_level_box();
  ASSERT_EQ(tail.size(), 6u);
  EXPECT_EQ(tail.front(), "click " + level_spans[3]->key);
  EXPECT_EQ(std::vector<std::string>(tail.begin() + 1, tail.end()),
            (std::vector<std::string>{"click id:ldisk_arr_0", "click id:ldisk_arr_1", "click id:LDCreatePerSave",
                                      "default content", "click id:btnDialogOK"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 10}));
  EXPECT_EQ(fb->find("id:ldisk_arr_2")->clicks, 0);
  EXPECT_EQ(lines(), std::vector<std::string>{"[createRaidLogicalDriver] start..."});
}

TEST_F(LogicalDriveCreateTests, WrongTypesAreRefusedBeforeTheConsoleIsTouched) {
  const std::pair<Json, const char*> cases[] = {
      {Json::array(), "create_raid_logical_driver() takes a map of parameters, not list"},
      {Json{{"name", "VD"}, {"level", "RAID1"}, {"count", true}}, "count must be an integer, not bool"},
      {Json{{"name", 7}, {"level", "RAID1"}, {"count", 2}}, "name must be a text, not int"}};
  for (const auto& [params, message] : cases)
    EXPECT_THAT([&] { create_raid_logical_driver(w, params); }, ThrowsMessage<marlet::TypeError>(message))
        << params.dump();
  EXPECT_TRUE(fb->events.empty());
  EXPECT_TRUE(log->lines.empty());
}

}  // namespace
