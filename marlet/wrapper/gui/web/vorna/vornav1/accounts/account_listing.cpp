// The local users page read into a record: whether the logged-in user may add users,
// and one map per row of the user list.
#include <regex>

#include "marlet/wrapper/gui/web/vorna/vornav1/accounts/accounts.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {

// An attribute as Python's get_attribute gives it, None when absent.
Json attribute(Element element, const std::string& name) {
  auto value = element.get_attribute(name);
  return value ? Json(*value) : Json(nullptr);
}

std::string span_text(Element& row, int index) {
  return row.find_element_by_xpath("./span[" + std::to_string(index) + "]").text();
}

// The rule's "class" attribute as the markup holds it: "None" for an `em` without one, ""
// for an empty one. Read as the attribute itself: get_attribute("class") reads the
// className property, which is "" in both cases.
std::string rule_class(Element& row, int index) {
  auto value = row.find_element_by_xpath("./span[" + std::to_string(index) + "]/em").get_dom_attribute("class");
  return py::str(value ? Json(*value) : Json(nullptr));
}

}  // namespace

Json get_user_operation(VornaWebWrapper& w, const std::vector<Element>& operation_span) {
  static const std::regex name_part("[^0-9]+");
  Json out = Json::array();
  for (Element element : operation_span) {
    Json id = attribute(element, "id");
    if (!id.is_string()) throw marlet::TypeError("expected string or bytes-like object");
    std::smatch m;
    const std::string& text = id.get_ref<const std::string&>();
    // Anchored at the start, as re.match: an id that is empty or begins with a digit
    // has no operation name, and reading the match's group then fails.
    if (!std::regex_search(text, m, name_part, std::regex_constants::match_continuous))
      throw marlet::AttributeError("'NoneType' object has no attribute 'group'");
    out.push_back(Json{{"operation_name", m.str(0)}});
  }
  return out;
}

Json get_user_login_interfaces(VornaWebWrapper& w, const std::vector<Element>& interface_span) {
  static const std::regex interface_id(R"(login_intf_user\d_\d)");
  Json out = Json::array();
  for (Element span : interface_span) {
    Element em = span.find_element_by_xpath("./em");
    Json id = attribute(em, "id");
    if (!id.is_string()) throw marlet::TypeError("expected string or bytes-like object");
    const std::string& text = id.get_ref<const std::string&>();
    // A user number of two digits, or any other id, does not match at the start.
    if (!std::regex_search(text, interface_id, std::regex_constants::match_continuous)) continue;
    size_t index = static_cast<size_t>(text.back() - '0');
    if (index >= accounts::kLoginInterfaces.size())
      throw marlet::IndexError(py::format("login interface index %s is beyond the table of %s interfaces", index,
                                          accounts::kLoginInterfaces.size()));
    Json entry = Json::object();
    entry["interface_name"] = accounts::kLoginInterfaces[index];
    entry["state"] = attribute(em, "class");
    out.push_back(std::move(entry));
  }
  return out;
}

Json web_query_users(VornaWebWrapper& w) {
  Json result = Json::object();
  result["add_button_exist"] = false;
  result["users"] = Json::array();
  open_page(w, pages::kLocalUsers, w.timeout);
  try {
    w.locateElementById(accounts::kAddUser, {.click = false});
    result["add_button_exist"] = true;
  } catch (const std::exception&) {
    result["add_button_exist"] = false;
  }
  auto rows = w.session().find_elements_by_xpath(accounts::kRowDivs);
  for (size_t i = 0; i < rows.size(); ++i) {
    Element& row = rows[i];
    Json user = Json::object();
    user["id"] = accounts::row_number(i);
    user["name"] = span_text(row, 1);
    user["role"] = span_text(row, 2);
    user["password_validity"] = span_text(row, 3);
    user["status"] = span_text(row, 4);
    user["rule1"] = rule_class(row, 5);
    user["rule2"] = rule_class(row, 6);
    user["rule3"] = rule_class(row, 7);
    user["login_interfaces"] = py::maps_text(get_user_login_interfaces(w, row.find_elements_by_xpath("./span[@login_intf]")));
    user["operation"] = py::maps_text(get_user_operation(w, row.find_elements_by_xpath("./span[15]/a")));
    result["users"].push_back(std::move(user));
  }
  leave_content_frame(w);
  return result;
}

}  // namespace vorna
