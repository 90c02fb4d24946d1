// Locators, as Selenium sends them: ID, CLASS_NAME and NAME travel as CSS selectors.
#pragma once

#include <string>

namespace webdriver {

struct By {
  std::string strategy;  // "css selector", "xpath", "link text", "tag name", ...
  std::string value;

  static By id(const std::string& id);                // [id="..."]
  static By xpath(const std::string& xpath);
  static By css_selector(const std::string& selector);
  static By class_name(const std::string& name);      // .name
  static By name(const std::string& name);            // [name="..."]
  static By tag_name(const std::string& name);
  // Selenium's constants: By::make(By::ID, "x") and friends, for callers that pass kinds.
  static constexpr const char* ID = "id";
  static constexpr const char* XPATH = "xpath";
  static constexpr const char* CLASS_NAME = "class name";
  static constexpr const char* CSS_SELECTOR = "css selector";
  static constexpr const char* NAME = "name";
  static constexpr const char* TAG_NAME = "tag name";
  static By make(const std::string& kind, const std::string& value);  // InvalidArgument if unknown

  bool operator==(const By&) const = default;
};

// `value` as a double-quoted CSS string, for attribute selectors such as [id="..."].
std::string css_quote(const std::string& value);

}  // namespace webdriver
