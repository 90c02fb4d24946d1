// A wrapper on the fake browser, a fake clock and a recording logger.
#pragma once

#include <gtest/gtest.h>

#include <numeric>

#include "marlet/log/logger.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "tests/wrapper/fake_browser.h"

class WrapperTest : public ::testing::Test {
 protected:
  std::shared_ptr<fake::FakeBrowser> fb = std::make_shared<fake::FakeBrowser>();
  std::shared_ptr<fake::FakeFactory> factory = std::make_shared<fake::FakeFactory>(fb);
  std::shared_ptr<marlet::RecordingLogger> log = std::make_shared<marlet::RecordingLogger>();
  marlet::FakeClock clock;
  vorna::VornaWebWrapper w{marlet::Json::object(), log, &clock, factory};

  // The login page of a console whose login button logs in (the menu appears).
  void login_page(bool credentials_ok = true) {
    fb->add("id:iptUserName").tag = "input";
    fb->add("id:iptPassword").tag = "input";
    fb->add("id:btnLogin").on_click = [this, credentials_ok] {
      fb->remove("id:iptUserName");
      if (credentials_ok) fb->add("id:menu_INFO");
    };
  }

  static marlet::Json record(marlet::Json extra_port = {{"https", 443}}) {
    return {{"local_ip", "10.1.1.5"}, {"username", "admin"}, {"password", "Admin@9000"}, {"extra_port", extra_port}};
  }

  // Opens the browser and logs in through the fake console.
  void logged_in() {
    login_page();
    ASSERT_TRUE(w.web_login({{"bmc", record()}}));
    fb->events.clear();
    log->lines.clear();
    clock.clear();
  }

  double slept() const {
    auto s = clock.sleeps();
    return std::accumulate(s.begin(), s.end(), 0.0);
  }
};
