// Locators and the wait loop, on a scripted transport and a fake clock.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "webdriver/errors.h"
#include "webdriver/session.h"
#include "webdriver/support/expected_conditions.h"
#include "webdriver/support/wait.h"

using namespace webdriver;
using ::testing::ThrowsMessage;

namespace {

class LambdaTransport final : public Transport {
 public:
  using Fn = std::function<Json(std::string_view, const Json&)>;
  explicit LambdaTransport(Fn fn) : fn_(std::move(fn)) {}
  Json execute(std::string_view c, const Json& p) override {
    if (c == "WebDriver:NewSession") return Json{{"sessionId", "s"}};
    if (c == "WebDriver:DeleteSession") return nullptr;
    return fn_(c, p);
  }

 private:
  Fn fn_;
};

}  // namespace

TEST(ByTests, IdsClassesAndNamesTravelAsCssSelectors) {
  EXPECT_EQ(By::id("menu_INFO"), (By{"css selector", "[id=\"menu_INFO\"]"}));
  EXPECT_EQ(By::id("a\"b"), (By{"css selector", "[id=\"a\\\"b\"]"}));
  EXPECT_EQ(By::class_name("loginMain"), (By{"css selector", ".loginMain"}));
  EXPECT_EQ(By::make(By::XPATH, "//a"), (By{"xpath", "//a"}));
  EXPECT_EQ(By::id("two\nlines"), (By{"css selector", "[id=\"two\\a lines\"]"}));
  EXPECT_EQ(By::class_name("1st"), (By{"css selector", ".\\31 st"}));
  EXPECT_THROW(By::make("sound", "x"), InvalidArgumentException);
}

TEST(WaitTests, ChecksAtOnceThenSleepsAPollThenTestsTheDeadline) {
  FakeClock clock;
  int finds = 0;
  auto session = Session::create(std::make_unique<LambdaTransport>([&](std::string_view c, const Json&) -> Json {
                                   if (c == "WebDriver:FindElement") {
                                     ++finds;
                                     throw NoSuchElementException("not yet");
                                   }
                                   return nullptr;
                                 }),
                                 Json::object(), {}, &clock);
  WebDriverWait wait(session, 5, 1);
  EXPECT_THROW(wait.until(expected_conditions::visibility_of_element_located(By::id("x")), "gone"), TimeoutException);
  // Checks at 0..5 seconds, one sleep after each: the deadline is tested after sleeping.
  EXPECT_EQ(finds, 6);
  EXPECT_EQ(clock.sleeps(), std::vector<double>(6, 1.0));
  // until_not holds at once when the element is missing.
  clock.clear();
  EXPECT_TRUE(wait.until_not(expected_conditions::visibility_of_element_located(By::id("x"))));
  EXPECT_TRUE(clock.sleeps().empty());
}

TEST(WaitTests, AStaleElementReadsAsNotVisibleAndAFoundOneIsReturned) {
  FakeClock clock;
  int displayed_calls = 0;
  auto session = Session::create(
      std::make_unique<LambdaTransport>([&](std::string_view c, const Json&) -> Json {
        if (c == "WebDriver:FindElement") return Json{{kElementKey, "e1"}};
        if (c == "WebDriver:IsElementDisplayed") {
          if (++displayed_calls < 3) throw StaleElementReferenceException("replaced");
          return true;
        }
        return nullptr;
      }),
      Json::object(), {}, &clock);
  auto result = WebDriverWait(session, 10, 0.5).until(expected_conditions::visibility_of_element_located(By::id("x")));
  ASSERT_TRUE(result.element.has_value());
  EXPECT_EQ(result.element->id(), "e1");
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{0.5, 0.5}));
}

TEST(WaitTests, OnlyAMissingElementCountsAsNotYet) {
  FakeClock clock;
  auto session = Session::create(std::make_unique<LambdaTransport>([&](std::string_view c, const Json&) -> Json {
                                   if (c == "WebDriver:FindElement") throw JavascriptException("broken page");
                                   return c == "WebDriver:GetTitle" ? Json("Page") : Json();
                                 }),
                                 Json::object(), {}, &clock);
  WebDriverWait wait(session, 5, 1);
  EXPECT_THROW(wait.until(expected_conditions::presence_of_element_located(By::id("x"))), JavascriptException);
  EXPECT_TRUE(clock.sleeps().empty()) << "no retry of other failures";
  // The title never matches: until_not holds at once; until runs out with the message.
  EXPECT_TRUE(wait.until_not(expected_conditions::title_is("never")));
  EXPECT_THAT([&] { wait.until(expected_conditions::title_contains("never"), "no title"); },
              ThrowsMessage<TimeoutException>("no title"));
}

TEST(WaitTests, WaitsThatCouldNeverEndAreRefusedBeforeTheFirstCheck) {
  FakeClock clock;
  int finds = 0;
  auto session = Session::create(std::make_unique<LambdaTransport>([&](std::string_view c, const Json&) -> Json {
                                   if (c == "WebDriver:FindElement") ++finds;
                                   throw NoSuchElementException("not yet");
                                 }),
                                 Json::object(), {}, &clock);
  const double inf = std::numeric_limits<double>::infinity();
  for (double timeout : {-inf, std::nan(""), 9.3e9})
    EXPECT_THROW(WebDriverWait(session, timeout, 1), InvalidArgumentException) << timeout;
  for (double poll : {inf, std::nan("")})
    EXPECT_THROW(WebDriverWait(session, 5, poll), InvalidArgumentException) << poll;
  EXPECT_EQ(finds, 0);
  EXPECT_THAT([&] { WebDriverWait(session, inf, 1); },
              ThrowsMessage<InvalidArgumentException>("timeout must be a finite number of seconds up to 9.2e+09, not inf"));
  // The longest wait still runs, and a poll of zero or less keeps Selenium's half second.
  WebDriverWait longest(session, kLongestWaitSeconds, 0);
  WebDriverWait expired(session, -1, -3);
  EXPECT_THROW(expired.until(expected_conditions::visibility_of_element_located(By::id("x"))), TimeoutException);
  EXPECT_EQ(clock.sleeps(), std::vector<double>{0.5});
}
