#include "webdriver/support/expected_conditions.h"

#include "webdriver/errors.h"
#include "webdriver/session.h"

namespace webdriver::expected_conditions {

Condition visibility_of_element_located(const By& by) {
  return [by](Session& s) -> ConditionResult {
    try {
      Element e = s.find_element(by);
      return e.is_displayed() ? ConditionResult::of(e) : ConditionResult::no();
    } catch (const StaleElementReferenceException&) {
      return ConditionResult::no();
    }
  };
}

Condition presence_of_element_located(const By& by) {
  return [by](Session& s) { return ConditionResult::of(s.find_element(by)); };
}

Condition invisibility_of_element_located(const By& by) {
  return [by](Session& s) -> ConditionResult {
    try {
      return s.find_element(by).is_displayed() ? ConditionResult::no() : ConditionResult::yes();
    } catch (const NoSuchElementException&) {
      return ConditionResult::yes();
    } catch (const StaleElementReferenceException&) {
      return ConditionResult::yes();
    }
  };
}

Condition title_is(const std::string& title) {
  return [title](Session& s) { return s.title() == title ? ConditionResult::yes() : ConditionResult::no(); };
}

Condition title_contains(const std::string& part) {
  return [part](Session& s) {
    return s.title().find(part) != std::string::npos ? ConditionResult::yes() : ConditionResult::no();
  };
}

}  // namespace webdriver::expected_conditions
