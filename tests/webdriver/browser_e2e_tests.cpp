// The browser client against real browsers, on the fixture pages: each suite runs over
// Firefox (its own remote protocol) and Chromium (chromedriver over HTTP).
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/webdriver/e2e_fixture.h"

using namespace webdriver;
using namespace webdriver::testing;
namespace ec = webdriver::expected_conditions;
namespace fs = std::filesystem;

template <class B>
class NavigationTest : public BrowserTest<B> {};
TYPED_TEST_SUITE(NavigationTest, Browsers, BrowserNames);

TYPED_TEST(NavigationTest, LoadsAPageAndReportsTitleUrlAndSource) {
  this->load("text.html");
  EXPECT_EQ(this->browser().title(), "Text page");
  EXPECT_EQ(this->browser().current_url(), this->url("text.html"));
  EXPECT_NE(this->browser().page_source().find("id=\"nested\""), std::string::npos);
}

TYPED_TEST(NavigationTest, FindsByXpathRelativeXpathAndLists) {
  this->load("text.html");
  auto& b = this->browser();
  auto items = b.find_elements_by_xpath("//ul[@id='list']/li");
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[2].text(), "three");
  EXPECT_TRUE(b.find_elements_by_xpath("//li[@class='none']").empty());
  auto list = b.find_element_by_id("list");
  EXPECT_EQ(list.find_element_by_xpath("./li[2]").text(), "two");
  // Relative to the table, not the document: only its cells.
  auto grid = b.find_element_by_xpath("//table[@id='grid']");
  EXPECT_EQ(grid.find_elements_by_xpath(".//td").size(), 4u);
  EXPECT_EQ(b.find_element_by_css_selector("#grid tr:nth-child(2) td").text(), "r2c1");
  EXPECT_THROW(list.find_element_by_xpath("./td"), NoSuchElementException);
  EXPECT_THROW(b.find_element_by_xpath("//li[@"), InvalidSelectorException);
}

TYPED_TEST(NavigationTest, TextIsTheRenderedTextOfHiddenNestedAndNonBreakingContent) {
  this->load("text.html");
  auto& b = this->browser();
  EXPECT_EQ(b.find_element_by_id("hidden").text(), "");
  EXPECT_EQ(b.find_element_by_id("partly").text(), "shown again");
  EXPECT_EQ(b.find_element_by_id("nested").text(), "first\nsecond inline\npara");
  EXPECT_EQ(b.find_element_by_id("nbsp").text(), "a  b c");
  EXPECT_EQ(b.find_element_by_id("unicode").text(), "Grüße – 日本");
}

TYPED_TEST(NavigationTest, WindowsOpenSwitchAndClose) {
  this->load("text.html");
  auto& b = this->browser();
  std::string first = b.current_window_handle();
  EXPECT_EQ(b.window_handles(), std::vector<std::string>{first});
  b.find_element_by_id("popup").click();
  std::vector<std::string> handles;
  for (int i = 0; i < 50 && (handles = b.window_handles()).size() < 2; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ASSERT_EQ(handles.size(), 2u);
  std::string second = handles[0] == first ? handles[1] : handles[0];
  b.switch_to_window(second);
  EXPECT_EQ(b.current_window_handle(), second);
  // The new window may still be loading its page when its handle shows up.
  auto inner = WebDriverWait(this->session(), 10, 0.1).until(ec::presence_of_element_located(By::id("inner")));
  EXPECT_EQ(inner.element->text(), "in frame A");
  EXPECT_EQ(b.close_window(), std::vector<std::string>{first});
  b.switch_to_window(first);
  EXPECT_EQ(b.title(), "Text page");
  EXPECT_THROW(b.switch_to_window("no-such-window"), NoSuchWindowException);
}

TYPED_TEST(NavigationTest, DownloadsLandSilentlyInTheFolder) {
  this->load("text.html");
  auto& b = this->browser();
  // Script clicks, as the console operations click (Firefox's own click on a download
  // link waits five seconds for a navigation that never comes), one at a time: a second
  // download started at once aborts the first.
  for (const char* id : {"download-csv", "download-gz"}) {
    b.execute_script("arguments[0].click();", Json::array({b.find_element_by_id(id).to_json()}));
    fs::path file = fs::path(this->downloads()) / (std::string(id) == "download-csv" ? "data.csv" : "logs.tar.gz");
    for (int i = 0; i < 100 && !(fs::exists(file) && fs::file_size(file) > 0); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(fs::exists(file)) << file;
  }
  std::ifstream in(fs::path(this->downloads()) / "data.csv");
  std::string first;
  std::getline(in, first);
  EXPECT_EQ(first, "name,value");
  EXPECT_EQ(b.title(), "Text page") << "the page stays; no viewer opened the file";
}

template <class B>
class FrameTest : public BrowserTest<B> {};
TYPED_TEST_SUITE(FrameTest, Browsers, BrowserNames);

TYPED_TEST(FrameTest, SwitchesByIdByNameByElementAndBack) {
  this->load("frames.html");
  auto& b = this->browser();
  b.switch_to_frame("byId");
  EXPECT_EQ(b.find_element_by_id("inner").text(), "in frame A");
  b.switch_to_frame("deeper");  // a nested frame, by name
  EXPECT_EQ(b.find_element_by_id("inner").text(), "in frame B");
  b.switch_to_parent_frame();
  EXPECT_EQ(b.find_element_by_id("inner").text(), "in frame A");
  b.switch_to_default_content();
  EXPECT_EQ(b.find_element_by_id("top").text(), "top document");
  b.switch_to_frame(0);
  EXPECT_EQ(b.find_element_by_id("inner").text(), "in frame A");
  b.switch_to_default_content();
  b.switch_to_frame(b.find_element_by_id("notTheName"));
  EXPECT_EQ(b.find_element_by_id("inner").text(), "in frame B");
  b.switch_to_default_content();
  EXPECT_THROW(b.switch_to_frame(7), NoSuchFrameException);
}

template <class B>
class AttributeTest : public BrowserTest<B> {};
TYPED_TEST_SUITE(AttributeTest, Browsers, BrowserNames);

TYPED_TEST(AttributeTest, FollowsSeleniumsRules) {
  this->load("attributes.html");
  auto& b = this->browser();
  auto attr = [&](const char* id, const char* name) { return b.find_element_by_id(id).get_attribute(name); };
  using S = std::optional<std::string>;
  // Boolean attributes: "true" or nothing, never "false".
  EXPECT_EQ(attr("disabled", "disabled"), S("true"));
  EXPECT_EQ(attr("text", "disabled"), std::nullopt);
  // checked / selected read the live state, on checkboxes and options alike.
  EXPECT_EQ(attr("checked", "selected"), S("true"));
  EXPECT_EQ(attr("two", "selected"), S("true"));
  b.execute_script("arguments[0].click();", Json::array({b.find_element_by_id("checked").to_json()}));
  EXPECT_EQ(attr("checked", "checked"), std::nullopt) << "unchecked by the click";
  // value is live; the attribute stays as written.
  auto text = b.find_element_by_id("text");
  EXPECT_EQ(text.get_attribute("value"), S("initial"));
  text.send_keys(" typed");
  EXPECT_EQ(text.get_attribute("value"), S("initial typed"));
  EXPECT_EQ(text.get_dom_attribute("value"), S("initial"));
  // class reads className; style the css text.
  EXPECT_EQ(attr("classy", "class"), S("a  b"));
  EXPECT_EQ(attr("styled", "style"), S("color: red; margin-left: 3px;"));
  // Property first: normalised type and numeric size; a full URL for a link.
  EXPECT_EQ(attr("upper", "type"), S("checkbox"));
  EXPECT_EQ(b.find_element_by_id("upper").get_dom_attribute("type"), S("CHECKBOX"));
  EXPECT_EQ(attr("text", "size"), S("5"));
  EXPECT_EQ(attr("link", "href"), S(this->url("text.html")));
  // Then the attribute; nothing when neither exists.
  EXPECT_EQ(attr("data", "data-x"), S("42"));
  EXPECT_EQ(attr("data", "missing"), std::nullopt);
  // The element states the browser computes.
  EXPECT_FALSE(b.find_element_by_id("data").is_displayed());
  EXPECT_FALSE(b.find_element_by_id("disabled").is_enabled());
  EXPECT_TRUE(b.find_element_by_id("two").is_selected());
}

template <class B>
class InputTest : public BrowserTest<B> {};
TYPED_TEST_SUITE(InputTest, Browsers, BrowserNames);

TYPED_TEST(InputTest, ClicksThroughAScriptAndDirectly) {
  this->load("form.html");
  auto& b = this->browser();
  auto button = b.find_element_by_id("button");
  Json result = b.execute_script("arguments[0].click(); return arguments[1] + 1;", Json::array({button.to_json(), 41}));
  EXPECT_EQ(result, 42);
  EXPECT_EQ(b.find_element_by_id("clicked").text(), "clicked 1");
  button.click();
  EXPECT_EQ(b.find_element_by_id("clicked").text(), "clicked 2");
  // Elements travel both ways through scripts.
  Element same = b.element_from(b.execute_script("return document.getElementById('button');"));
  EXPECT_EQ(same, button);
  EXPECT_THROW(b.execute_script("throw new Error('boom');"), JavascriptException);
}

TYPED_TEST(InputTest, SendsTextAndKeys) {
  this->load("form.html");
  auto& b = this->browser();
  auto name = b.find_element_by_id("name");
  name.send_keys("hello wörld");
  EXPECT_EQ(name.get_attribute("value"), "hello wörld");
  name.send_keys(std::string(Keys::BACKSPACE) + Keys::BACKSPACE + "ld!");
  EXPECT_EQ(name.get_attribute("value"), "hello wörld!");
  name.clear();
  EXPECT_EQ(name.get_attribute("value"), "");

  auto keys = b.find_element_by_id("keys");
  keys.send_keys(Keys::DOWN);
  EXPECT_EQ(keys.get_attribute("value"), "b");
}

TYPED_TEST(InputTest, AFilePathSetsAFileInput) {
  this->load("form.html");
  auto& b = this->browser();
  std::string path = this->downloads() + "/../vorna-e2e-upload-" + std::to_string(::getpid()) + ".txt";
  path = fs::weakly_canonical(path).string();
  std::ofstream(path) << "upload";
  auto file = b.find_element_by_id("file");
  file.send_keys(path);
  EXPECT_EQ(b.execute_script("return arguments[0].files[0].name;", Json::array({file.to_json()})),
            fs::path(path).filename().string());
  EXPECT_EQ(b.execute_script("return arguments[0].files[0].size;", Json::array({file.to_json()})), 6);
  fs::remove(path);
}

TYPED_TEST(InputTest, SelectsByVisibleTextValueAndIndex) {
  this->load("form.html");
  auto& b = this->browser();
  Select single(b.find_element_by_id("single"));
  single.select_by_visible_text("Beta Gamma");  // normalize-space matches the padded text
  EXPECT_EQ(single.first_selected_option().get_attribute("value"), "beta");
  single.select_by_visible_text("It's \"quoted\"");  // both quote kinds: concat()
  EXPECT_EQ(single.first_selected_option().get_attribute("value"), "quoted");
  single.select_by_visible_text("x y z");  // a non-breaking space: found through "x y" whole-text match
  EXPECT_EQ(single.first_selected_option().get_attribute("value"), "spaced");
  single.select_by_value("gamma");
  EXPECT_EQ(single.first_selected_option().text(), "Gamma");
  single.select_by_index(0);
  EXPECT_EQ(single.first_selected_option().text(), "Alpha");
  EXPECT_THROW(single.select_by_visible_text("Delta Epsilon"), NoSuchElementException);

  Select multi(b.find_element_by_id("multi"));
  multi.select_by_visible_text("Same");  // every match in a multiple select
  EXPECT_EQ(multi.all_selected_options().size(), 2u);
}

template <class B>
class WaitTest : public BrowserTest<B> {};
TYPED_TEST_SUITE(WaitTest, Browsers, BrowserNames);

TYPED_TEST(WaitTest, WaitsForVisibleNotVisibleAndTimesOut) {
  this->load("waits.html");
  WebDriverWait wait(this->session(), 10, 0.1);
  auto shown = wait.until(ec::visibility_of_element_located(By::id("appears")));
  ASSERT_TRUE(shown.element.has_value());
  EXPECT_EQ(shown.element->text(), "now you see me");
  EXPECT_TRUE(wait.until(ec::invisibility_of_element_located(By::id("vanishes"))).ok);
  EXPECT_TRUE(wait.until(ec::presence_of_element_located(By::id("late"))).ok);
  // Present but hidden is not visible.
  EXPECT_THROW(WebDriverWait(this->session(), 0.5, 0.1).until(ec::visibility_of_element_located(By::id("never"))),
               TimeoutException);
}
