// A wrapper on the fake browser, a fake clock and a recording logger.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "marlet/log/logger.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "tests/wrapper/fake_browser.h"

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

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
    reset();
  }
  // Forgets what the browser, the log and the clock recorded so far.
  void reset() {
    fb->events.clear();
    log->lines.clear();
    clock.clear();
  }
  // Elements "id:<id>" for each id, as menu entries and plain controls.
  void menu(std::initializer_list<const char*> ids) {
    for (auto id : ids) fb->add(std::string("id:") + id);
  }
  bool has(const std::string& event) const { return count(event) > 0; }
  long count(const std::string& event) const { return std::count(fb->events.begin(), fb->events.end(), event); }
  // The texts of the log lines at `level`.
  std::vector<std::string> lines_at(marlet::LogLevel level) const {
    std::vector<std::string> out;
    for (const auto& l : log->lines)
      if (l.level == level) out.push_back(l.text);
    return out;
  }

  double slept() const {
    auto s = clock.sleeps();
    return std::accumulate(s.begin(), s.end(), 0.0);
  }
};
