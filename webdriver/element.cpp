#include "webdriver/element.h"

#include "webdriver/detail/file_upload.h"
#include "webdriver/errors.h"
#include "webdriver/session.h"

namespace webdriver {
namespace {

// Selenium's attribute rules in one script, as its getAttribute atom has them: "style"
// gives the css text; "selected"/"checked" on options, checkboxes and radio buttons read
// the live state; href of links and src of images give the full URL when the attribute
// is there; boolean attributes give "true" or null (never "false"); otherwise the
// property first (class -> className, readonly -> readOnly) unless it is missing or an
// object, then the attribute.
constexpr const char* kGetAttribute = R"JS(
var e = arguments[0], attribute = arguments[1], name = attribute.toLowerCase();
var BOOLEANS = ['allowfullscreen','allowpaymentrequest','allowusermedia','async','autofocus',
  'autoplay','checked','compact','complete','controls','declare','default','defaultchecked',
  'defaultselected','defer','disabled','ended','formnovalidate','hidden','indeterminate',
  'iscontenteditable','ismap','itemscope','loop','multiple','muted','nohref','nomodule',
  'noresize','noshade','novalidate','nowrap','open','paused','playsinline','pubdate',
  'readonly','required','reversed','scoped','seamless','seeking','selected','truespeed',
  'typemustmatch','willvalidate'];
var ALIASES = {'class': 'className', 'readonly': 'readOnly'};
var tag = e.tagName.toLowerCase();
function attr(n) {
  n = n.toLowerCase();
  if (n === 'style') return e.style ? e.style.cssText : null;
  var node = e.getAttributeNode(n);
  return node && node.specified ? node.value : null;
}
if (name === 'style') return e.style ? e.style.cssText : null;
if (name === 'selected' || name === 'checked') {
  var type = tag === 'input' ? (e.type || '').toLowerCase() : '';
  if (tag === 'option') return e.selected ? 'true' : null;
  if (type === 'checkbox' || type === 'radio') return e.checked ? 'true' : null;
}
if ((tag === 'img' && name === 'src') || (tag === 'a' && name === 'href')) {
  var v = attr(name);
  return v ? e[name] : v;
}
if (name === 'spellcheck') {
  var s = attr(name);
  if (s !== null && (s.toLowerCase() === 'false' || s.toLowerCase() === 'true')) return s.toLowerCase();
  return String(e[name]);
}
var prop = ALIASES[attribute] || attribute;
if (BOOLEANS.indexOf(name) >= 0) return (attr(attribute) !== null || e[prop]) ? 'true' : null;
var value;
try { value = e[prop]; } catch (ignored) {}
if (value === undefined || value === null || typeof value === 'object' || typeof value === 'function') {
  value = attr(attribute);
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
  if (session_->upload_files()) {
    if (auto remote = upload_for_file_input(*this, text)) {
      session_->execute("WebDriver:ElementSendKeys", Json{{"id", id_}, {"text", *remote}});
      return;
    }
  }
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
