// Power state and actions, the restarts, the power cap and the restore policy.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"
#include "webdriver/keys.h"

using marlet::Json;
using vorna::VornaWebWrapper;

namespace {

class PowerTests : public WrapperTest {
 protected:
  void SetUp() override { logged_in(); }
  std::vector<std::string> errors() const { return lines_at(marlet::LogLevel::Error); }
};

TEST_F(PowerTests, StatusTestsOnBeforeOffCaseSensitively) {
  menu({"menu_POWER_ENERGY", "menu_ELECSRC_CONTROL"});
  const std::pair<const char*, const char*> cases[] = {
      {"On / Off", "PowerOn"}, {"Standby (Off)", "PowerOff"}, {"ON", "Unknown:ON"}};
  for (const auto& [text, status] : cases) {
    fb->add("id:current_state").text = text;
    fb->events.clear();
    clock.clear();
    EXPECT_EQ(web_get_power_status(w), status) << text;
    EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_POWER_ENERGY", "click id:menu_ELECSRC_CONTROL",
                                                    "frame id:rightMid", "default content"}));
    EXPECT_EQ(clock.sleeps(), std::vector<double>{w.timeout}) << "a page settle after the menu";
  }
}

TEST_F(PowerTests, EachActionLogsClicksItsControlAndConfirmsInTheTopDocument) {
  menu({"menu_POWER_ENERGY", "menu_ELECSRC_CONTROL", "btnDialogOK", "fpf", "po", "reset", "cs"});
  struct Case {
    void (*action)(VornaWebWrapper&);
    const char* line;
    const char* state;
  } cases[] = {{&vorna::set_power_off, "[setPowerOff] set power off by BMC Web", "fpf"},
               {&vorna::set_power_reboot, "[setPowerReboot] set reboot by BMC Web", "cs"}};
  for (const auto& c : cases) {
    fb->events.clear();
    log->lines.clear();
    c.action(w);
    EXPECT_EQ(log->texts(), std::vector<std::string>{c.line});
    EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_POWER_ENERGY", "click id:menu_ELECSRC_CONTROL",
                                                    "frame id:rightMid", std::string("click id:") + c.state,
                                                    "default content", "click id:btnDialogOK"}));
  }
}

TEST_F(PowerTests, ControllerRestartIsConfirmedOnlyByTheTextY) {
  menu({"menu_SYSTEM_MANAGE", "menu_FIRM_UPGRADE"});
  for (const char* key : {R"(xpath://*[@id="restartPme"]/p)", R"(xpath://*[@id="btnDialogOK"])",
                          R"(xpath://*[@id="btnDialogCancle"])"})
    fb->add(key);
  const std::pair<Json, const char*> answers[] = {{Json{{"option", "Y"}}, "btnDialogOK"},
                                                  {Json{{"option", "y"}}, "btnDialogCancle"}};
  for (const auto& [params, button] : answers) {
    reset();
    web_set_bmc_reboot(w, params);
    EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_SYSTEM_MANAGE", "click id:menu_FIRM_UPGRADE",
                                                    "frame id:rightMid", R"(click xpath://*[@id="restartPme"]/p)",
                                                    "default content",
                                                    std::string(R"(click xpath://*[@id=")") + button + "\"]"}))
        << params.dump();
    EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5}));
    EXPECT_EQ(log->texts(), (std::vector<std::string>{"[setBmcReset] start...", "[setBmcReset] completion."}));
  }
}

// The power capping page of a console: the switch flips through its dialog, a save
// takes the typed cap.
class PowerCapTests : public PowerTests {
 protected:
  void SetUp() override {
    PowerTests::SetUp();
    menu({"menu_POWER_ENERGY", "menu_POWER", "unitsWatts", "btnDialogOK", "edit", "inputsave"});
    fb->add("id:powercapping_text").tag = "input";
    switch_to("off");
    fb->find("id:setcapping")->on_click = [this] { switch_to(cap_class() == "switch off" ? "on" : "off"); };
    fb->add("id:LimitValue").text = "500";
    fb->find("id:inputsave")->on_click = [this] {
      fb->find("id:LimitValue")->text = fb->find("id:powercapping_text")->value;
    };
  }
  void switch_to(const std::string& state) {
    auto* sw = fb->find("id:setcapping");
    if (!sw) sw = &fb->add("id:setcapping");
    sw->attributes["class"] = "switch " + state;
  }
  std::string cap_class() { return fb->find("id:setcapping")->attributes["class"]; }
  std::vector<std::string> after_units() const {
    auto it = std::find(fb->events.begin(), fb->events.end(), "click id:unitsWatts");
    return {it == fb->events.end() ? it : it + 1, fb->events.end()};
  }
};

TEST_F(PowerCapTests, TheCapInForceNeedsNoDialogAndANewCapIsEditedAndReadBack) {
  switch_to("on");
  EXPECT_TRUE(web_set_power_cap(w, {{"enbale", true}, {"value", "500"}}));
  EXPECT_EQ(after_units(), std::vector<std::string>{"default content"});

  fb->events.clear();
  EXPECT_TRUE(web_set_power_cap(w, {{"enbale", true}, {"value", 420}}));
  EXPECT_EQ(fb->find("id:LimitValue")->text, "420");
  EXPECT_EQ(after_units(), (std::vector<std::string>{"click id:edit", "clear id:powercapping_text",
                                                     "keys id:powercapping_text 420", "click id:inputsave",
                                                     "default content", "click id:btnDialogOK", "frame id:rightMid",
                                                     "default content"}));
  EXPECT_EQ(log->texts().back(), "Power Capping is enabled and Power Cap is 420W");
}

TEST_F(PowerCapTests, ACapThatStaysOffFailsEvenWhenTheLimitTookTheValue) {
  // Cap off and a new value: the switch dialog, then the edit and its dialog, in order.
  fb->find("id:setcapping")->on_click = nullptr;  // the switch does not move
  EXPECT_FALSE(web_set_power_cap(w, {{"enbale", true}, {"value", 420}}));
  EXPECT_EQ(fb->find("id:LimitValue")->text, "420");
  EXPECT_EQ(after_units(), (std::vector<std::string>{"click id:setcapping", "default content", "click id:btnDialogOK",
                                                     "frame id:rightMid", "click id:edit", "clear id:powercapping_text",
                                                     "keys id:powercapping_text 420", "click id:inputsave",
                                                     "default content", "click id:btnDialogOK", "frame id:rightMid",
                                                     "default content"}));
  EXPECT_EQ(log->texts(), std::vector<std::string>{"Set Power Capping Failed"});
}

TEST_F(PowerCapTests, WithoutEnbaleTheCapIsSwitchedOff) {
  switch_to("on");
  EXPECT_TRUE(web_set_power_cap(w, {{"enable", true}, {"value", 300}})) << "\"enable\" is not the key read";
  EXPECT_EQ(cap_class(), "switch off");
  EXPECT_EQ(after_units(), (std::vector<std::string>{"click id:setcapping", "default content",
                                                     "click id:btnDialogOK", "frame id:rightMid",
                                                     "default content"}));
  EXPECT_EQ(log->texts(), std::vector<std::string>{"Power Capping set disabled successfully"});

  // A switch that does not move is reported, not raised.
  switch_to("on");
  fb->find("id:setcapping")->on_click = nullptr;
  log->lines.clear();
  EXPECT_FALSE(web_set_power_cap(w, {{"enbale", false}}));
  EXPECT_EQ(errors(), std::vector<std::string>{"Set Power Capping disabled failed"});
}

TEST_F(PowerCapTests, FiguresAreTheNumbersBeforeTheirUnits) {
  fb->add("id:txtCurrentPower").text = "236 W";
  fb->add("id:txtAverPower").text = "251 W";
  fb->add("id:txtPeakPower").text = "412  W";
  fb->add("id:txtTotalPower").text = "1834.6";
  EXPECT_EQ(web_get_power_capping_info(w, nullptr).dump(),
            R"({"Current Power":"236","Average Power":"251","Peak Power":"412","Total Consumed Power":"1834.6"})");
  EXPECT_EQ(clock.sleeps(), std::vector<double>{10});
  EXPECT_EQ(after_units(), std::vector<std::string>{"default content"});
}

TEST_F(PowerTests, ServerRebootUsesTheHeaderMenuWithNoFrameOrSettle) {
  const char* keys[] = {R"(xpath://*[@id="btn_power"]/div[1])", R"(xpath://*[@id="power_submenu"]/ul/li[4]/span)",
                        "id:btn0"};
  for (auto key : keys) fb->add(key);
  reboot(w);
  EXPECT_EQ(fb->events, (std::vector<std::string>{std::string("click ") + keys[0], std::string("click ") + keys[1],
                                                  "click id:btn0"}));
  EXPECT_TRUE(clock.sleeps().empty());
}

TEST_F(PowerTests, RestorePolicyMovesTheSelectorAndPicksByFlag) {
  menu({"menu_POWER_ENERGY", "npf", "checkRemainsPrevisions", "checkAlwaysOn", "btnSavePowerStrategy"});
  const std::string down = std::string("keys id:npf ") + webdriver::Keys::DOWN;
  for (const auto& [params, choice] : {std::pair{Json{{"flag", true}}, "click id:checkRemainsPrevisions"},
                                       std::pair{Json{{"flag", 0}}, "click id:checkAlwaysOn"}}) {
    reset();
    EXPECT_TRUE(web_set_poweron_strategy(w, params));
    EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_POWER_ENERGY", "frame id:rightMid", down, down,
                                                    down, choice, "click id:btnSavePowerStrategy",
                                                    "default content"}));
    EXPECT_EQ(clock.sleeps(), (std::vector<double>{w.timeout, 3}));
    EXPECT_EQ(log->texts(), std::vector<std::string>{"[setPoweronStrategy] set power on strategy."});
  }
}

}  // namespace
