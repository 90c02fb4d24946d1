// Boot option, effectiveness, boot mode, start-up mode and the three-stage settings call.
#include <map>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot_codes.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
using Events = std::vector<std::string>;

namespace {

// The boot settings page of a console: it shows the machine as saved whenever its menu
// entry opens it; choices on the page stay there until the save and the dialog's OK.
struct Machine {
  std::string option = "2";     // page value of StartOptionConf
  std::string effective = "1";  // "0", "1", or "" for no selection
  std::string mode = "1";       // "0", "1", or ""
};

class BootTests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    fb->add("id:menu_CONFIGURATION");
    fb->add("id:menu_BOOTOPTION_SETUP").on_click = [this] { render(); };
    fb->add("id:saveBootOption").on_click = [this] { dialog = true; };
    fb->add(R"(xpath://*[@id="saveBootOption"]/span)").on_click = [this] { dialog = true; };
    fb->add("id:btnDialogOK").on_click = [this] {
      if (!dialog) return;
      dialog = false;
      ++saves;
      machine = shown();
    };
    for (const auto& row : vorna::boot::kOptions) {
      std::string value = row.page_value;
      fb->add(std::string("id:StartOptionConf xpath:") + row.entry).on_click = [this, value] {
        fb->find("id:StartOptionConf")->attributes["value"] = value;
      };
    }
    radio_pair("start_option_once", "start_option_permanent");
    radio_pair("start_option_legecy", "start_option_uefi");
    render();
    fb->events.clear();
  }

  void radio_pair(const std::string& first, const std::string& second) {
    auto& a = fb->add("id:" + first);
    auto& b = fb->add("id:" + second);
    a.attributes["value"] = "0";
    b.attributes["value"] = "1";
    a.on_click = [this, first, second] { check(first, second, "0"); };
    b.on_click = [this, first, second] { check(first, second, "1"); };
  }
  void check(const std::string& first, const std::string& second, const std::string& value) {
    auto& a = fb->find("id:" + first)->attributes;
    auto& b = fb->find("id:" + second)->attributes;
    a.erase("checked");
    b.erase("checked");
    if (value == "0") a["checked"] = "true";
    if (value == "1") b["checked"] = "true";
  }
  void render() {
    fb->find("id:StartOptionConf") ? void() : void(fb->add("id:StartOptionConf"));
    fb->find("id:StartOptionConf")->attributes["value"] = machine.option;
    check("start_option_once", "start_option_permanent", machine.effective);
    check("start_option_legecy", "start_option_uefi", machine.mode);
    if (tamper) tamper();
  }
  Machine shown() {
    auto pick = [this](const char* first, const char* second) -> std::string {
      if (fb->find(std::string("id:") + first)->attributes.count("checked")) return "0";
      if (fb->find(std::string("id:") + second)->attributes.count("checked")) return "1";
      return "";
    };
    return {fb->find("id:StartOptionConf")->attributes["value"], pick("start_option_once", "start_option_permanent"),
            pick("start_option_legecy", "start_option_uefi")};
  }
  Events errors() const { return lines_at(marlet::LogLevel::Error); }

  Machine machine;
  std::function<void()> tamper;  // changes the page after each render
  bool dialog = false;
  int saves = 0;
  static inline const Events kOpen = {"click id:menu_CONFIGURATION", "click id:menu_BOOTOPTION_SETUP",
                                      "frame id:rightMid"};
  static Events opened(Events rest) {
    Events all = kOpen;
    all.insert(all.end(), rest.begin(), rest.end());
    return all;
  }
};

TEST_F(BootTests, OptionIsReadThroughTheTable) {
  const std::map<std::string, Json> cases = {{"5", "3"}, {"15", "4"}, {"3", nullptr}};
  for (const auto& [page, code] : cases) {
    machine.option = page;
    reset();
    EXPECT_EQ(web_get_boot_option(w), code) << page;
    EXPECT_EQ(fb->events, opened({"default content"}));
    EXPECT_EQ(log->texts(), Events{"[getBootOption] ..."});
    EXPECT_TRUE(clock.sleeps().empty()) << "the boot settings page opens with no settle";
  }
}

TEST_F(BootTests, SettingTheOptionShownTouchesNothing) {
  machine.option = "5";
  web_set_boot_option(w, {{"option", "3"}});
  EXPECT_EQ(fb->events, opened({"default content"}));
  EXPECT_EQ(log->texts(), Events{"[setBootOption] option:3"});
  // No key on a page value outside the table: null equals null.
  machine.option = "9";
  reset();
  web_set_boot_option(w, Json::object());
  EXPECT_EQ(fb->events, opened({"default content"}));
  EXPECT_EQ(log->texts(), Events{"[setBootOption] option:None"});
  EXPECT_EQ(saves, 0);
}

TEST_F(BootTests, AnotherOptionIsChosenSavedAndConfirmed) {
  web_set_boot_option(w, {{"option", "4"}});
  EXPECT_EQ(fb->events, opened({"click id:StartOptionConf xpath://option[@reskey='REMOVEABLE_MEDIA_BOOT']",
                                "click id:saveBootOption", "default content", "click id:btnDialogOK"}));
  EXPECT_EQ(machine.option, "15");
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(web_get_boot_option(w), "4");
}

TEST_F(BootTests, AnOptionOutsideTheTableFailsBeforeAnythingIsSaved) {
  for (const Json& option : {Json(3), Json("CD_ROM_BOOT")}) {
    reset();
    EXPECT_THROW(web_set_boot_option(w, {{"option", option}}), webdriver::InvalidArgumentException) << option.dump();
    EXPECT_EQ(fb->events, opened({})) << "the frame stays entered, nothing chosen or saved";
    EXPECT_EQ(log->texts(), Events{"[setBootOption] option:" + marlet::py::str(option)});
  }
  EXPECT_EQ(saves, 0);
  EXPECT_EQ(machine.option, "2");
  reset();
  EXPECT_THROW(web_set_boot_option(w, "3"), marlet::TypeError);
  EXPECT_TRUE(fb->events.empty() && log->lines.empty());
}

TEST_F(BootTests, RadioPairsAnswerTextTheFirstWinsAndNoneIsFalse) {
  machine.effective = "1";
  machine.mode = "1";
  EXPECT_EQ(web_get_effective(w), "1");
  EXPECT_EQ(web_get_boot_mode(w), "1");
  EXPECT_TRUE(errors().empty());

  // Both buttons of each pair report checked: once and legacy win.
  tamper = [this] {
    for (auto id : {"start_option_once", "start_option_permanent", "start_option_legecy", "start_option_uefi"})
      fb->find(std::string("id:") + id)->attributes["checked"] = "true";
  };
  EXPECT_EQ(web_get_effective(w), "0");
  EXPECT_EQ(web_get_boot_mode(w), "0");

  // A checked button whose value is not its code does not count; nor does an empty checked.
  tamper = [this] {
    fb->find("id:start_option_once")->attributes["value"] = "1";
    fb->find("id:start_option_legecy")->attributes["checked"] = "";
  };
  machine.effective = "0";
  machine.mode = "0";
  reset();
  EXPECT_EQ(web_get_effective(w), false);
  EXPECT_EQ(web_get_boot_mode(w), false);
  EXPECT_EQ(errors(), (Events{"get Boot Mode error", "get Boot Mode error"}));
}

TEST_F(BootTests, EffectivenessAndModeAreSetByTheirButtonsAndTheInnerSpan) {
  web_set_effective(w, {{"mode", "0"}});
  EXPECT_EQ(fb->events, opened({"click id:start_option_once", R"(click xpath://*[@id="saveBootOption"]/span)",
                                "default content", "click id:btnDialogOK"}));
  EXPECT_EQ(machine.effective, "0");
  reset();
  web_set_boot_mode(w, {{"mode", "0"}});
  Events expected = {"window w-1"};
  for (auto e : opened({"click id:start_option_legecy", R"(click xpath://*[@id="saveBootOption"]/span)",
                        "default content", "click id:btnDialogOK"}))
    expected.push_back(e);
  EXPECT_EQ(fb->events, expected);
  EXPECT_EQ(machine.mode, "0");
  EXPECT_EQ(saves, 2);
  EXPECT_TRUE(log->texts().empty()) << "the setters log nothing on success";
}

TEST_F(BootTests, StartupModeGoesByTruthWithTheOppositeSense) {
  const std::pair<Json, const char*> cases[] = {{Json("0"), "start_option_legecy"}, {Json(0), "start_option_uefi"}};
  fb->windows = {"w-1", "w-2"};
  for (const auto& [mode, button] : cases) {
    reset();
    change_startup_mode(w, mode);
    EXPECT_EQ(fb->events, opened({std::string("click id:") + button, "click id:saveBootOption", "default content",
                                  "click id:btnDialogOK"}))
        << mode.dump() << ": no first-window step, the save button itself";
    EXPECT_EQ(machine.mode, std::string(button) == "start_option_legecy" ? "0" : "1");
  }
}

// Injected functions of a harness: by default they stand on the page operations, like
// the module `home`; a test may replace any of them and sees every call.
class ScriptedSibling final : public vorna::SiblingFunctions {
 public:
  explicit ScriptedSibling(vorna::VornaWebWrapper& w) {
    fns["get_boot_mode"] = [&w](const Json&) { return web_get_boot_mode(w); };
    fns["get_boot_option"] = [&w](const Json&) { return web_get_boot_option(w); };
    fns["set_boot_mode"] = [&w](const Json& a) { return web_set_boot_mode(w, {{"mode", a[0]}}), Json(); };
    fns["set_boot_option"] = [&w](const Json& a) { return web_set_boot_option(w, {{"option", a[0]}}), Json(); };
    fns["set_effective"] = [&w](const Json& a) { return web_set_effective(w, {{"mode", a[0]}}), Json(); };
  }
  Json call(const std::string& name, const Json& args) override {
    calls.push_back(name + args.dump());
    auto it = fns.find(name);
    if (it == fns.end()) throw marlet::KeyError(name);
    return it->second(args);
  }
  std::map<std::string, std::function<Json(const Json&)>> fns;
  Events calls;
};

class MsconfigTests : public BootTests {
 protected:
  void SetUp() override {
    BootTests::SetUp();
    w.set_sibling_functions(sibling);
  }
  std::shared_ptr<ScriptedSibling> sibling = std::make_shared<ScriptedSibling>(w);
  static inline const Events kStages = {"设置Boot Mode", "设置Effective", "设置Blade Boot Option"};
};

TEST_F(MsconfigTests, OnlyTheStagesThatDifferAreWrittenAndTheFoundValuesReturned) {
  machine = {"5", "1", "1"};  // DVD-ROM, permanent, UEFI
  Json found = modify_msconfig(w, "0", "1", "4");
  EXPECT_EQ(found, Json::array({"1", "1", "3"})) << "what stood there before, not the read-backs";
  EXPECT_EQ(machine.mode, "0");
  EXPECT_EQ(machine.effective, "1");
  EXPECT_EQ(machine.option, "15");
  EXPECT_EQ(saves, 2);
  EXPECT_EQ(sibling->calls, (Events{R"(get_boot_mode[])", R"(set_boot_mode["0"])", R"(get_boot_mode[])",
                                    R"(get_boot_option[])", R"(set_boot_option["4"])", R"(get_boot_option[])"}));
  Events info;
  for (const auto& l : log->lines)
    if (l.level == marlet::LogLevel::Info && l.text.rfind("[", 0) != 0) info.push_back(l.text);
  EXPECT_EQ(info, kStages);
  EXPECT_EQ(fb->events.front(), "window w-1");

  // Already in place: nothing written, the same values back.
  saves = 0;
  sibling->calls.clear();
  EXPECT_EQ(modify_msconfig(w, "0", "1", "4"), Json::array({"0", "1", "4"}));
  EXPECT_EQ(saves, 0);
  EXPECT_EQ(sibling->calls, (Events{"get_boot_mode[]", "get_boot_option[]"}));
}

TEST_F(MsconfigTests, AFailedReadBackRaisesItsStagesMessageWithNoRollBack) {
  machine = {"2", "0", "1"};
  // An integer effectiveness never equals the page's text: written, read back, refused.
  EXPECT_THAT([&] { modify_msconfig(w, "0", 1, "3"); },
              ThrowsMessage<marlet::WebDisplayException>("Set Effective To once Failed "));
  EXPECT_EQ(machine.mode, "0") << "the first stage stays applied";
  EXPECT_EQ(machine.option, "2") << "the third stage never ran";
  EXPECT_EQ(errors(), Events{"no this mode 1"});
  auto texts = log->texts();
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "设置Blade Boot Option"), 0) << "the third stage never began";

  // A writer that does nothing: the first stage's message, whatever was wanted.
  sibling->fns["set_boot_mode"] = [](const Json&) { return Json(); };
  EXPECT_THAT([&] { modify_msconfig(w, "1", "0", "3"); },
              ThrowsMessage<marlet::WebDisplayException>("Set Boot Mode To uefi Failed "));
}

}  // namespace
