// Service settings: the LDAP form, the device location, the time zone, the SNMP engine id,
// the web time-out and the disk chart, against the scripted fake console.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"
#include "webdriver/keys.h"

using marlet::Json;
using Events = std::vector<std::string>;

namespace {

const std::string kStateXpath = R"(xpath://*[@id="timezoneState"])";
const std::string kCityXpath = R"(xpath://*[@id="timezoneCity"])";

class SettingsTests : public WrapperTest {
 protected:
  void SetUp() override { logged_in(); }
  void input(const std::string& key) { fb->add(key).tag = "input"; }
};

// ---------------------------------------------------------------- LDAP

class LdapTests : public SettingsTests {
 protected:
  void SetUp() override {
    SettingsTests::SetUp();
    menu({"menu_CONFIGURATION", "menu_LDAP_CONFIG", "saveLdapSet"});
    for (const char* tab : {"1", "2", "3"}) fb->add(std::string(R"(xpath://*[@id="tab_head"]/li[)") + tab + "]/a");
    for (const char* group : {"ldap_cert_enable", "ldap_cert_verify_level"})
      for (const char* label : {"1", "2"})
        fb->add(std::string(R"(xpath://*[@id=")") + group + "\"]/label[" + label + "]");
    for (const char* id : {"LdapIp", "Ldapsport", "ldapdomainName", "ldap_bind_dn", "ldap_dn_pwd",
                           "user_group_folder_hidden", "ldap_pwd"})
      input(std::string("id:") + id);
  }
  // The events of filling one field: cleared, then typed.
  static Events filled(const std::string& id, const std::string& value) {
    return {"clear id:" + id, "keys id:" + id + " " + value};
  }
  static Events join(std::initializer_list<Events> parts) {
    Events out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
  }
};

TEST_F(LdapTests, EnterSelectsTheControllersTabAndStaysInTheFrame) {
  enter_ldap_config(w, "1");
  EXPECT_EQ(fb->events, (Events{"click id:menu_CONFIGURATION", "click id:menu_LDAP_CONFIG", "frame id:rightMid",
                                R"(click xpath://*[@id="tab_head"]/li[1]/a)"}));
  reset();
  enter_ldap_config(w, 2);  // a whole number goes into the locator as its text
  EXPECT_EQ(fb->events.back(), R"(click xpath://*[@id="tab_head"]/li[2]/a)");
  EXPECT_TRUE(clock.sleeps().empty());
  EXPECT_TRUE(log->lines.empty());
  // A tab that is not there fails inside the frame, where it looked.
  reset();
  EXPECT_THROW(enter_ldap_config(w, "7"), marlet::MarletException);
  EXPECT_EQ(fb->events.back(), "frame id:rightMid");
  // Values that name no tab are refused before the menu is touched.
  reset();
  EXPECT_THAT([&] { enter_ldap_config(w, 1.5); }, ThrowsMessage<marlet::TypeError>(HasSubstr("ldap_controller_id")));
  EXPECT_TRUE(fb->events.empty());
}

TEST_F(LdapTests, TheFormIsFilledInItsFixedOrderAndSavedWithNoLogLine) {
  config_ldap_service(w, "10.2.0.8", "corp.example", "User@pw1", "2", "2", "3269", "cn=admin,dc=corp",
                        "Bind@pw2", "ou=people");
  EXPECT_EQ(fb->events, join({{R"(click xpath://*[@id="ldap_cert_enable"]/label[2])",
                               R"(click xpath://*[@id="ldap_cert_verify_level"]/label[2])"},
                              filled("LdapIp", "10.2.0.8"), filled("Ldapsport", "3269"),
                              filled("ldapdomainName", "corp.example"), filled("ldap_bind_dn", "cn=admin,dc=corp"),
                              filled("ldap_dn_pwd", "Bind@pw2"), filled("user_group_folder_hidden", "ou=people"),
                              filled("ldap_pwd", "User@pw1"), {"click id:saveLdapSet"}}));
  // No password reaches the log, and the form is not left.
  EXPECT_TRUE(log->lines.empty());
  EXPECT_TRUE(clock.sleeps().empty());
}

TEST_F(LdapTests, DefaultsAndOptionalFieldsLeftAsThePageShowsThem) {
  fb->find("id:ldap_bind_dn")->value = "cn=kept";
  // Null and empty optional fields are both left alone; the user's password is typed
  // last, even when it is empty.
  config_ldap_service(w, "10.2.0.8", "corp.example", "", "1", "1", "636", "", nullptr, "");
  EXPECT_EQ(fb->events, join({{R"(click xpath://*[@id="ldap_cert_enable"]/label[1])",
                               R"(click xpath://*[@id="ldap_cert_verify_level"]/label[1])"},
                              filled("LdapIp", "10.2.0.8"), filled("Ldapsport", "636"),
                              filled("ldapdomainName", "corp.example"), filled("ldap_pwd", ""),
                              {"click id:saveLdapSet"}}));
  EXPECT_EQ(fb->find("id:ldap_bind_dn")->value, "cn=kept");
}

// ---------------------------------------------------------------- system settings page

class SystemSettingsTests : public SettingsTests {
 protected:
  void SetUp() override {
    SettingsTests::SetUp();
    menu({"menu_CONFIGURATION", "menu_SYSTEM_ENTRY", "btnLongPassword"});
    input(R"(xpath://*[@id="location_info"])");
    fb->add("id:location_info_hidden").attributes["value"] = "old place";
    // The console copies the typed location into its saved field on a save; one that
    // turns saves down (`takes_saves` false) leaves it.
    fb->add("id:saveDeviceLocation").on_click = [this] {
      if (takes_saves)
        fb->find("id:location_info_hidden")->attributes["value"] = fb->find(R"(xpath://*[@id="location_info"])")->value;
    };
  }
  bool takes_saves = true;
};

TEST_F(SystemSettingsTests, ALocationIsTypedSavedTwiceAndReadBack) {
  EXPECT_TRUE(web_set_system_config(w, {{"location", "Lab 3 Rack 9"}}));
  EXPECT_EQ(fb->events, (Events{"click id:menu_CONFIGURATION", "click id:menu_SYSTEM_ENTRY", "frame id:rightMid",
                                std::string("keys id:btnLongPassword ") + webdriver::Keys::PAGE_DOWN,
                                R"(clear xpath://*[@id="location_info"])",
                                R"(keys xpath://*[@id="location_info"] Lab 3 Rack 9)", "click id:saveDeviceLocation",
                                "click id:saveDeviceLocation", "default content"}));
  // A page settle after the menu, one after typing, and 3 s after leaving the frame.
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{w.timeout, w.timeout, 3}));
  EXPECT_EQ(log->texts(), (Events{"[setSystemConfig] set system config.", "[setSystemConfig] completion."}));
}

TEST_F(SystemSettingsTests, NoLocationWritesXianAndAnUnsavedOneIsFalse) {
  EXPECT_TRUE(web_set_system_config(w, {{"location", nullptr}}));
  EXPECT_EQ(fb->find(R"(xpath://*[@id="location_info"])")->value, "xian");
  takes_saves = false;
  reset();
  EXPECT_FALSE(web_set_system_config(w, {{"location", "elsewhere"}}));
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(log->texts(), Events{"[setSystemConfig] set system config."});
}

TEST_F(SystemSettingsTests, ReadsOfLocationEngineIdAndTimeOut) {
  fb->find(R"(xpath://*[@id="location_info"])")->attributes["value"] = "Lab 3";
  EXPECT_EQ(web_get_device_location_info(w), "Lab 3");
  EXPECT_EQ(fb->events.back(), "default content");

  reset();
  fb->add("id:snmp_engine_id").text = "0x80001f8803a4bf01236c92";
  Json id = get_snmp_engine_id(w);
  EXPECT_EQ(id.dump(), R"({"value":"0x80001f8803a4bf01236c92"})");
  EXPECT_EQ(log->texts(), (Events{"[getSnmpEngineID] start...", "[getSnmpEngineID] completion."}));
  EXPECT_EQ(fb->events.back(), "frame id:rightMid") << "the engine id is read and the frame kept";

  reset();
  fb->add("id:WebServerTimeOut_hidden").attributes["value"] = "30";
  EXPECT_EQ(web_get_web_timeout(w), Json("30"));  // unconverted text
  EXPECT_EQ(fb->events.back(), "default content");
}

// ---------------------------------------------------------------- time zone

// The network page's time zone section: choosing a region's option fills the city list;
// the save shows a notice in the top document whose class says how the save went.
class TimeZoneTests : public SettingsTests {
 protected:
  void SetUp() override {
    SettingsTests::SetUp();
    menu({"menu_CONFIGURATION", "menu_NETWORK", "timezoneState"});
    fb->add(kStateXpath).tag = "select";
    fb->find("id:timezoneState")->attributes["value"] = "Asia";
    fb->add(kCityXpath).tag = "select";
    auto& cities = fb->add("id:timezoneCity");
    cities.text = "Shanghai (GMT+08:00)\nTokyo (GMT+09:00)";
    cities.attributes["value"] = "Shanghai";
    option(kStateXpath, "Europe", [this] { fb->find("id:timezoneCity")->text = "Berlin (GMT+01:00)\nLondon (GMT+00:00)"; });
    option(kCityXpath, "London (GMT+00:00)", [] {});
    fb->add(R"(xpath://*[@id="saveTimeZoneSet"])").on_click = [this] {
      auto& notice = fb->add("id:OperateSucc");
      notice.attributes["class"] = saved_class;
    };
  }
  void option(const std::string& select, const std::string& text, std::function<void()> chosen) {
    auto& o = fb->add(select + " xpath:.//option[normalize-space(.) = \"" + text + "\"]");
    o.selected = false;
    o.on_click = [&o, chosen] {
      o.selected = true;
      chosen();
    };
  }
  std::string saved_class = "operatecss operatecss4";
};

TEST_F(TimeZoneTests, AQueryWithoutRegionReadsTheCurrentSetting) {
  Json zone = bmc_time_zone(w, "GET", nullptr, nullptr);
  EXPECT_EQ(zone.dump(), R"({"state":"Asia","city":"Shanghai"})");
  EXPECT_EQ(log->texts(), (Events{"[bmcTimeZone] start...", "[bmcTimeZone] get...",
                                  "time zone:{'state': 'Asia', 'city': 'Shanghai'}", "[bmcTimeZone] completion."}));
  EXPECT_EQ(fb->events, (Events{"click id:menu_CONFIGURATION", "click id:menu_NETWORK", "frame id:rightMid",
                                "default content"}));
}

TEST_F(TimeZoneTests, AQueryWithARegionListsItsCitiesWithoutSaving) {
  Json cities = bmc_time_zone(w, "GET", "Europe", nullptr);
  EXPECT_EQ(cities, (Json{"Berlin (GMT+01:00)", "London (GMT+00:00)"}));
  EXPECT_TRUE(has(std::string("click ") + kStateXpath + " xpath:.//option[normalize-space(.) = \"Europe\"]"));
  EXPECT_FALSE(has(R"(click xpath://*[@id="saveTimeZoneSet"])"));
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(log->texts()[2], "time zone:['Berlin (GMT+01:00)', 'London (GMT+00:00)']");
}

TEST_F(TimeZoneTests, ASaveReportsByItsNoticeClass) {
  EXPECT_TRUE(bmc_time_zone(w, "SET", "Europe", "London (GMT+00:00)").is_null());
  auto click_state = std::find(fb->events.begin(), fb->events.end(), "click id:timezoneState");
  ASSERT_NE(click_state, fb->events.end());
  EXPECT_EQ(Events(click_state, fb->events.end()),
            (Events{"click id:timezoneState", std::string("click ") + kStateXpath,
                    std::string("click ") + kStateXpath + " xpath:.//option[normalize-space(.) = \"Europe\"]",
                    std::string("click ") + kCityXpath,
                    std::string("click ") + kCityXpath + " xpath:.//option[normalize-space(.) = \"London (GMT+00:00)\"]",
                    R"(click xpath://*[@id="saveTimeZoneSet"])", "default content"}));
  EXPECT_EQ(log->texts(),
            (Events{"[bmcTimeZone] start...", "[bmcTimeZone] set...", "[bmcTimeZone] completion."}));

  // A notice without the success class is a refused save, after the completion line.
  saved_class = "operatecss operatecss3";
  reset();
  EXPECT_THAT([&] { bmc_time_zone(w, "SET", "Europe", "London (GMT+00:00)"); },
              ThrowsMessage<marlet::WebDisplayException>("set time zone failed"));
  EXPECT_EQ(log->texts().back(), "[bmcTimeZone] completion.");
}

TEST_F(TimeZoneTests, ANoticeThatNeverShowsFailsAfterTwentySeconds) {
  fb->find(R"(xpath://*[@id="saveTimeZoneSet"])")->on_click = [] {};
  EXPECT_THROW(bmc_time_zone(w, "SET", "Europe", "London (GMT+00:00)"), webdriver::TimeoutException);
  EXPECT_NEAR(slept(), 20, 1.01);
}

// ---------------------------------------------------------------- disk usage

class DiskUsageTests : public SettingsTests {
 protected:
  void SetUp() override {
    SettingsTests::SetUp();
    menu({"menu_REAL_TIME_MONITOR"});
    fb->add(R"(xpath://*[@id="disk_info"]/div[1]/a)");
    fb->add(R"(xpath://*[@id="diskChart"])");
  }
  void partition(const std::string& name, const std::string& usage) {
    auto& row = fb->add(R"(xpath://*[@id="diskChart"] xpath:./div)", true);
    fb->add("@" + row.uuid + " xpath:./span[1]").attributes["innerHTML"] = name;
    fb->add("@" + row.uuid + " xpath:./div[1]/div/div[2]").attributes["innerHTML"] = usage;
  }
};

TEST_F(DiskUsageTests, PartitionsInPageOrderKeepTheirPercentSign) {
  partition("/dev/sdb1", "0%");
  partition("/dev/sda1", "5%");
  partition("/dev/mapper/vg0-root", "62%");
  Json usage = web_get_disk_usage_percent(w);
  EXPECT_EQ(usage.dump(), R"({"/dev/sdb1":"0%","/dev/sda1":"5%","/dev/mapper/vg0-root":"62%"})");
  EXPECT_EQ(fb->events, (Events{"click id:menu_REAL_TIME_MONITOR", "frame id:rightMid",
                                R"(click xpath://*[@id="disk_info"]/div[1]/a)"}));
  EXPECT_EQ(log->texts(), (Events{"[getDiskUsagePercent] start...", "[getDiskUsagePercent] completion."}));
}

}  // namespace
