// The local users page: its locators, the numbering of its rows, the table of login
// interfaces, and what the account operations check of their params before they touch
// the console (so that a refused call leaves the console's user list as it was).
#pragma once

#include <array>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

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
// absent role, "Operator" and "Common User" by name; any other text selects none.
// TypeError for a role that is no text.
inline const char* role_selector(const Json& role) {
  if (!marlet::py::truthy(role)) return "//input[@num='0']";
  if (!role.is_string())
    throw marlet::TypeError("role must be a text, not " + std::string(marlet::py::type_name(role)));
  const auto& text = role.get_ref<const std::string&>();
  if (text == "Operator") return "//input[@num='1']";
  if (text == "Common User") return "//input[@num='2']";
  return nullptr;
}

// Login interfaces by the index the last character of an interface id gives.
inline constexpr std::array<const char*, 8> kLoginInterfaces = {"Web", "SNMP", "IPMI", "SSH",
                                                                "SFTP", "", "Local", "Redfish"};

// A required key: KeyError naming it when absent, TypeError when present but no text.
inline std::string text_param(const Json& params, const char* key) {
  if (!params.contains(key)) throw marlet::KeyError(key);
  const Json& value = params[key];
  if (!value.is_string())
    throw marlet::TypeError(marlet::py::format("%s must be a text, not %s", key, marlet::py::type_name(value)));
  return value.get<std::string>();
}

// A password the console would take: a text that is not empty.
inline std::string password_param(const Json& params, const char* key) {
  std::string value = text_param(params, key);
  if (value.empty()) throw marlet::ValueError(marlet::py::format("%s must not be empty", key));
  return value;
}

// A name the console can hold: not empty, printable ASCII without quotes or blanks at
// its ends (the console turns such names down, and they could never be found again).
inline std::string new_user_name(const Json& params) {
  std::string name = text_param(params, "username");
  if (name.empty()) throw marlet::ValueError("username must not be empty");
  for (unsigned char c : name) {
    if (c < 0x20 || c >= 0x7f)
      throw marlet::ValueError("username must hold printable ASCII characters only, not " +
                               marlet::py::repr_text(name));
    if (c == '\'' || c == '"')
      throw marlet::ValueError("username must not hold quotes: " + marlet::py::repr_text(name));
  }
  if (name.front() == ' ' || name.back() == ' ')
    throw marlet::ValueError("username must not begin or end with a blank: " + marlet::py::repr_text(name));
  return name;
}

}  // namespace vorna::accounts
