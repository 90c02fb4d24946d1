#include "webdriver/support/wait.h"

#include <cmath>
#include <sstream>

#include "webdriver/errors.h"
#include "webdriver/session.h"

namespace webdriver {

double checked_seconds(double seconds, const char* what) {
  if (!std::isfinite(seconds) || std::fabs(seconds) > kLongestWaitSeconds) {
    std::ostringstream text;
    text << what << " must be a finite number of seconds up to " << kLongestWaitSeconds << ", not " << seconds;
    throw InvalidArgumentException(text.str(), "invalid argument");
  }
  return seconds;
}

WebDriverWait::WebDriverWait(std::shared_ptr<Session> session, double timeout_seconds, double poll_seconds)
    : session_(std::move(session)),
      timeout_(checked_seconds(timeout_seconds, "timeout")),
      poll_(checked_seconds(poll_seconds, "poll") > 0 ? poll_seconds : 0.5) {
  if (!session_) throw InvalidArgumentException("WebDriverWait needs a browser session", "invalid argument");
}

// Selenium's loop: test at once, sleep a poll, then test the deadline.
ConditionResult WebDriverWait::until(const Condition& condition, const std::string& message) {
  auto& clock = session_->clock();
  auto end = clock.now() + Clock::Duration(timeout_);
  std::exception_ptr last;
  while (true) {
    try {
      ConditionResult r = condition(*session_);
      if (r.ok) return r;
    } catch (const NoSuchElementException&) {
      last = std::current_exception();
    }
    clock.sleep_seconds(poll_);
    if (clock.now() > end) break;
  }
  throw TimeoutException(message, "timeout", last);
}

bool WebDriverWait::until_not(const Condition& condition, const std::string& message) {
  auto& clock = session_->clock();
  auto end = clock.now() + Clock::Duration(timeout_);
  while (true) {
    try {
      if (!condition(*session_).ok) return true;
    } catch (const NoSuchElementException&) {
      return true;
    }
    clock.sleep_seconds(poll_);
    if (clock.now() > end) break;
  }
  throw TimeoutException(message, "timeout");
}

}  // namespace webdriver
