#include "webdriver/element.h"

#include "webdriver/errors.h"
#include "webdriver/session.h"

namespace webdriver {
namespace {

// Selenium's attribute rules in one script: boolean attributes give "true" or null,
// value/checked/selected read the live state, class reads className, style the css
// text, otherwise the property first (when it is a plain value), then the attribute.
constexpr const char* kGetAttribute = R"JS(
var e = arguments[0], name = arguments[1], lower = name.toLowerCase();
var BOOLEANS = ['allowfullscreen','allowpaymentrequest','allowusermedia','async','autofocus',
  'autoplay','checked','compact','complete','controls','declare','default','defaultchecked',
  'defaultselected','defer','disabled','ended','formnovalidate','hidden','indeterminate',
  'iscontenteditable','ismap','itemscope','loop','multiple','muted','nohref','nomodule',
  'noresize','noshade','novalidate','nowrap','open','paused','playsinline','pubdate',
  'readonly','required','reversed','scoped','seamless','seeking','selected','truespeed',
  'typemustmatch','willvalidate'];
if (lower === 'style') { return e.style ? e.style.cssText : e.getAttribute('style'); }
if (lower === 'selected' || lower === 'checked') {
  var tag = e.tagName.toLowerCase(), type = (e.type || '').toLowerCase();
  if (tag === 'option' || (tag === 'input' && (type === 'checkbox' || type === 'radio'))) {
    return e[lower] ? 'true' : null;
  }
}
var prop = lower === 'class' ? 'className' : lower === 'readonly' ? 'readOnly' : name;
if (BOOLEANS.indexOf(lower) >= 0) {
  return (e.hasAttribute(name) || !!e[prop]) ? 'true' : null;
}
var value = e[prop];
if (value === undefined || value === null || typeof value === 'object' || typeof value === 'function') {
  value = e.getAttribute(name);
}
return value === undefined || value === null ? null : String(value);
)JS";

Json id_param(const std::string& id) { return Json{{"id", id}}; }

}  // namespace

Element::Element(std::shared_ptr<Session> session, std::string id) : session_(std::move(session)), id_(std::move(id)) {}

Json Element::to_json() const { return Json{{kElementKey, id_}}; }

std::string Element::text() { return session_->execute("WebDriver:GetElementText", id_param(id_)).get<std::string>(); }

void Element::click() { session_->execute("WebDriver:ElementClick", id_param(id_)); }

std::optional<std::string> Element::get_attribute(const std::string& name) {
  Json v = session_->execute_script(kGetAttribute, Json::array({to_json(), name}));
  if (v.is_null()) return std::nullopt;
  return v.is_string() ? v.get<std::string>() : v.dump();
}

Json Element::get_property(const std::string& name) {
  return session_->execute("WebDriver:GetElementProperty", Json{{"id", id_}, {"name", name}});
}

std::optional<std::string> Element::get_dom_attribute(const std::string& name) {
  Json v = session_->execute("WebDriver:GetElementAttribute", Json{{"id", id_}, {"name", name}});
  if (v.is_null()) return std::nullopt;
  return v.is_string() ? v.get<std::string>() : v.dump();
}

bool Element::is_displayed() { return session_->execute("WebDriver:IsElementDisplayed", id_param(id_)).get<bool>(); }
bool Element::is_selected() { return session_->execute("WebDriver:IsElementSelected", id_param(id_)).get<bool>(); }
bool Element::is_enabled() { return session_->execute("WebDriver:IsElementEnabled", id_param(id_)).get<bool>(); }

void Element::send_keys(const std::string& text) {
  session_->execute("WebDriver:ElementSendKeys", Json{{"id", id_}, {"text", text}});
}

void Element::clear() { session_->execute("WebDriver:ElementClear", id_param(id_)); }

std::string Element::tag_name() {
  return session_->execute("WebDriver:GetElementTagName", id_param(id_)).get<std::string>();
}

Element Element::find_element(const By& by) {
  Json r = session_->execute("WebDriver:FindElement", Json{{"using", by.strategy}, {"value", by.value}, {"element", id_}});
  return session_->element_from(r);
}

std::vector<Element> Element::find_elements(const By& by) {
  Json r = session_->execute("WebDriver:FindElements", Json{{"using", by.strategy}, {"value", by.value}, {"element", id_}});
  std::vector<Element> out;
  for (const auto& ref : r) out.push_back(session_->element_from(ref));
  return out;
}

}  // namespace webdriver
