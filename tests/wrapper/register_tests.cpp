// Logins from params alone: the shared start, the forced password change of a first
// login, and the login that reports its failure by its result.
#include "marlet/exception/exceptions.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
using Events = std::vector<std::string>;

namespace {

constexpr const char* kCopyright = "xpath://span[contains(text(),'Copyright')]";

class RegisterTests : public WrapperTest {
 protected:
  // A login page whose button logs in when the typed password is `accepted`; with
  // `first_login` the console then shows its password-change dialog instead of the menu.
  void console(const std::string& accepted = "Pw@1", bool first_login = false) {
    fb->add(kCopyright);
    fb->add("id:iptUserName").tag = "input";
    fb->add("id:iptPassword").tag = "input";
    fb->add("id:btnLogin").on_click = [this, accepted, first_login] {
      if (fb->find("id:iptPassword")->value != accepted) return;
      if (first_login && !changed) {
        fb->add("id:changePWDTips");
        for (const char* id : {"changePwdO", "changePwdN", "changePwdNC"}) fb->add(std::string("id:") + id).tag = "input";
        fb->add("id:modify_pwd_tips");
        fb->add("id:ok_change").on_click = [this] {
          if (!fb->find("id:modify_pwd_tips")->clicks) changed = true;
          else fb->add("id:menu_INFO");
        };
      } else {
        fb->add("id:menu_INFO");
      }
    };
  }
  bool changed = false;

  Events lines(marlet::LogLevel level) const {
    Events out;
    for (const auto& l : log->lines)
      if (l.level == level && l.text.rfind("[screenshot]", 0) != 0) out.push_back(l.text);
    return out;
  }
  static Json params(Json extra = Json::object()) {
    Json p = {{"ipv4", "10.0.0.7"}, {"username", "u1"}, {"password", "Pw@1"}};
    p.update(extra);
    return p;
  }
};

const Events kStartEvents = {"open browser",         "get https://10.0.0.7/login.html", "clear id:iptUserName",
                             "keys id:iptUserName u1", "clear id:iptPassword",          "keys id:iptPassword Pw@1",
                             "click id:btnLogin"};

TEST_F(RegisterTests, EmptyOrNullKeysTakeTheWrappersAttributesAndWithNoneTheKeyIsMissing) {
  console("Admin@9000");
  w.bmc_ip = "10.1.1.5";
  w.username = "admin";
  w.password = "Admin@9000";
  EXPECT_TRUE(w.web_register_web({{"ipv4", ""}, {"username", nullptr}}));
  EXPECT_EQ(fb->events.at(1), "get https://10.1.1.5/login.html");
  EXPECT_EQ(fb->events.at(3), "keys id:iptUserName admin");
  EXPECT_EQ(fb->events.at(5), "keys id:iptPassword Admin@9000");

  vorna::VornaWebWrapper fresh{Json::object(), log, &clock, factory};
  fb->events.clear();
  log->lines.clear();
  EXPECT_THAT([&] { fresh.web_register(params({{"password", ""}})); }, ThrowsMessage<marlet::KeyError>("password"));
  EXPECT_THROW(fresh.web_register(params({{"username", 5}})), marlet::TypeError);
  EXPECT_TRUE(fb->events.empty());
  EXPECT_TRUE(log->lines.empty());
}

TEST_F(RegisterTests, AFirstLoginWithANewPasswordChangesItAndLogsInAgain) {
  console("Pw@1", true);
  fb->find("id:btnLogin")->on_click = [this, first = fb->find("id:btnLogin")->on_click] {
    // After the change the console takes only the new password.
    if (changed && fb->find("id:iptPassword")->value == "New@2") fb->add("id:menu_INFO");
    else first();
  };
  EXPECT_TRUE(w.web_register(params({{"isFirst", true}, {"new_pwd", "New@2"}})));
  Events expected = kStartEvents;
  for (const char* e : {"clear id:changePwdO", "keys id:changePwdO Pw@1", "clear id:changePwdN",
                        "keys id:changePwdN New@2", "clear id:changePwdNC", "keys id:changePwdNC New@2",
                        "click id:ok_change", "clear id:iptUserName", "keys id:iptUserName u1", "clear id:iptPassword",
                        "keys id:iptPassword New@2", "click id:btnLogin"})
    expected.push_back(e);
  EXPECT_EQ(fb->events, expected);
  EXPECT_EQ(clock.sleeps(), std::vector<double>{w.timeout}) << "one page settle after the change";
  EXPECT_TRUE(fb->find("id:menu_INFO"));
  EXPECT_TRUE(std::any_of(log->lines.begin(), log->lines.end(),
                          [](const auto& l) { return l.text.rfind("[screenshot] ", 0) == 0; }))
      << "a picture of the dialog";
  EXPECT_EQ(w.password, nullptr) << "the wrapper's password is not changed";
}

TEST_F(RegisterTests, AnAccountThatIsNotForcedRaisesAWebLoginExceptionAndKeepsTheBrowser) {
  console();
  try {
    w.web_register(params({{"isFirst", true}, {"new_pwd", "New@2"}}));
    FAIL() << "no exception";
  } catch (const marlet::WebLoginException& e) {
    EXPECT_NE(std::string(e.what()).find("changePWDTips"), std::string::npos) << e.what();
    ASSERT_TRUE(e.cause());
    EXPECT_THROW(std::rethrow_exception(e.cause()), webdriver::TimeoutException);
  }
  EXPECT_EQ(lines(marlet::LogLevel::Error), Events{"[login] Login failed, title: Vorna Console"});
  EXPECT_FALSE(w.isClosed());
  EXPECT_FALSE(w.isLogin);
  EXPECT_TRUE(w.current_user.is_null());
}

TEST_F(RegisterTests, RegisterWebReportsAFailedLoginByFalseAfterFiveSeconds) {
  console();
  EXPECT_FALSE(w.web_register_web(params({{"password", "wrong"}})));
  Events warnings = lines(marlet::LogLevel::Warn);
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].rfind("Login Bmc Web Fail! ", 0), 0u) << warnings[0];
  EXPECT_GE(slept(), 5);
  EXPECT_FALSE(w.isLogin);
  EXPECT_TRUE(w.current_user.is_null());
  EXPECT_FALSE(w.isClosed());
}

}  // namespace
