#include "marlet/exception/exceptions.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"
#include "webdriver/keys.h"

using marlet::Json;

class ConsoleOperationTests : public WrapperTest {
 protected:
  void SetUp() override { logged_in(); }
  void menu(std::initializer_list<const char*> ids) {
    for (auto id : ids) fb->add(std::string("id:") + id);
  }
  std::vector<std::string> errors() const {
    std::vector<std::string> out;
    for (const auto& l : log->lines)
      if (l.level == marlet::LogLevel::Error) out.push_back(l.text);
    return out;
  }
};

TEST_F(ConsoleOperationTests, PowerStatusTestsOnBeforeOffAndCaseMatters) {
  menu({"menu_POWER_ENERGY", "menu_ELECSRC_CONTROL"});
  struct Row {
    const char* text;
    const char* status;
  } rows[] = {{"Power On", "PowerOn"}, {"On / Off", "PowerOn"}, {"Off", "PowerOff"},
              {"ON", "Unknown:ON"},     {"off", "Unknown:off"},  {"", "Unknown:"}};
  for (const auto& r : rows) {
    fb->add("id:current_state").text = r.text;
    fb->events.clear();
    EXPECT_EQ(w.web_get_power_status(), r.status) << r.text;
    EXPECT_EQ(fb->events.back(), "default content") << "the frame is left before the text is judged";
  }
  EXPECT_EQ(clock.sleeps().front(), w.timeout) << "a page settle after the menu";
}

TEST_F(ConsoleOperationTests, PowerActionsClickTheirControlAndConfirm) {
  menu({"menu_POWER_ENERGY", "menu_ELECSRC_CONTROL", "btnDialogOK", "fpf", "po", "reset", "cs"});
  struct Row {
    void (vorna::VornaWebWrapper::*action)();
    const char* line;
    const char* state;
  } rows[] = {{&vorna::VornaWebWrapper::set_power_off, "[setPowerOff] set power off by BMC Web", "fpf"},
              {&vorna::VornaWebWrapper::set_power_on, "[setPowerOn] set power on by BMC Web", "po"},
              {&vorna::VornaWebWrapper::set_power_cycle, "[setPowerCycle] set power cycle by BMC Web", "reset"},
              {&vorna::VornaWebWrapper::set_power_reboot, "[setPowerReboot] set reboot by BMC Web", "cs"}};
  for (const auto& r : rows) {
    fb->events.clear();
    log->lines.clear();
    (w.*r.action)();
    EXPECT_EQ(log->texts(), std::vector<std::string>{r.line});
    EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_POWER_ENERGY", "click id:menu_ELECSRC_CONTROL",
                                                    "frame id:rightMid", std::string("click id:") + r.state,
                                                    "default content", "click id:btnDialogOK"}));
  }
}

TEST_F(ConsoleOperationTests, ControllerRestartAnswersOnlyAnUpperCaseYWithOk) {
  menu({"menu_SYSTEM_MANAGE", "menu_FIRM_UPGRADE"});
  fb->add(R"(xpath://*[@id="restartPme"]/p)");
  fb->add(R"(xpath://*[@id="btnDialogOK"])");
  fb->add(R"(xpath://*[@id="btnDialogCancle"])");
  for (const Json& params : {Json{{"option", "Y"}}, Json{{"option", "y"}}, Json::object()}) {
    fb->events.clear();
    log->lines.clear();
    w.web_set_bmc_reboot(params);
    std::string answer = params.value("option", "") == "Y" ? R"(click xpath://*[@id="btnDialogOK"])"
                                                            : R"(click xpath://*[@id="btnDialogCancle"])";
    EXPECT_EQ(fb->events.back(), answer);
    EXPECT_EQ(log->texts(), (std::vector<std::string>{"[setBmcReset] start...", "[setBmcReset] completion."}));
  }
}

TEST_F(ConsoleOperationTests, HeaderRebootClicksThePowerMenuFromTheTopDocument) {
  fb->add(R"(xpath://*[@id="btn_power"]/div[1])");
  fb->add(R"(xpath://*[@id="power_submenu"]/ul/li[4]/span)");
  menu({"btn0"});
  w.reboot();
  EXPECT_EQ(fb->events, (std::vector<std::string>{R"(click xpath://*[@id="btn_power"]/div[1])",
                                                  R"(click xpath://*[@id="power_submenu"]/ul/li[4]/span)",
                                                  "click id:btn0"}));
  EXPECT_TRUE(clock.sleeps().empty());
}

class SoftwareInfoTests : public ConsoleOperationTests {
 protected:
  void SetUp() override {
    ConsoleOperationTests::SetUp();
    menu({"menu_INFO", "menu_SYSTEM_INFO", "tabSystem"});
  }
  void row(const char* label, const char* value) {
    auto& r = fb->add(R"(xpath://*[@id="SysSoftTrue"]/div[1]/table/tbody/tr)", /*also=*/true);
    fb->add("@" + r.uuid + " xpath:./td[1]/span").text = label;
    if (value) fb->add("@" + r.uuid + " xpath:./td[2]/span").text = value;
  }
  void notice(const char* text) { fb->add(R"(xpath://*[@id="SysSoftFalse"]/span[2])").text = text; }
};

TEST_F(SoftwareInfoTests, RowsBecomeAMapInTableOrder) {
  row("OS Version", "Debian 12");
  row("Tolmar Service", "running");
  row("OS Version", "Debian 12.5");  // a repeated label replaces the earlier value
  Json info = w.web_get_software_info();
  EXPECT_EQ(info.dump(), R"({"OS Version":"Debian 12.5","Tolmar Service":"running"})");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5}));
}

TEST_F(SoftwareInfoTests, AnAgentThatDoesNotReportGivesTheFixedTextAndLosesPartialRows) {
  notice("No agent data.");
  row("OS Version", "Debian 12");
  row("Tolmar Service", nullptr);  // a later row without its value cell
  EXPECT_EQ(w.web_get_software_info(),
            "To enable complete software information to be displayed, install Tolmar 2.0 and start it on the OS.");
  EXPECT_EQ(errors(), std::vector<std::string>{"Tolmar is not installed or running"});
  EXPECT_EQ(fb->events.back(), "default content");
}

TEST_F(SoftwareInfoTests, AnEmptyFirstLabelWithAnEmptyNoticeRaisesTheWrappedFailure) {
  notice("");
  row("", "x");
  try {
    w.web_get_software_info();
    FAIL();
  } catch (const marlet::MarletException& e) {
    EXPECT_STREQ(e.what(), "can not get SoftWareInfo");
    ASSERT_TRUE(e.cause());
    EXPECT_THROW(std::rethrow_exception(e.cause()), marlet::MarletException);
  }
  EXPECT_NE(fb->events.back(), "default content") << "the frame stays entered on this path";
}

TEST_F(ConsoleOperationTests, FirmwareVersionRetriesOnceClickingOnlyTheSecondEntry) {
  menu({"menu_INFO"});
  auto& entry = fb->add("id:menu_SYSTEM_INFO");
  entry.on_click = [&] {
    if (entry.clicks == 2) {
      fb->add("id:txtFirmVersion").text = "3.12.05";
      fb->add("id:txtBiosVersion").text = "2.8.1";
      fb->add("id:txtCpldVersion").text = "1.0.7";
    }
  };
  Json versions = w.web_get_firmware_version();
  EXPECT_EQ(versions.dump(), R"({"bmc_version":"3.12.05","bios_version":"2.8.1","cpld_version":"1.0.7"})");
  EXPECT_EQ(std::count(fb->events.begin(), fb->events.end(), "click id:menu_INFO"), 1);
  EXPECT_EQ(std::count(fb->events.begin(), fb->events.end(), "click id:menu_SYSTEM_INFO"), 2);
  EXPECT_EQ(log->texts(), std::vector<std::string>{"[getBmcFirmwareVersion] start..."}) << "the retry is silent";
  // A failure that is no MarletException is not retried.
  fb->fail_everything = true;
  EXPECT_THROW(w.web_get_firmware_version(), webdriver::ConnectionException);
}

TEST_F(ConsoleOperationTests, IdentityReadsComeFromTheirPages) {
  menu({"menu_INFO", "menu_INFO_SUMMARY"});
  fb->add("id:txtSequence").text = "SN01";
  fb->add("id:txtBMCGuid").text = "GUID-1";
  fb->add("id:productAlias").text = "Vorna R2200";
  EXPECT_EQ(w.get_product_sn(), "SN01");
  EXPECT_EQ(w.get_guid(), "GUID-1");
  clock.clear();
  fb->events.clear();
  EXPECT_EQ(w.get_bios_name(), "Vorna R2200");
  EXPECT_EQ(clock.sleeps(), std::vector<double>{6});
  EXPECT_EQ(fb->events.front(), "click id:menu_INFO");
  EXPECT_EQ(fb->events.at(1), "frame id:rightMid") << "the information entry alone";
}

class PowerCapTests : public ConsoleOperationTests {
 protected:
  void SetUp() override {
    ConsoleOperationTests::SetUp();
    menu({"menu_POWER_ENERGY", "menu_POWER", "unitsWatts", "btnDialogOK", "edit", "inputsave"});
    fb->add("id:powercapping_text").tag = "input";
    auto& sw = fb->add("id:setcapping");
    sw.attributes["class"] = "switch off";
    sw.on_click = [this] {
      auto& c = fb->find("id:setcapping")->attributes["class"];
      c = c == "switch off" ? "switch on" : "switch off";
    };
    fb->add("id:LimitValue").text = "500";
    fb->find("id:inputsave")->on_click = [this] { fb->find("id:LimitValue")->text = fb->find("id:powercapping_text")->value; };
  }
  std::vector<std::string> after_units() const {
    auto it = std::find(fb->events.begin(), fb->events.end(), "click id:unitsWatts");
    return {it + 1, fb->events.end()};
  }
};

TEST_F(PowerCapTests, NoValueTouchesNothingAfterTheUnits) {
  for (const Json& value : {Json(0), Json(nullptr)}) {
    fb->events.clear();
    log->lines.clear();
    EXPECT_FALSE(w.web_set_power_cap({{"enbale", true}, {"value", value}}));
    EXPECT_EQ(after_units(), std::vector<std::string>{"default content"});
    EXPECT_EQ(errors(), std::vector<std::string>{"The Set Value can not be None"});
  }
}

TEST_F(PowerCapTests, APartOfTheLimitCountsAsMetAfterSwitchingOn) {
  EXPECT_TRUE(w.web_set_power_cap({{"enbale", true}, {"value", 50}}));
  EXPECT_EQ(after_units(), (std::vector<std::string>{"click id:setcapping", "default content", "click id:btnDialogOK",
                                                     "frame id:rightMid", "default content"}));
  EXPECT_EQ(log->texts().back(), "Power Capping is enabled and Power Cap is 50W");
}

TEST_F(PowerCapTests, TheCapInForceNeedsNoDialogAndANewValueIsEditedAndReadBack) {
  fb->find("id:setcapping")->attributes["class"] = "switch on";
  EXPECT_TRUE(w.web_set_power_cap({{"enbale", true}, {"value", "500"}}));
  EXPECT_EQ(after_units(), std::vector<std::string>{"default content"});
  fb->events.clear();
  EXPECT_TRUE(w.web_set_power_cap({{"enbale", true}, {"value", 420}}));
  EXPECT_EQ(fb->find("id:LimitValue")->text, "420");
  EXPECT_EQ(after_units(), (std::vector<std::string>{"click id:edit", "clear id:powercapping_text",
                                                     "keys id:powercapping_text 420", "click id:inputsave",
                                                     "default content", "click id:btnDialogOK", "frame id:rightMid",
                                                     "default content"}));
  // A save the console does not take is reported by the result, not raised.
  fb->find("id:inputsave")->on_click = nullptr;
  EXPECT_FALSE(w.web_set_power_cap({{"enbale", true}, {"value", 300}}));
  EXPECT_EQ(log->texts().back(), "Set Power Capping Failed");
}

TEST_F(PowerCapTests, WithoutEnbaleTheCapIsSwitchedOffAndEnableIsNotRead) {
  fb->find("id:setcapping")->attributes["class"] = "switch on";
  EXPECT_TRUE(w.web_set_power_cap({{"enable", true}, {"value", 300}}));
  EXPECT_EQ(fb->find("id:setcapping")->attributes["class"], "switch off");
  EXPECT_EQ(log->texts().back(), "Power Capping set disabled successfully");
  EXPECT_TRUE(w.web_set_power_cap(Json::object()));
  EXPECT_EQ(log->texts().back(), "Power Capping is disabled");
}

TEST_F(PowerCapTests, AValueOfTheWrongKindIsRefusedBeforeThePage) {
  for (const Json& bad : {Json::array({1}), Json{{"w", 1}}, Json(true)}) {
    fb->events.clear();
    EXPECT_THROW(w.web_set_power_cap({{"enbale", true}, {"value", bad}}), marlet::TypeError);
    EXPECT_TRUE(fb->events.empty());
  }
}

TEST_F(PowerCapTests, FiguresAreTheNumbersBeforeTheirUnits) {
  fb->add("id:txtCurrentPower").text = "236 W";
  fb->add("id:txtAverPower").text = "251 W";
  fb->add("id:txtPeakPower").text = "412 W";
  fb->add("id:txtTotalPower").text = "1234.5";
  EXPECT_EQ(w.web_get_power_capping_info(Json::object()).dump(),
            R"({"Current Power":"236","Average Power":"251","Peak Power":"412","Total Consumed Power":"1234.5"})");
  EXPECT_EQ(clock.sleeps(), std::vector<double>{10});
}

TEST_F(ConsoleOperationTests, RestorePolicyMovesTheSelectorAndPicksByFlag) {
  menu({"menu_POWER_ENERGY", "npf", "checkRemainsPrevisions", "checkAlwaysOn", "btnSavePowerStrategy"});
  EXPECT_TRUE(w.web_set_poweron_strategy({{"flag", true}}));
  std::string down = std::string("keys id:npf ") + webdriver::Keys::DOWN;
  EXPECT_EQ(std::count(fb->events.begin(), fb->events.end(), down), 3);
  EXPECT_EQ(fb->events.at(fb->events.size() - 3), "click id:checkRemainsPrevisions");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{w.timeout, 3}));
  fb->events.clear();
  w.web_set_poweron_strategy(Json::object());
  EXPECT_EQ(fb->events.at(fb->events.size() - 3), "click id:checkAlwaysOn");
}
