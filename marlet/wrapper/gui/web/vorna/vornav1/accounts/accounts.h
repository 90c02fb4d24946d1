// The local users page: the account operations (free functions on the wrapper), its
// locators, the numbering of its rows, the table of login interfaces, and what the
// account operations check of their params before they touch the console: only what
// could not be typed at all. Whatever can be typed is typed, and
// the console answers it (it refuses a wrong acting password, an empty password, a name
// it does not take).
#pragma once

#include <array>
#include <string>
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"
#include "webdriver/element.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// The local users page. Adds enter an acting user's password (the wrapper's `password`
// for the administrator, "cur_password" otherwise); rows are numbered from 2 into the
// ids of their controls; names match by equality of the whole text.
bool web_add_admin_user(VornaWebWrapper& w, const Json& params);
// {"userlist": text of the list after saving, "complete": true}
Json web_add_user(VornaWebWrapper& w, const Json& params);
bool web_del_user_web(VornaWebWrapper& w, const Json& params);
// Ends the browser when it finds the user.
bool web_mod_password(VornaWebWrapper& w, const Json& params);
// {"add_button_exist", "users": [{id, name, role, password_validity, status, rule1..3,
//  login_interfaces, operation}]}
Json web_query_users(VornaWebWrapper& w);
// [{"operation_name"}] from the ids of the operation controls, cut at the first digit.
Json get_user_operation(VornaWebWrapper& w, const std::vector<webdriver::Element>& operation_span);
// [{"interface_name", "state"}] from the spans' em elements whose ids name a one-digit
// user number and an interface index.
Json get_user_login_interfaces(VornaWebWrapper& w, const std::vector<webdriver::Element>& interface_span);

}  // namespace vorna

namespace vorna::accounts {

using marlet::Json;

inline constexpr const char* kAddUser = "add_user";
inline constexpr const char* kUserList = "userlist";
inline constexpr const char* kActingPassword = "//input[@class='yourPassWord']";
inline constexpr const char* kUserName = "//input[@class='userName']";
inline constexpr const char* kUserPassword = "//input[@class='userPassWord']";
inline constexpr const char* kUserPasswordAgain = "//input[@class='userPassWord1']";
inline constexpr const char* kSave = "//div[@reskey='SAVE']";
inline constexpr const char* kRows = "//ul[@id='userlist']/li";
inline constexpr const char* kRowDivs = "//ul[@id='userlist']/li/div";
inline constexpr const char* kRowName = ".//div/span[1]";
// The page element whose class the delete clears before the row's control is clicked.
inline constexpr const char* kDeleteLock = "/html/body/div/div[3]/em[2]";
inline constexpr const char* kDeletePassword = "old_password1";

// The first row of the list has number 2; the number goes into its controls' ids.
inline constexpr int kFirstRow = 2;
inline int row_number(size_t index) { return kFirstRow + static_cast<int>(index); }

// The role selector of a role: administrator (the console's default) for an empty or
// absent role, "Operator" and "Common User" by name; any other value selects none.
inline const char* role_selector(const Json& role) {
  if (!marlet::py::truthy(role)) return "//input[@num='0']";
  if (role == "Operator") return "//input[@num='1']";
  if (role == "Common User") return "//input[@num='2']";
  return nullptr;
}

// Login interfaces by the index the last character of an interface id gives.
inline constexpr std::array<const char*, 8> kLoginInterfaces = {"Web", "SNMP", "IPMI", "SSH",
                                                                "SFTP", "", "Local", "Redfish"};

// A value the operation types into the page, checked before the console is touched:
// a text as it is (an empty one included: the console answers it), an integer as its
// digits (as the browser's key input types a number). An absent key reads as null, and
// null, like any other value, cannot be typed: TypeError naming the key. A text too long
// to type: ValueError naming the key and the limit.
inline std::string typed_param(const Json& params, const char* key) {
  Json value = marlet::py::get(params, key);
  if (value.is_number_integer() || value.is_number_unsigned()) return marlet::py::str(value);
  if (!value.is_string())
    throw marlet::TypeError(marlet::py::format("%s must be a text to type, not %s", key, marlet::py::type_name(value)));
  return typed_text(value.get<std::string>(), key);
}

}  // namespace vorna::accounts
