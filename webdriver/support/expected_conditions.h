// Small factories of wait conditions, as Selenium's expected_conditions.
#pragma once

#include <string>

#include "webdriver/by.h"
#include "webdriver/support/wait.h"

namespace webdriver::expected_conditions {

// The element is in the DOM and displayed; holds with the element. A stale element
// reads as not visible.
Condition visibility_of_element_located(const By& by);
// The element is in the DOM; holds with the element.
Condition presence_of_element_located(const By& by);
// The element is absent or not displayed.
Condition invisibility_of_element_located(const By& by);
Condition title_is(const std::string& title);
Condition title_contains(const std::string& part);

}  // namespace webdriver::expected_conditions
