// Session, Element and Select on a recording transport: what goes on the wire for each
// call, how replies become values, and Selenium's Select algorithm step by step.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "webdriver/errors.h"
#include "webdriver/session.h"
#include "webdriver/support/select.h"

using namespace webdriver;
using ::testing::ThrowsMessage;

namespace {

struct Call {
  std::string command;
  Json params;
};

// Records every command and answers through a handler; NewSession and DeleteSession are
// answered here.
class RecordingTransport final : public Transport {
 public:
  using Handler = std::function<Json(const std::string&, const Json&)>;
  RecordingTransport(std::vector<Call>* calls, Handler handler) : calls_(calls), handler_(std::move(handler)) {}
  Json execute(std::string_view command, const Json& params) override {
    calls_->push_back({std::string(command), params});
    if (command == "WebDriver:NewSession") return Json{{"sessionId", "s"}, {"capabilities", {{"browserName", "x"}}}};
    if (command == "WebDriver:DeleteSession") return nullptr;
    return handler_(std::string(command), params);
  }

 private:
  std::vector<Call>* calls_;
  Handler handler_;
};

class Recorder final : public OwnedResource {
 public:
  Recorder(std::vector<std::string>* log, std::string name) : log_(log), name_(std::move(name)) {}
  void shutdown() noexcept override { log_->push_back("shutdown " + name_); }
  void kill() noexcept override { log_->push_back("kill " + name_); }

 private:
  std::vector<std::string>* log_;
  std::string name_;
};

Json element_ref(const std::string& id) { return Json{{kElementKey, id}}; }

std::vector<std::string> commands(const std::vector<Call>& calls) {
  std::vector<std::string> out;
  for (const auto& c : calls) out.push_back(c.command);
  return out;
}

}  // namespace

TEST(SessionTests, RepliesBecomeValuesAndElements) {
  std::vector<Call> calls;
  auto s = Session::create(std::make_unique<RecordingTransport>(&calls, [](const std::string& c, const Json& p) -> Json {
                             if (c == "WebDriver:FindElement") return element_ref("e1");
                             if (c == "WebDriver:FindElements") return Json::array({element_ref("e2"), element_ref("e3")});
                             if (c == "WebDriver:GetElementText") return "text of " + p["id"].get<std::string>();
                             if (c == "WebDriver:TakeScreenshot") return "iVBORw0KGgo=";
                             if (c == "WebDriver:ExecuteScript") return p["args"];
                             return nullptr;
                           }),
                           {{"acceptInsecureCerts", true}});
  EXPECT_EQ(calls[0].params, (Json{{"acceptInsecureCerts", true}})) << "the flat capabilities";
  EXPECT_EQ(s->capabilities(), (Json{{"browserName", "x"}}));
  auto e = s->find_element_by_id("x");
  EXPECT_EQ(calls.back().params, (Json{{"using", "css selector"}, {"value", "[id=\"x\"]"}}));
  EXPECT_EQ(e.text(), "text of e1");
  auto list = e.find_elements_by_xpath(".//li");
  EXPECT_EQ(calls.back().params, (Json{{"using", "xpath"}, {"value", ".//li"}, {"element", "e1"}}));
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[1].id(), "e3");
  // Elements travel as W3C references in both directions.
  Json back = s->execute_script("return arguments;", Json::array({e.to_json(), 3}));
  EXPECT_EQ(s->element_from(back[0]), e);
  EXPECT_THROW(s->element_from(Json{{"id", "e1"}}), ProtocolException);
  auto png = s->get_screenshot_as_png();
  EXPECT_EQ(png, (std::vector<std::uint8_t>{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}));
  EXPECT_FALSE(s->save_screenshot((std::filesystem::temp_directory_path() / "no-such-dir" / "x.png").string()));
}

TEST(SessionTests, GetAttributeRunsOneScriptWithTheElementAndName) {
  std::vector<Call> calls;
  auto s = Session::create(std::make_unique<RecordingTransport>(&calls, [](const std::string& c, const Json& p) -> Json {
                             if (c == "WebDriver:FindElement") return element_ref("e1");
                             std::string name = p["args"][1];
                             if (name == "checked") return nullptr;
                             if (name == "size") return 5;  // a driver may hand back a number
                             return "v";
                           }),
                           Json::object());
  auto e = s->find_element_by_id("x");
  EXPECT_EQ(e.get_attribute("checked"), std::nullopt);
  EXPECT_EQ(e.get_attribute("size"), "5");
  EXPECT_EQ(e.get_attribute("class"), "v");
  EXPECT_EQ(calls.back().command, "WebDriver:ExecuteScript");
  EXPECT_EQ(calls.back().params["args"], Json::array({element_ref("e1"), "class"}));
}

TEST(SessionTests, QuitDeletesOnceAndEndsResourcesInReverseOrder) {
  std::vector<Call> calls;
  std::vector<std::string> log;
  std::vector<std::unique_ptr<OwnedResource>> resources;
  resources.push_back(std::make_unique<Recorder>(&log, "profile"));
  resources.push_back(std::make_unique<Recorder>(&log, "browser"));
  auto s = Session::create(std::make_unique<RecordingTransport>(&calls, [](auto&, auto&) { return Json(); }),
                           Json::object(), std::move(resources));
  s->quit();
  s->quit();
  EXPECT_EQ(commands(calls), (std::vector<std::string>{"WebDriver:NewSession", "WebDriver:DeleteSession"}));
  EXPECT_EQ(log, (std::vector<std::string>{"shutdown browser", "shutdown profile"}));
  EXPECT_THROW(s->title(), InvalidSessionIdException);
}

TEST(SessionTests, AFailedStartOrAKillEndsResourcesWithoutTalking) {
  std::vector<std::string> log;
  std::vector<std::unique_ptr<OwnedResource>> resources;
  resources.push_back(std::make_unique<Recorder>(&log, "browser"));
  class Refusing final : public Transport {
    Json execute(std::string_view, const Json&) override { throw SessionNotCreatedException("no", "session not created"); }
  };
  EXPECT_THROW(Session::create(std::make_unique<Refusing>(), Json::object(), std::move(resources)),
               SessionNotCreatedException);
  EXPECT_EQ(log, (std::vector<std::string>{"kill browser"}));

  log.clear();
  std::vector<Call> calls;
  resources.clear();
  resources.push_back(std::make_unique<Recorder>(&log, "browser"));
  auto s = Session::create(std::make_unique<RecordingTransport>(&calls, [](auto&, auto&) { return Json(); }),
                           Json::object(), std::move(resources));
  s->kill();
  s->quit();
  EXPECT_EQ(commands(calls), std::vector<std::string>{"WebDriver:NewSession"}) << "no word to a dead browser";
  EXPECT_EQ(log, std::vector<std::string>{"kill browser"});
  EXPECT_TRUE(s->is_quit());
}

TEST(SessionTests, FramesByNameAreFoundByIdThenByName) {
  std::vector<Call> calls;
  auto s = Session::create(std::make_unique<RecordingTransport>(&calls, [](const std::string& c, const Json& p) -> Json {
                             if (c != "WebDriver:FindElements") return nullptr;
                             if (p["value"] == "[name=\"rightMid\"]") return Json::array({element_ref("f")});
                             return Json::array();
                           }),
                           Json::object());
  s->switch_to_frame("rightMid");
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[1].params["value"], "[id=\"rightMid\"]");
  EXPECT_EQ(calls[2].params["value"], "[name=\"rightMid\"]");
  EXPECT_EQ(calls[3].command, "WebDriver:SwitchToFrame");
  EXPECT_EQ(calls[3].params, (Json{{"element", "f"}}));
  EXPECT_THAT([&] { s->switch_to_frame("nowhere"); }, ThrowsMessage<NoSuchFrameException>("nowhere"));  // as Selenium raises it
  s->switch_to_default_content();
  EXPECT_EQ(calls.back().params, (Json{{"id", nullptr}}));
}

// ---- Select ----

namespace {

struct Option {
  std::string id, text, value;
  bool selected = false;
};

// A <select> of options that answers the commands Select sends, as a browser would:
// XPath's normalize-space() leaves non-breaking spaces alone, element text turns them
// into plain ones.
struct FakeSelect {
  std::string tag = "select";
  bool multiple = false;
  std::vector<Option> options;
  std::vector<std::string> lookups;  // the selectors and XPaths sent
  std::vector<Call> calls;

  Option& by_id(const Json& p) {
    for (auto& o : options)
      if (o.id == p["id"]) return o;
    throw StaleElementReferenceException("unknown option");
  }
  Json refs(const std::function<bool(const Option&)>& keep) {
    Json out = Json::array();
    for (auto& o : options)
      if (keep(o)) out.push_back(element_ref(o.id));
    return out;
  }
  static std::string normalize(const std::string& s) {
    std::string out;
    for (char c : s) {
      if (c != ' ') out += c;
      else if (!out.empty() && out.back() != ' ') out += ' ';
    }
    if (!out.empty() && out.back() == ' ') out.pop_back();
    return out;
  }
  static std::string rendered(const std::string& s) {
    std::string out = normalize(s);
    for (size_t i; (i = out.find("\xC2\xA0")) != std::string::npos;) out.replace(i, 2, " ");
    return out;
  }
  // The text of a plain '...' or "..." literal starting at `at`; nothing for concat().
  static std::optional<std::string> literal(const std::string& s, size_t at) {
    if (s[at] != '"' && s[at] != '\'') return std::nullopt;
    return s.substr(at + 1, s.find(s[at], at + 1) - at - 1);
  }
  // The value of option[value="..."], backslash escapes undone.
  static std::string css_value(const std::string& selector) {
    std::string quoted = selector.substr(selector.find("=\"") + 2), out;
    quoted.resize(quoted.size() - 2);
    for (size_t i = 0; i < quoted.size(); ++i) out += quoted[i] == '\\' ? quoted[++i] : quoted[i];
    return out;
  }
  Json handle(const std::string& c, const Json& p) {
    if (c == "WebDriver:FindElement") return element_ref("sel");
    if (c == "WebDriver:GetElementTagName") return tag;
    if (c == "WebDriver:ExecuteScript") return multiple && p["args"][1] == "multiple" ? Json("true") : Json();
    if (c == "WebDriver:IsElementSelected") return by_id(p).selected;
    if (c == "WebDriver:GetElementText") return rendered(by_id(p).text);
    if (c == "WebDriver:ElementClick") {
      auto& o = by_id(p);
      if (!multiple)
        for (auto& other : options) other.selected = false;
      o.selected = multiple ? !o.selected : true;
      return nullptr;
    }
    if (c != "WebDriver:FindElements") return nullptr;
    std::string how = p["using"], what = p["value"];
    if (how == "css selector" && what == "option") return refs([](auto&) { return true; });
    lookups.push_back(what);
    if (how == "css selector") return refs([&](auto& o) { return o.value == css_value(what); });
    if (what.rfind(".//option[normalize-space(.) = ", 0) == 0) {
      auto text = literal(what, what.find("= ") + 2);
      return refs([&](auto& o) { return text && normalize(o.text) == *text; });
    }
    auto part = literal(what, what.find("(., ") + 4);
    return refs([&](auto& o) { return part && o.text.find(*part) != std::string::npos; });
  }
};

std::shared_ptr<Session> session_on(FakeSelect& fake) {
  return Session::create(std::make_unique<RecordingTransport>(
                             &fake.calls, [&fake](const std::string& c, const Json& p) { return fake.handle(c, p); }),
                         Json::object());
}

}  // namespace

TEST(SelectTests, VisibleTextMatchesNormalizedFirstThenWholeTextOfLongestWordCandidates) {
  FakeSelect fake;
  fake.options = {{"o1", "Alpha", "a"}, {"o2", "  Beta   Gamma ", "b"}, {"o3", "Item\xC2\xA0No 12345", "c"},
                  {"o4", "Item 12345 No", "d"}};
  auto s = session_on(fake);
  Select select(s->find_element_by_id("sel"));
  select.select_by_visible_text("Beta Gamma");
  EXPECT_TRUE(fake.options[1].selected);
  EXPECT_EQ(fake.lookups, std::vector<std::string>{".//option[normalize-space(.) = \"Beta Gamma\"]"});

  // A non-breaking space defeats normalize-space(): the candidates contain the longest
  // blank-free part ("12345") and are compared whole by their text.
  fake.lookups.clear();
  select.select_by_visible_text("Item No 12345");
  EXPECT_EQ(fake.lookups, (std::vector<std::string>{".//option[normalize-space(.) = \"Item No 12345\"]",
                                                    ".//option[contains(., \"12345\")]"}));
  EXPECT_TRUE(fake.options[2].selected);
  EXPECT_FALSE(fake.options[3].selected) << "contains the word, differs as a whole";
  EXPECT_FALSE(fake.options[1].selected) << "a single select keeps one";

  EXPECT_THAT([&] { select.select_by_visible_text("Gamma Delta"); },
              ThrowsMessage<NoSuchElementException>("Could not locate element with visible text: Gamma Delta"));
  // Without a blank there is no second try.
  fake.lookups.clear();
  EXPECT_THROW(select.select_by_visible_text("Gam"), NoSuchElementException);
  EXPECT_EQ(fake.lookups.size(), 1u);
}

TEST(SelectTests, QuotesInTextBecomeValidXpathLiterals) {
  FakeSelect fake;
  fake.options = {{"o1", "It's", "a"}, {"o2", "say \"hi\"", "b"}};
  auto s = session_on(fake);
  Select select(s->find_element_by_id("sel"));
  select.select_by_visible_text("It's");
  EXPECT_TRUE(fake.options[0].selected);
  select.select_by_visible_text("say \"hi\"");
  EXPECT_TRUE(fake.options[1].selected);
  EXPECT_EQ(fake.lookups.back(), ".//option[normalize-space(.) = 'say \"hi\"']");
  EXPECT_THROW(select.select_by_visible_text("it's \"x\""), NoSuchElementException);
  EXPECT_EQ(fake.lookups[fake.lookups.size() - 2],
            ".//option[normalize-space(.) = concat(\"it's \", '\"', \"x\", '\"')]");
}

TEST(SelectTests, MultipleSelectsTakeEveryMatchValuesAndIndexes) {
  FakeSelect fake;
  fake.multiple = true;
  fake.options = {{"o1", "Same", "1"}, {"o2", "Other", "2"}, {"o3", "Same", "a\"b"}};
  auto s = session_on(fake);
  Select select(s->find_element_by_id("sel"));
  EXPECT_TRUE(select.is_multiple());
  select.select_by_visible_text("Same");
  EXPECT_EQ(select.all_selected_options().size(), 2u);
  select.select_by_visible_text("Same");  // already selected: not clicked off again
  EXPECT_EQ(select.all_selected_options().size(), 2u);
  EXPECT_EQ(select.first_selected_option().id(), "o1");
  fake.options[2].selected = false;
  select.select_by_value("a\"b");
  EXPECT_EQ(fake.lookups.back(), "option[value=\"a\\\"b\"]");
  EXPECT_TRUE(fake.options[2].selected);
  EXPECT_THAT([&] { select.select_by_value("9"); },
              ThrowsMessage<NoSuchElementException>("Cannot locate option with value: 9"));
}

TEST(SelectTests, OnlyWrapsSelectElements) {
  FakeSelect fake;
  fake.tag = "DIV";
  auto s = session_on(fake);
  EXPECT_THROW(Select(s->find_element_by_id("sel")), UnexpectedTagNameException);
}

// The counter is what the benchmarks read to prove an operation sends no command beyond
// its code path: it must match the wire exactly, failed commands included, and a
// command refused before the wire must not count.
TEST(SessionTests, CommandCountMatchesTheWire) {
  std::vector<Call> calls;
  auto s = Session::create(std::make_unique<RecordingTransport>(&calls, [](const std::string& c, const Json&) -> Json {
                             if (c == "WebDriver:FindElement") throw NoSuchElementException("gone", "no such element");
                             if (c == "WebDriver:FindElements") return Json::array({element_ref("e1"), element_ref("e2")});
                             if (c == "WebDriver:GetElementText" || c == "WebDriver:GetTitle") return "t";
                             return nullptr;
                           }),
                           Json::object());
  EXPECT_EQ(s->command_count(), 1u) << "the new session";
  auto found = s->find_elements_by_xpath("//li");
  for (auto& e : found) e.text();
  EXPECT_THROW(s->find_element_by_id("x"), NoSuchElementException);
  s->switch_to_frame(std::string("rightMid"));  // by id, then switch: two commands
  s->title();
  EXPECT_EQ(s->command_count(), calls.size());
  EXPECT_EQ(s->command_count(), 8u);
  s->quit();
  EXPECT_EQ(s->command_count(), 9u) << "the delete-session command";
  EXPECT_THROW(s->title(), InvalidSessionIdException);
  EXPECT_EQ(s->command_count(), 9u) << "refused before the wire";
  EXPECT_EQ(calls.size(), 9u);
}
