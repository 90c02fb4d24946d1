#include "tests/wrapper/wrapper_fixture.h"

using marlet::Json;

TEST(ConstructionTests, StartsWithTheInitialAttributesAndNoBrowser) {
  vorna::VornaWebWrapper w(Json{{"host", "h"}, {"device", "d"}}, std::make_shared<marlet::RecordingLogger>());
  EXPECT_FALSE(w.isLogin);
  for (const Json* v : {&w.bmc_ip, &w.username, &w.password, &w.current_user})
    EXPECT_TRUE(v->is_null());
  EXPECT_TRUE(w.isClosed());
  EXPECT_EQ(w.timeout, 10);
  EXPECT_EQ(vorna::VornaWebWrapper::modules(),
            std::vector<std::string>{"marlet.wrapper.gui.web.vorna.vornav1.function.home"});
}

TEST(ConstructionTests, RefusesParamsThatAreNoMapAndBrowserChoicesThatCannotWork) {
  EXPECT_THROW(vorna::VornaWebWrapper(Json::array()), marlet::TypeError);
  EXPECT_THROW(vorna::VornaWebWrapper(Json{{"browser", "firefox"}}), marlet::TypeError);
  for (const char* bad : {R"({"name": "opera"})", R"({"name": "chromium"})",  // not driven through marionette
                          R"({"driver": "remote"})", R"({"prefs": {"a.b": 1.5}})"})
    EXPECT_THROW(vorna::VornaWebWrapper(Json{{"browser", Json::parse(bad)}}), marlet::ValueError) << bad;
  vorna::VornaWebWrapper ok(Json{{"browser", {{"name", "chromium"}, {"driver", "chromedriver"}, {"headless", false}}}});
  EXPECT_EQ(ok.config().launch.driver, "chromedriver");
  EXPECT_FALSE(ok.config().launch.headless);
  EXPECT_THROW(vorna::VornaWebWrapper(Json{{"browser", {{"prefs", "a.b"}}}}), marlet::TypeError);
  vorna::VornaWebWrapper tuned(Json{{"browser", {{"prepared_profile", false}, {"prefs", {{"dom.ipc.processCount", 2}}}}}});
  EXPECT_FALSE(tuned.config().launch.prepared_profile);
  EXPECT_EQ(tuned.config().launch.prefs, (Json{{"dom.ipc.processCount", 2}}));
  webdriver::LaunchOptions with_prefs = tuned.config().launch;
  with_prefs.download_dir = "/tmp/d";
  std::string user_js = webdriver::firefox_prefs(with_prefs);
  EXPECT_EQ(user_js.substr(user_js.rfind("user_pref(\"browser.download.dir\"")),
            "user_pref(\"browser.download.dir\", \"/tmp/d\");\nuser_pref(\"dom.ipc.processCount\", 2);\n")
      << "the harness's own come last, so they win";
}
