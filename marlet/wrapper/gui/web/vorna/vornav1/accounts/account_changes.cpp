// Adding, deleting and changing the password of the console's local users. Each change
// is acted out under the logged-in user, whose own password the console asks for.
#include <optional>

#include "marlet/wrapper/gui/web/vorna/vornav1/accounts/accounts.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {

// The wrapper's `password` attribute, which the console asks for as the acting user's
// password. Without a login through web_login it is null, which cannot be typed, so the
// call is refused before the page is touched.
std::string acting_password(const Json& attribute) {
  if (attribute.is_number_integer() || attribute.is_number_unsigned()) return py::str(attribute);
  if (!attribute.is_string())
    throw marlet::TypeError(
        // The attribute's type alone: whatever it holds may be a password all the same.
        "the wrapper holds no password of the acting user to type (it is " +
        (attribute.is_null() ? std::string("None") : std::string("of type ") + py::type_name(attribute)) +
        "); log in with web_login first");
  return typed_text(attribute.get<std::string>(), "the wrapper's password");
}

// Opens the local users page, opens the add form, fills it, clicks the role selector
// (none for a null selector) and saves; returns the list once it shows again.
Element add_through_form(VornaWebWrapper& w, const std::string& acting, const std::string& name,
                         const std::string& password, const char* role_selector) {
  open_page(w, pages::kLocalUsers, w.timeout);
  w.locateElementById(accounts::kAddUser);
  w.fillElementByXpath(accounts::kActingPassword, acting);
  w.fillElementByXpath(accounts::kUserName, name);
  w.fillElementByXpath(accounts::kUserPassword, password);
  w.fillElementByXpath(accounts::kUserPasswordAgain, password);
  if (role_selector) w.locateElementByXpath(role_selector);
  w.locateElementByXpath(accounts::kSave);
  return wait_until_visible(w, accounts::kUserList);
}

// The first row whose name equals `name` as a whole, with its row number; none when no
// row matches (an empty list included, and a name that is no text: null, a number).
std::optional<int> find_row(VornaWebWrapper& w, const Json& name) {
  auto rows = w.session().find_elements_by_xpath(accounts::kRows);
  for (size_t i = 0; i < rows.size(); ++i)
    if (Json(rows[i].find_element_by_xpath(accounts::kRowName).text()) == name) return accounts::row_number(i);
  return std::nullopt;
}

}  // namespace

bool web_add_admin_user(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_add_admin_user");
  std::string name = accounts::typed_param(params, "username");
  std::string pass = accounts::typed_param(params, "password");
  std::string acting = acting_password(w.password);

  w.logger().info(py::format("[addAdminUser] user:%s password:%s", name, pass));
  add_through_form(w, acting, name, pass, "//input[@num='0']");
  w.logger().info("[addAdminUser] completion");
  leave_content_frame(w);
  w.settle(3);
  return true;
}

Json web_add_user(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_add_user");
  std::string name = accounts::typed_param(params, "username");
  std::string pass = accounts::typed_param(params, "password");
  // The acting user's password comes from the params only, never from the wrapper, and
  // goes in as given, an empty one included: the console judges it.
  std::string acting = accounts::typed_param(params, "cur_password");
  const char* selector = accounts::role_selector(py::get(params, "role"));

  w.logger().info(py::format("[add_user] user:%s password:%s", name, pass));
  Json result = Json::object();
  Element list = add_through_form(w, acting, name, pass, selector);
  result["userlist"] = list.text();
  w.logger().info("[add_user] completion");
  result["complete"] = true;
  leave_content_frame(w);
  w.settle(3);
  return result;
}

bool web_del_user_web(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_del_user_web");
  // The name is only compared with the rows' names: any value serves, and one that is
  // no text matches no row.
  Json name = py::get(params, "username");
  std::string acting = acting_password(w.password);

  w.logger().info(py::format("[delUser] user:%s", name));
  open_page(w, pages::kLocalUsers, w.timeout);
  if (auto n = find_row(w, name)) {
    std::string control = py::format("del_user%s", *n);
    w.setAttributeByXpath(accounts::kDeleteLock, "class", "");
    w.locateElementById(control);
    w.page_settle();
    leave_content_frame(w);  // the dialog that asks the acting user's password is on top
    w.fillElementById(accounts::kDeletePassword, acting);
    w.locateElementById(kDialogOk);
    w.logger().info("[delUser] completion");
    w.settle(3);
    return true;
  }
  w.logger().warn(py::format("[delUser] Not find user name %s", name));
  leave_content_frame(w);
  w.settle(3);
  return false;
}

bool web_mod_password(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_mod_password");
  Json name = py::get(params, "username");  // compared only, as in web_del_user_web
  std::string old_pwd = accounts::typed_param(params, "old_pwd");
  std::string new_pwd = accounts::typed_param(params, "new_pwd");

  w.logger().info(py::format("[modPassword] user:%s old_password:%s new_password:%s", name, old_pwd, new_pwd));
  open_page(w, pages::kLocalUsers, w.timeout);
  if (auto n = find_row(w, name)) {
    std::string number = std::to_string(*n);
    w.locateElementById("edit_user" + number);
    w.settle(1);
    w.fillElementById("current_pw_tips" + number, old_pwd);
    w.locateElementById("change_pwd_tips" + number);
    w.settle(3);
    w.fillElementByXpath(accounts::kUserPassword, new_pwd);
    w.fillElementByXpath(accounts::kUserPasswordAgain, new_pwd);
    w.locateElementByXpath(accounts::kSave);
    w.settle(3);
    w.close();  // the login the browser holds may no longer hold after the change
    return true;
  }
  w.logger().warn(py::format("[modPassword] Not find user name %s", name));
  leave_content_frame(w);
  w.settle(3);
  return false;
}

}  // namespace vorna
