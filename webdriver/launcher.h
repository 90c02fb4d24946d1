// Starting a browser session: Firefox directly through its built-in remote protocol, a
// driver binary over W3C HTTP (chromedriver, geckodriver), or a remote URL (Grid).
// Every process and profile it makes belongs to the session and ends with quit().
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "webdriver/clock.h"
#include "webdriver/json.h"
#include "webdriver/session.h"

namespace webdriver {

struct LaunchOptions {
  std::string browser = "firefox";    // "firefox" or "chromium"
  std::string driver = "marionette";  // "marionette", "geckodriver", "chromedriver", "remote"
  std::string remote_url;             // for "remote": http://host:port[/wd/hub]
  std::string binary;                 // browser binary; found on PATH when empty
  std::string driver_path;            // driver binary; found on PATH when empty
  bool headless = true;
  std::string download_dir;           // downloads land here silently; none when empty
  std::chrono::seconds startup_timeout{60};   // browser or driver up and answering
  std::chrono::seconds command_timeout{300};  // longest a single command may take
  Json extra_capabilities = Json::object();   // merged into the capabilities asked for
  // Ask for the browser's event channel (WebDriver BiDi) beside the session: Firefox is
  // started with its BiDi server on a loopback port the system picks, and every session
  // asks for webSocketUrl. Where none can be had the session goes on without it.
  bool bidi = true;
  // Firefox: start from a copy of a profile this process prepared once (Firefox started
  // on it and quit), rather than from an empty one that each browser fills in on its
  // first run. Falls back to an empty profile when none can be prepared.
  bool prepared_profile = true;
  // Firefox preferences added to (or overriding) the launcher's own: name to value (a
  // boolean, a number or a text).
  Json prefs = Json::object();
};

// InvalidArgumentException for an unknown browser/driver pairing;
// SessionNotCreatedException (with the cause) when the browser or driver does not come up.
std::shared_ptr<Session> launch(const LaunchOptions& options, Clock* clock = nullptr);

// The preferences (user.js) of the temporary Firefox profile launch() makes.
std::string firefox_prefs(const LaunchOptions& options);

}  // namespace webdriver
