// Serial number, GUID, BIOS name, firmware versions and the agent's software list.
#include <stdexcept>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;

namespace {

constexpr const char* kRows = R"(xpath://*[@id="SysSoftTrue"]/div[1]/table/tbody/tr)";
constexpr const char* kNotice = R"(xpath://*[@id="SysSoftFalse"]/span[2])";

class IdentityTests : public WrapperTest {
 protected:
  void SetUp() override { logged_in(); }
};

TEST_F(IdentityTests, SummaryFieldsAndTheOverviewsBiosName) {
  menu({"menu_INFO", "menu_INFO_SUMMARY"});
  fb->add("id:txtSequence").text = "VRN2200A0001";
  fb->add("id:txtBMCGuid").text = "4C4C4544-0042";
  fb->add("id:productAlias").text = "Vorna R2200";
  EXPECT_EQ(get_product_sn(w), "VRN2200A0001");
  EXPECT_EQ(get_guid(w), "4C4C4544-0042");
  EXPECT_TRUE(clock.sleeps().empty()) << "the summary page is read with no settle";
  fb->events.clear();
  EXPECT_EQ(get_bios_name(w), "Vorna R2200");
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_INFO", "frame id:rightMid", "default content"}))
      << "the information entry alone opens the overview";
  EXPECT_EQ(clock.sleeps(), std::vector<double>{6});
  EXPECT_EQ(log->texts(), (std::vector<std::string>{"[getProductSN] start...", "[getGUID] start...",
                                                    "[getBiosName] start..."}));
}

class FirmwareVersionTests : public IdentityTests {
 protected:
  void SetUp() override {
    IdentityTests::SetUp();
    menu({"menu_INFO", "menu_SYSTEM_INFO"});
  }
  void versions_on_page() {
    fb->add("id:txtFirmVersion").text = "3.12.05";
    fb->add("id:txtBiosVersion").text = " BIOS 2.8.1 ";  // read as the page gives it
    fb->add("id:txtCpldVersion").text = "1.0.7";
  }
};

TEST_F(FirmwareVersionTests, TheSecondAttemptIsSilentAndClicksOnlyTheSystemEntry) {
  auto* entry = fb->find("id:menu_SYSTEM_INFO");
  std::vector<std::vector<double>> at_click;  // the settles so far, at each click of the entry
  entry->on_click = [this, entry, &at_click] {
    at_click.push_back(clock.sleeps());
    if (entry->clicks == 2) versions_on_page();  // the page loads only the second time
  };
  Json versions = web_get_firmware_version(w);
  EXPECT_EQ(versions.dump(), R"({"bmc_version":"3.12.05","bios_version":" BIOS 2.8.1 ","cpld_version":"1.0.7"})");
  EXPECT_EQ(count("click id:menu_INFO"), 1);
  ASSERT_EQ(at_click.size(), 2u);
  EXPECT_EQ(at_click[0], std::vector<double>{5});
  // After the second click: the frame and one settle of 6, nothing in between.
  auto expected = at_click[1];
  expected.push_back(6);
  EXPECT_EQ(clock.sleeps(), expected);
  EXPECT_EQ(std::vector<std::string>(fb->events.end() - 4, fb->events.end()),
            (std::vector<std::string>{"default content", "click id:menu_SYSTEM_INFO", "frame id:rightMid",
                                      "default content"}));
  EXPECT_EQ(log->texts(), std::vector<std::string>{"[getBmcFirmwareVersion] start..."});
}

class SoftwareInfoTests : public IdentityTests {
 protected:
  void SetUp() override {
    IdentityTests::SetUp();
    menu({"menu_INFO", "menu_SYSTEM_INFO", "tabSystem"});
  }
  void row(const char* label, const char* value) {
    auto& r = fb->add(kRows, /*also=*/true);
    fb->add("@" + r.uuid + " xpath:./td[1]/span").text = label;
    if (value) fb->add("@" + r.uuid + " xpath:./td[2]/span").text = value;
  }
  void notice(const char* text) { fb->add(kNotice).text = text; }
  std::vector<std::string> errors() const { return lines_at(marlet::LogLevel::Error); }
};

TEST_F(SoftwareInfoTests, AReportingAgentGivesAMapInTableOrder) {
  row("Computer Name", "bench-01");
  row("OS Version", " Debian 12 ");
  row("Computer Name", "bench-02");  // a repeated label replaces the earlier value in place
  Json info = web_get_software_info(w);
  EXPECT_EQ(info.dump(), R"({"Computer Name":"bench-02","OS Version":" Debian 12 "})");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{5, 5, 5}));
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_INFO", "click id:menu_SYSTEM_INFO",
                                                  "frame id:rightMid", "click id:tabSystem", "default content"}));
  EXPECT_TRUE(errors().empty());
}

TEST_F(SoftwareInfoTests, AnEmptyNoticeRaisesTheFirstFailureWrapped) {
  notice("");
  row("", "x");
  try {
    web_get_software_info(w);
    FAIL() << "an empty notice must raise";
  } catch (const marlet::MarletException& e) {
    EXPECT_STREQ(e.what(), "can not get SoftWareInfo");
    ASSERT_TRUE(e.cause());
    EXPECT_THROW(std::rethrow_exception(e.cause()), marlet::MarletException);
  }
  EXPECT_EQ(count("default content"), 0) << "the frame stays entered on this path";
}

}  // namespace
