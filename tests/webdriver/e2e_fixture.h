// One real browser per test suite, shared by its tests, and the fixture pages served on
// 127.0.0.1. The suites are typed over the ways we reach a browser, so every test runs
// against Firefox through its own remote protocol and Chromium through chromedriver.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "tests/webdriver/fixture_server.h"
#include "webdriver/webdriver.h"

namespace webdriver::testing {

struct FirefoxMarionette {
  static LaunchOptions options() {
    LaunchOptions o;
    o.startup_timeout = std::chrono::seconds(60);
    o.command_timeout = std::chrono::seconds(60);
    return o;
  }
};

struct ChromiumDriver {
  static LaunchOptions options() {
    LaunchOptions o;
    o.browser = "chromium";
    o.driver = "chromedriver";
    o.startup_timeout = std::chrono::seconds(60);
    o.command_timeout = std::chrono::seconds(60);
    return o;
  }
};

// A temporary folder, removed with its contents.
class ScratchDir {
 public:
  explicit ScratchDir(const std::string& prefix) {
    std::string templ = (std::filesystem::temp_directory_path() / (prefix + "XXXXXX")).string();
    if (!::mkdtemp(templ.data())) throw std::runtime_error("mkdtemp failed");
    path_ = templ;
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

template <class Browser>
class BrowserTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = std::make_unique<FixtureServer>(WEBDRIVER_FIXTURES);
    downloads_ = std::make_unique<ScratchDir>("vorna-e2e-downloads-");
    LaunchOptions o = Browser::options();
    o.download_dir = downloads_->path();
    session_ = launch(o);
  }
  static void TearDownTestSuite() {
    if (session_) session_->quit();
    session_.reset();
    downloads_.reset();
    server_.reset();
  }
  void SetUp() override { ASSERT_TRUE(session_) << "the browser did not start"; }

  static Session& browser() { return *session_; }
  static std::shared_ptr<Session> session() { return session_; }
  static void load(const std::string& page) {
    session_->switch_to_default_content();
    session_->get(server_->url(page));
  }
  static std::string url(const std::string& page) { return server_->url(page); }
  static std::string downloads() { return downloads_->path(); }

 private:
  static inline std::unique_ptr<FixtureServer> server_;
  static inline std::unique_ptr<ScratchDir> downloads_;
  static inline std::shared_ptr<Session> session_;
};

using Browsers = ::testing::Types<FirefoxMarionette, ChromiumDriver>;

class BrowserNames {
 public:
  template <class T>
  static std::string GetName(int) {
    if constexpr (std::is_same_v<T, FirefoxMarionette>) return "FirefoxMarionette";
    return "ChromiumDriver";
  }
};

}  // namespace webdriver::testing
