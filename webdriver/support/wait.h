// Selenium's WebDriverWait: test the condition at once, sleep a poll, then test the
// deadline. NoSuchElementException raised by a condition counts as "not yet". Time
// comes from the session's clock, so a fake clock makes waits instant.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "webdriver/element.h"

namespace webdriver {

class Session;

// What a condition found: `ok` says it holds; `element` is set when it holds for one.
struct ConditionResult {
  bool ok = false;
  std::optional<Element> element;
  static ConditionResult no() { return {}; }
  static ConditionResult yes() { return {true, std::nullopt}; }
  static ConditionResult of(Element e) { return {true, std::move(e)}; }
};

using Condition = std::function<ConditionResult(Session&)>;

// The longest wait or pause anything here accepts: what a 64-bit count of nanoseconds
// holds (about 292 years), as Python's own time.sleep(). NaN, infinity and anything
// longer would overflow the clock's arithmetic or never end.
constexpr double kLongestWaitSeconds = 9.2e9;

// `seconds` itself, or InvalidArgumentException naming `what` for NaN, an infinity or a
// value beyond kLongestWaitSeconds either way.
double checked_seconds(double seconds, const char* what);

class WebDriverWait {
 public:
  WebDriverWait(std::shared_ptr<Session> session, double timeout_seconds, double poll_seconds = 0.5);
  // Returns the first result that holds; TimeoutException(message) at the deadline.
  ConditionResult until(const Condition& condition, const std::string& message = "");
  // Returns once the condition does not hold (an ignored exception counts as not holding).
  bool until_not(const Condition& condition, const std::string& message = "");

 private:
  std::shared_ptr<Session> session_;
  double timeout_;
  double poll_;
};

}  // namespace webdriver
