// Selenium's Select over a <select> element (UnexpectedTagNameException otherwise).
#pragma once

#include <string>
#include <vector>

#include "webdriver/element.h"

namespace webdriver {

class Select {
 public:
  explicit Select(Element element);
  std::vector<Element> options();
  std::vector<Element> all_selected_options();
  Element first_selected_option();
  bool is_multiple();
  // Exact normalize-space match first; for a text with blanks, the candidates come from
  // its longest word and are compared whole. NoSuchElementException
  // "Could not locate element with visible text: <text>" when none matches.
  void select_by_visible_text(const std::string& text);
  void select_by_value(const std::string& value);
  void select_by_index(int index);

 private:
  Element element_;
  bool multiple_;
};

}  // namespace webdriver
