#include "webdriver/by.h"

#include <cctype>

#include "webdriver/errors.h"

namespace webdriver {
namespace {

// Escapes a value for a double-quoted CSS attribute selector: quotes and backslashes
// are escaped, line breaks written as code points (a raw one ends the string).
std::string css_string(const std::string& value) {
  std::string out;
  for (char c : value) {
    if (c == '\n') {
      out += "\\a ";
    } else if (c == '\r') {
      out += "\\d ";
    } else if (c == '\f') {
      out += "\\c ";
    } else {
      if (c == '"' || c == '\\') out += '\\';
      out += c;
    }
  }
  return out;
}

// Escapes a class name for a CSS class selector, as Selenium does for the common cases.
std::string css_ident(const std::string& value) {
  std::string out;
  for (size_t i = 0; i < value.size(); ++i) {
    unsigned char c = value[i];
    bool plain = std::isalnum(c) || c == '-' || c == '_' || c >= 0x80;
    if (i == 0 && std::isdigit(c)) {
      out += "\\3" + std::string(1, static_cast<char>(c)) + " ";
    } else {
      if (!plain) out += '\\';
      out += static_cast<char>(c);
    }
  }
  return out;
}

}  // namespace

std::string css_quote(const std::string& value) { return "\"" + css_string(value) + "\""; }

By By::id(const std::string& id) { return {"css selector", "[id=" + css_quote(id) + "]"}; }
By By::xpath(const std::string& xpath) { return {"xpath", xpath}; }
By By::css_selector(const std::string& selector) { return {"css selector", selector}; }
By By::class_name(const std::string& name) { return {"css selector", "." + css_ident(name)}; }
By By::name(const std::string& name) { return {"css selector", "[name=" + css_quote(name) + "]"}; }
By By::tag_name(const std::string& name) { return {"css selector", name}; }

By By::make(const std::string& kind, const std::string& value) {
  if (kind == ID) return id(value);
  if (kind == XPATH) return xpath(value);
  if (kind == CLASS_NAME) return class_name(value);
  if (kind == CSS_SELECTOR) return css_selector(value);
  if (kind == NAME) return name(value);
  if (kind == TAG_NAME) return tag_name(value);
  if (kind == "link text" || kind == "partial link text") return {kind, value};
  throw InvalidArgumentException("unknown locator strategy: " + kind, "invalid argument");
}

}  // namespace webdriver
