#include "tests/wrapper/fake_browser.h"

#include "webdriver/errors.h"
#include "webdriver/session.h"

namespace fake {
namespace {

std::string key_of(const Json& params) {
  std::string strategy = params.value("using", "");
  std::string value = params.value("value", "");
  if (strategy == "css selector") {
    if (value.rfind("[id=\"", 0) == 0 && value.size() > 6) return "id:" + value.substr(5, value.size() - 7);
    if (value.rfind("[name=\"", 0) == 0 && value.size() > 8) return "name:" + value.substr(7, value.size() - 9);
    if (!value.empty() && value[0] == '.') return "class:" + value.substr(1);
    return "css:" + value;
  }
  if (strategy == "xpath") return "xpath:" + value;
  return strategy + ":" + value;
}

std::string element_id(const Json& params, const char* name = "id") {
  if (params.contains(name) && params[name].is_string()) return params[name].get<std::string>();
  if (params.contains("elementId")) return params["elementId"].get<std::string>();
  throw webdriver::InvalidArgumentException("no element id in " + params.dump());
}

Json ref(const FakeElement& e) { return Json{{webdriver::kElementKey, e.uuid}}; }

}  // namespace

FakeBrowser::FakeBrowser() {
  add("id:rightMid").tag = "iframe";
}

FakeElement& FakeBrowser::add(const std::string& key, bool also) {
  auto& list = table_[key];
  if (!also) list.clear();
  auto e = std::make_unique<FakeElement>();
  e->key = key;
  e->uuid = "uuid-" + std::to_string(next_uuid_++);
  list.push_back(std::move(e));
  return *list.back();
}

void FakeBrowser::remove(const std::string& key) { table_.erase(key); }

FakeElement* FakeBrowser::find(const std::string& key) {
  auto it = table_.find(key);
  return it == table_.end() || it->second.empty() ? nullptr : it->second.front().get();
}

std::vector<FakeElement*> FakeBrowser::lookup(const std::string& key) {
  std::vector<FakeElement*> out;
  auto it = table_.find(key);
  if (it != table_.end())
    for (auto& e : it->second) out.push_back(e.get());
  return out;
}

FakeElement& FakeBrowser::by_uuid(const Json& params) {
  std::string uuid = element_id(params);
  for (auto& [key, list] : table_)
    for (auto& e : list)
      if (e->uuid == uuid) return *e;
  throw webdriver::StaleElementReferenceException("element " + uuid + " is no longer attached");
}

Json FakeBrowser::execute(std::string_view command, const Json& params) {
  std::string cmd(command);
  if (cmd == "WebDriver:NewSession") {
    ++sessions_started;
    return Json{{"sessionId", "fake-session"}, {"capabilities", capabilities}};
  }
  if (cmd == "WebDriver:DeleteSession" || cmd == "Marionette:Quit") {
    if (cmd == "WebDriver:DeleteSession") ++sessions_ended;
    return nullptr;
  }
  ++commands;
  if (fail_everything) throw webdriver::ConnectionException("the fake browser stopped answering");

  if (cmd == "WebDriver:Navigate") {
    events.push_back("get " + params.value("url", ""));
    return nullptr;
  }
  if (cmd == "WebDriver:GetTitle") return title;
  if (cmd == "WebDriver:GetCurrentURL") return "https://fake/";
  if (cmd == "WebDriver:GetWindowHandles") return windows;
  if (cmd == "WebDriver:GetWindowHandle") return windows.front();
  if (cmd == "WebDriver:SwitchToWindow") {
    events.push_back("window " + params.value("handle", params.value("name", "")));
    return nullptr;
  }
  if (cmd == "WebDriver:SwitchToFrame") {
    Json id = params.contains("element") ? Json{{webdriver::kElementKey, params["element"]}}
                                         : params.value("id", Json(nullptr));
    if (id.is_null()) {
      events.push_back("default content");
    } else if (id.is_object()) {
      events.push_back("frame " + by_uuid(Json{{"id", id[webdriver::kElementKey]}}).key);
    } else {
      events.push_back("frame " + id.dump());
    }
    return nullptr;
  }
  if (cmd == "WebDriver:SwitchToParentFrame") {
    events.push_back("parent frame");
    return nullptr;
  }
  if (cmd == "WebDriver:FindElement" || cmd == "WebDriver:FindElements") {
    std::string key = key_of(params);
    std::vector<FakeElement*> found;
    if (params.contains("element") && params["element"].is_string()) {
      // Children of one element of a list are registered under its uuid ("@uuid-7 ...").
      auto& parent = by_uuid(Json{{"id", params["element"]}});
      found = lookup("@" + parent.uuid + " " + key);
      if (found.empty()) key = parent.key + " " + key;
    }
    if (found.empty()) found = lookup(key);
    if (cmd == "WebDriver:FindElements") {
      Json out = Json::array();
      for (auto* e : found) out.push_back(ref(*e));
      return out;
    }
    if (found.empty()) throw webdriver::NoSuchElementException("Unable to locate element: " + key);
    return ref(*found.front());
  }
  if (cmd == "WebDriver:GetElementText") return by_uuid(params).text;
  if (cmd == "WebDriver:GetElementTagName") return by_uuid(params).tag;
  if (cmd == "WebDriver:IsElementDisplayed") return by_uuid(params).displayed;
  if (cmd == "WebDriver:IsElementSelected") return by_uuid(params).selected;
  if (cmd == "WebDriver:IsElementEnabled") return true;
  if (cmd == "WebDriver:ElementClick") {
    auto& e = by_uuid(params);
    events.push_back("click " + e.key);
    ++e.clicks;
    if (e.on_click) e.on_click();
    return nullptr;
  }
  if (cmd == "WebDriver:ElementClear") {
    auto& e = by_uuid(params);
    events.push_back("clear " + e.key);
    e.value.clear();
    return nullptr;
  }
  if (cmd == "WebDriver:ElementSendKeys") {
    auto& e = by_uuid(params);
    std::string text = params.value("text", "");
    events.push_back("keys " + e.key + " " + text);
    e.value += text;
    return nullptr;
  }
  if (cmd == "WebDriver:GetElementAttribute" || cmd == "WebDriver:GetElementProperty") {
    auto& e = by_uuid(params);
    auto it = e.attributes.find(params.value("name", ""));
    return it == e.attributes.end() ? Json(nullptr) : Json(it->second);
  }
  if (cmd == "WebDriver:TakeScreenshot") return "iVBORw0KGgo=";  // the PNG signature, base64
  if (cmd == "WebDriver:ExecuteScript") {
    std::string script = params.value("script", "");
    Json args = params.value("args", Json::array());
    auto element_arg = [&](size_t i) -> FakeElement& {
      return by_uuid(Json{{"id", args.at(i).at(webdriver::kElementKey)}});
    };
    if (script.find("arguments[0].click()") != std::string::npos) {
      auto& e = element_arg(0);
      events.push_back("script click " + e.key);
      ++e.clicks;
      if (e.on_click) e.on_click();
      return nullptr;
    }
    if (script.find("setAttribute(arguments[1], arguments[2])") != std::string::npos) {
      auto& e = element_arg(0);
      e.attributes[args.at(1).get<std::string>()] = args.at(2).get<std::string>();
      events.push_back("set attribute " + e.key + " " + args.at(1).get<std::string>());
      return nullptr;
    }
    // The attribute and visibility readers send an element and (for attributes) a name.
    if (args.size() == 2 && args[0].is_object() && args[1].is_string()) {
      auto& e = element_arg(0);
      auto it = e.attributes.find(args[1].get<std::string>());
      return it == e.attributes.end() ? Json(nullptr) : Json(it->second);
    }
    if (args.size() == 1 && args[0].is_object() && args[0].contains(webdriver::kElementKey)) {
      auto& e = element_arg(0);
      if (script.find("scrollIntoView") != std::string::npos) return true;
      if (script.find("readyState") != std::string::npos) return document_state ? document_state() : "complete";
      return e.displayed;
    }
    events.push_back("script");
    scripts.push_back(script);
    if (on_script) on_script(script);
    if (answer_script) return answer_script(script, args);
    return nullptr;
  }
  if (grid && cmd.rfind("Grid:", 0) == 0) {
    events.push_back(cmd + (params.contains("name") ? " " + params["name"].get<std::string>() : ""));
    return grid(cmd, params);
  }
  throw webdriver::WebDriverException("the fake browser does not know " + cmd);
}

std::shared_ptr<webdriver::Session> FakeFactory::open(const webdriver::LaunchOptions&, marlet::Clock& clock) {
  ++opened;
  browser_->events.push_back("open browser");
  return webdriver::Session::create(std::make_unique<FakeTransport>(browser_), Json{{"acceptInsecureCerts", true}},
                                    {}, &clock);
}

}  // namespace fake
