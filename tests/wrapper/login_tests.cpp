#include "marlet/exception/exceptions.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;

using LoginTests = WrapperTest;

TEST_F(LoginTests, EmptyZeroAndNullTakeTheDefaultsAndTheLinesComeInOrder) {
  login_page();
  ASSERT_TRUE(w.web_login({{"bmc", record(Json::object())},  // no "https" entry: port 443
                           {"username", ""},
                           {"password", nullptr},
                           {"web_port", 0},
                           {"web_protocol", ""}}));
  EXPECT_EQ(lines_at(marlet::LogLevel::Info).back(), "[login] Login success, title: Vorna Console");
  EXPECT_EQ(fb->events, (std::vector<std::string>{
                            "open browser",
                            "get https://10.1.1.5:443/login.html",
                            "clear id:iptUserName",
                            "keys id:iptUserName admin",
                            "clear id:iptPassword",
                            "keys id:iptPassword Admin@9000",
                            "click id:btnLogin",
                        }));
  EXPECT_TRUE(w.isLogin);
  EXPECT_EQ(w.current_user, "admin");
}

TEST_F(LoginTests, OverridesChangeTheLoginButNotTheRecordAttributes) {
  login_page();
  w.web_login({{"bmc", record()},
               {"ip_address", "192.0.2.9"},
               {"web_port", 9443},
               {"username", "operator"},
               {"password", "Op@12345"}});
  EXPECT_EQ(fb->events.at(1), "get https://192.0.2.9:9443/login.html");
  EXPECT_EQ(fb->events.at(3), "keys id:iptUserName operator");
  EXPECT_EQ(w.bmc_ip, "10.1.1.5");
  EXPECT_EQ(w.username, "admin");
  EXPECT_EQ(w.password, "Admin@9000");
  EXPECT_EQ(w.current_user, "operator");
}

TEST_F(LoginTests, SettlesTenAndThirtyThenWaitsFiveSecondsForTheTipsDialog) {
  login_page();
  w.web_login({{"bmc", record()}});
  auto sleeps = clock.sleeps();
  ASSERT_GE(sleeps.size(), 3u);
  EXPECT_EQ(sleeps[0], 10);
  EXPECT_EQ(sleeps[1], 30);
  double dialog_wait = 0;
  for (size_t i = 2; i < sleeps.size(); ++i) {
    EXPECT_EQ(sleeps[i], 1) << "the dialog wait polls every second";
    dialog_wait += sleeps[i];
  }
  EXPECT_GE(dialog_wait, 5);
  EXPECT_LE(dialog_wait, 6);
  auto warns = lines_at(marlet::LogLevel::Warn);
  ASSERT_EQ(warns.size(), 2u);
  EXPECT_EQ(warns[1], "No need to update password.");
}

TEST_F(LoginTests, ThePasswordTipsDialogIsDismissed) {
  login_page();
  fb->add("id:loginAutherP");
  fb->add("id:modify_pwd_tips");
  fb->add("id:ok_change");
  w.web_login({{"bmc", record()}});
  auto n = fb->events.size();
  EXPECT_EQ(fb->events[n - 2], "click id:modify_pwd_tips");
  EXPECT_EQ(fb->events[n - 1], "click id:ok_change");
  for (const auto& l : log->lines) EXPECT_NE(l.level, marlet::LogLevel::Warn) << l.text;
}

TEST_F(LoginTests, WrongCredentialsLeaveAPictureCloseTheBrowserAndRaiseWithTheCause) {
  login_page(/*credentials_ok=*/false);
  try {
    w.web_login({{"bmc", record()}});
    FAIL() << "no WebLoginException";
  } catch (const marlet::WebLoginException& e) {
    EXPECT_EQ(std::string(e.what()).rfind("Login Bmc Web Fail!", 0), 0u) << e.what();
    ASSERT_TRUE(e.cause());
    EXPECT_THROW(std::rethrow_exception(e.cause()), webdriver::TimeoutException);
  }
  bool pictured = false;
  for (const auto& l : log->lines) pictured |= l.text.rfind("[screenshot] ", 0) == 0 && l.text.find("web_login") != std::string::npos;
  EXPECT_TRUE(pictured) << "the page that refused the login is kept";
  EXPECT_TRUE(w.isClosed());
  EXPECT_EQ(fb->sessions_ended, 1);
  EXPECT_FALSE(w.isLogin);
  EXPECT_TRUE(w.current_user.is_null());
  EXPECT_EQ(w.bmc_ip, "10.1.1.5");  // read from the record before anything else
}

TEST_F(LoginTests, ASecondLoginOnAnOpenBrowserNeitherOpensNorNavigatesAndFailsAtTheUserField) {
  logged_in();
  EXPECT_THROW(w.web_login({{"bmc", record()}}), webdriver::TimeoutException);
  EXPECT_EQ(factory->opened, 1);
  for (const auto& e : fb->events) EXPECT_EQ(e.rfind("get ", 0), std::string::npos) << e;
  EXPECT_FALSE(w.isClosed()) << "the browser stays open";
  EXPECT_EQ(log->texts().back(), "[login] port: 443") << "no url line without navigation";
}

TEST_F(LoginTests, BadInputFailsBeforeAnyBrowserStarts) {
  EXPECT_THROW(w.web_login({{"username", "admin"}}), marlet::KeyError);
  EXPECT_THROW(w.web_login({{"bmc", {{"username", "a"}, {"password", "b"}}}}), marlet::AttributeError);
  EXPECT_THROW(w.web_login({{"bmc", record()}, {"web_port", 65536}}), marlet::ValueError);
  EXPECT_EQ(factory->opened, 0);
  EXPECT_TRUE(log->lines.empty());
  EXPECT_TRUE(w.bmc_ip.is_null());
}

TEST_F(LoginTests, LogoutClicksByScriptWaitsForTheLoginFormAndClearsTheLogin) {
  logged_in();
  auto& login_main = fb->add("class:loginMain");
  login_main.displayed = false;
  fb->add(R"(xpath://span[text()="Log Out"])").on_click = [&] { login_main.displayed = true; };
  w.web_logout();
  EXPECT_EQ(clock.sleeps().front(), 5);
  EXPECT_EQ(fb->events, (std::vector<std::string>{R"(script click xpath://span[text()="Log Out"])"}));
  EXPECT_FALSE(w.isLogin);
  EXPECT_FALSE(w.isClosed()) << "logout leaves the browser on the login page";
  auto lines = lines_at(marlet::LogLevel::Info);
  EXPECT_EQ(lines.front(), "[logout] Logout BMC Web ...");
  EXPECT_EQ(lines.back(), "[logout] Logout success, title: Vorna Console");
}

TEST_F(LoginTests, CloseKillAndSwitchBack) {
  logged_in();
  fb->windows = {"w-1", "w-2"};
  w.web_switch_page_logout();
  EXPECT_EQ(fb->events, (std::vector<std::string>{"window w-1", "default content"}));
  w.web_close();
  EXPECT_TRUE(w.isClosed());
  EXPECT_TRUE(w.isLogin) << "closing keeps isLogin";
  EXPECT_THROW(w.web_switch_page_logout(), marlet::MarletException);
}

TEST_F(LoginTests, FailuresBeforeTheLoginCheckPropagateUnchangedWithTheBrowserOpen) {
  // No login page at all: the 20-second wait for the user field fails as it is.
  EXPECT_THROW(w.web_login({{"bmc", record()}}), webdriver::TimeoutException);
  EXPECT_FALSE(w.isClosed());
  EXPECT_EQ(fb->sessions_ended, 0);

  // The tips dialog shows but its controls are missing: their lookup failure propagates,
  // not a WebLoginException, and nothing is marked logged in.
  w.web_close();
  login_page();
  fb->add("id:loginAutherP");
  try {
    w.web_login({{"bmc", record()}});
    FAIL() << "no failure";
  } catch (const marlet::WebLoginException&) {
    FAIL() << "the dismissal stands outside the catch";
  } catch (const marlet::MarletException& e) {
    EXPECT_NE(std::string(e.what()).find("modify_pwd_tips"), std::string::npos) << e.what();
  }
  EXPECT_FALSE(w.isClosed());
  EXPECT_FALSE(w.isLogin);
}
