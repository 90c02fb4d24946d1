// The management IPv4 record of the network page: reading it, and changing it.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "tests/wrapper/wrapper_fixture.h"

using marlet::Json;
using Events = std::vector<std::string>;

namespace {

class ManagementIpv4Tests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    menu({"menu_CONFIGURATION", "menu_NETWORK", "saveIPV4Set", "btnDialogOK"});
    for (auto [id, value] : {std::pair{"ipv4_ip", "10.1.1.5"}, {"ipv4_mask", "255.255.255.0"},
                             {"ipv4_gateway", "10.1.1.254"}}) {
      auto& field = fb->add(std::string("id:") + id);
      field.tag = "input";
      field.attributes["value"] = value;
    }
  }
  static Json record(const char* address = "10.1.1.6") {
    return {{"ipv4_address", address}, {"ipv4_mask", "255.255.255.0"}, {"ipv4_gateway", "10.1.1.254"}};
  }
};

TEST_F(ManagementIpv4Tests, TheRecordIsTheThreeFieldsInOrderAfterAPageSettle) {
  w.timeout = 7;
  Json got = get_manage_ipv4(w);
  EXPECT_EQ(got.dump(), R"({"ipv4_address":"10.1.1.5","ipv4_mask":"255.255.255.0","ipv4_gateway":"10.1.1.254"})");
  EXPECT_EQ(fb->events, (Events{"click id:menu_CONFIGURATION", "click id:menu_NETWORK", "frame id:rightMid",
                                "default content"}));
  EXPECT_EQ(clock.sleeps(), std::vector<double>{7});
  EXPECT_EQ(log->texts(), Events{"[getManageIpv4] get manage ipv4 address"});
  EXPECT_EQ(get_bmc_ip_addr(w), got);

  // A field the page leaves empty is read as it is; one without a value is null.
  fb->find("id:ipv4_gateway")->attributes["value"] = "";
  fb->find("id:ipv4_mask")->attributes.erase("value");
  Json partial = get_manage_ipv4(w);
  EXPECT_EQ(partial["ipv4_gateway"], "");
  EXPECT_TRUE(partial["ipv4_mask"].is_null());
}

TEST_F(ManagementIpv4Tests, AChangeFillsAllThreeSavesConfirmsAndEndsTheBrowser) {
  fb->find("id:saveIPV4Set")->on_click = [this] { fb->events.push_back("(dialog raised)"); };
  EXPECT_TRUE(mod_bmc_ip_addr(w, record()));
  EXPECT_EQ(fb->events, (Events{"click id:menu_CONFIGURATION", "click id:menu_NETWORK", "frame id:rightMid",
                                "clear id:ipv4_ip", "keys id:ipv4_ip 10.1.1.6", "clear id:ipv4_mask",
                                "keys id:ipv4_mask 255.255.255.0", "clear id:ipv4_gateway",
                                "keys id:ipv4_gateway 10.1.1.254", "click id:saveIPV4Set", "(dialog raised)",
                                "default content", "click id:btnDialogOK"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{10, 3, 3}));
  EXPECT_EQ(log->texts(),
            Events{"[modManageIpv4] ipv4_address:10.1.1.6 ipv4_mask:255.255.255.0 ipv4_gateway:10.1.1.254"});
  EXPECT_TRUE(w.isClosed());
  EXPECT_EQ(fb->sessions_ended, 1);
  EXPECT_TRUE(w.isLogin) << "the login flag keeps its value";
  EXPECT_TRUE(w.bmc_ip == "10.1.1.5") << "the wrapper keeps the old address";
}

TEST_F(ManagementIpv4Tests, ABadRecordIsRefusedBeforeTheLogLineAndThePage) {
  auto refused_untouched = [this](const Json& params, auto kind, const std::string& what) {
    reset();
    EXPECT_THAT([&] { _mod_manage_ipv4(w, params); }, ThrowsMessage<decltype(kind)>(what)) << params.dump();
    EXPECT_TRUE(fb->events.empty()) << params.dump();
    EXPECT_TRUE(log->lines.empty()) << params.dump();
    EXPECT_FALSE(w.isClosed());
  };
  Json no_gateway = record();
  no_gateway.erase("ipv4_gateway");
  refused_untouched(no_gateway, marlet::KeyError(""), "ipv4_gateway");
  Json numeric = record();
  numeric["ipv4_mask"] = 24;
  refused_untouched(numeric, marlet::TypeError(""), "_mod_manage_ipv4(): ipv4_mask must be text, not int");
}

}  // namespace
