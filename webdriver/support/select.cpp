#include "webdriver/support/select.h"

#include <algorithm>

#include "webdriver/errors.h"

namespace webdriver {
namespace {

// An XPath string literal for any text, quotes included (concat() when it holds both).
std::string xpath_literal(const std::string& s) {
  if (s.find('"') == std::string::npos) return "\"" + s + "\"";
  if (s.find('\'') == std::string::npos) return "'" + s + "'";
  std::string out = "concat(";
  size_t start = 0;
  while (true) {
    size_t q = s.find('"', start);
    std::string part = s.substr(start, q == std::string::npos ? std::string::npos : q - start);
    if (!part.empty()) out += "\"" + part + "\", ";
    if (q == std::string::npos) break;
    out += "'\"', ";
    start = q + 1;
  }
  out.resize(out.size() - 2);
  return out + ")";
}

}  // namespace

Select::Select(Element element) : element_(std::move(element)) {
  std::string tag = element_.tag_name();
  std::transform(tag.begin(), tag.end(), tag.begin(), ::tolower);
  if (tag != "select")
    throw UnexpectedTagNameException("Select only works on <select> elements, not on <" + tag + ">");
  auto multiple = element_.get_attribute("multiple");
  multiple_ = multiple && *multiple != "false";
}

std::vector<Element> Select::options() { return element_.find_elements(By::tag_name("option")); }

std::vector<Element> Select::all_selected_options() {
  std::vector<Element> out;
  for (auto& o : options())
    if (o.is_selected()) out.push_back(o);
  return out;
}

Element Select::first_selected_option() {
  for (auto& o : options())
    if (o.is_selected()) return o;
  throw NoSuchElementException("No options are selected");
}

bool Select::is_multiple() { return multiple_; }

namespace {
void choose(Element& option) {
  if (!option.is_selected()) option.click();
}
}  // namespace

void Select::select_by_visible_text(const std::string& text) {
  auto exact = element_.find_elements(By::xpath(".//option[normalize-space(.) = " + xpath_literal(text) + "]"));
  bool matched = false;
  for (auto& o : exact) {
    choose(o);
    if (!multiple_) return;
    matched = true;
  }
  if (exact.empty() && text.find(' ') != std::string::npos) {
    // Candidates share the text's longest blank-free part; each is then compared whole.
    std::string longest;
    size_t start = 0;
    while (start <= text.size()) {
      size_t end = text.find(' ', start);
      std::string word = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
      if (word.size() > longest.size()) longest = word;
      if (end == std::string::npos) break;
      start = end + 1;
    }
    auto candidates = longest.empty() ? options()
                                      : element_.find_elements(By::xpath(".//option[contains(., " +
                                                                         xpath_literal(longest) + ")]"));
    for (auto& o : candidates) {
      if (o.text() == text) {
        choose(o);
        if (!multiple_) return;
        matched = true;
      }
    }
  }
  if (!matched) throw NoSuchElementException("Could not locate element with visible text: " + text);
}

void Select::select_by_value(const std::string& value) {
  auto found = element_.find_elements(By::css_selector("option[value=" + css_quote(value) + "]"));
  if (found.empty()) throw NoSuchElementException("Cannot locate option with value: " + value);
  for (auto& o : found) {
    choose(o);
    if (!multiple_) return;
  }
}

void Select::select_by_index(int index) {
  for (auto& o : options()) {
    auto i = o.get_attribute("index");
    if (i && *i == std::to_string(index)) {
      choose(o);
      return;
    }
  }
  throw NoSuchElementException("Could not locate element with index " + std::to_string(index));
}

}  // namespace webdriver
