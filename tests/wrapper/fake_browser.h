// A scripted fake browser at the transport seam: a flat table of elements keyed by the
// locator that finds them ("id:btnLogin", "xpath://span", "class:loginMain", and
// "<parent key> xpath:./td[1]" for relative lookups, or "@<parent uuid> xpath:./td[1]"
// to tell apart the children of the rows of one list). It answers the browser commands
// the element layer sends and records every action in `events`, so tests can assert the
// order of clicks, fills, frame switches and navigation next to the clock's sleeps.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "marlet/utils/gui/web/web_base.h"
#include "webdriver/transport.h"

namespace fake {

using webdriver::Json;

struct FakeElement {
  std::string key;   // the locator that finds it
  std::string uuid;
  std::string tag = "div";
  std::string text;
  bool displayed = true;
  std::map<std::string, std::string> attributes;
  std::string value;  // what was typed
  int clicks = 0;
  bool selected = true;  // what IsElementSelected answers; an <option> to be chosen starts false
  std::function<void()> on_click;
};

class FakeBrowser {
 public:
  FakeBrowser();
  // Adds (or replaces) the element found by `key`; another add with the same key and
  // `also=true` makes a list of several.
  FakeElement& add(const std::string& key, bool also = false);
  void remove(const std::string& key);
  FakeElement* find(const std::string& key);

  Json execute(std::string_view command, const Json& params);

  std::vector<std::string> events;
  std::string title = "Vorna Console";
  std::vector<std::string> windows = {"w-1"};
  bool fail_everything = false;  // the browser stopped answering
  int sessions_started = 0;
  int sessions_ended = 0;
  // Page scripts that are not the element layer's own (the console's `$`): their texts
  // in order, and a hook that plays what they do on the page.
  std::vector<std::string> scripts;
  std::function<void(const std::string&)> on_script;
  // When set, answers those page scripts (with their arguments) instead of null.
  std::function<Json(const std::string&, const Json&)> answer_script;
  // The readyState of the page an element is in, asked before each click ("complete"
  // when unset).
  std::function<std::string()> document_state;
  // Every command received after the session started, in order.
  int commands = 0;
  // What the new session's reply grants (a Grid node's se:downloadsEnabled, say).
  Json capabilities = {{"browserName", "fake"}};
  // Answers the Grid's own commands ("Grid:ListDownloads", ...), recorded in `events`.
  std::function<Json(const std::string&, const Json&)> grid;

 private:
  std::vector<FakeElement*> lookup(const std::string& key);
  FakeElement& by_uuid(const Json& params);
  std::map<std::string, std::vector<std::unique_ptr<FakeElement>>> table_;
  int next_uuid_ = 1;
};

// Transport forwarding to a shared FakeBrowser, so the test keeps a handle on it.
class FakeTransport final : public webdriver::Transport {
 public:
  explicit FakeTransport(std::shared_ptr<FakeBrowser> browser) : browser_(std::move(browser)) {}
  Json execute(std::string_view command, const Json& params) override { return browser_->execute(command, params); }

 private:
  std::shared_ptr<FakeBrowser> browser_;
};

// Opens sessions on the fake browser instead of launching one.
class FakeFactory final : public marlet::BrowserFactory {
 public:
  explicit FakeFactory(std::shared_ptr<FakeBrowser> browser) : browser_(std::move(browser)) {}
  std::shared_ptr<webdriver::Session> open(const webdriver::LaunchOptions& options, marlet::Clock& clock) override;
  int opened = 0;

 private:
  std::shared_ptr<FakeBrowser> browser_;
};

}  // namespace fake
