// The console's pages by menu path, and the fixed places of its geometry: the menu and
// dialogs live in the top document, every page's content in the frame "rightMid".
#pragma once

#include <string>
#include <vector>

namespace vorna {

using MenuPath = std::vector<std::string>;

inline constexpr const char* kContentFrame = "rightMid";
inline constexpr const char* kDialogOk = "btnDialogOK";

namespace pages {
inline const MenuPath kOverview = {"menu_INFO"};
inline const MenuPath kSummary = {"menu_INFO", "menu_INFO_SUMMARY"};
inline const MenuPath kSystemInfo = {"menu_INFO", "menu_SYSTEM_INFO"};
inline const MenuPath kLocalUsers = {"menu_CONFIGURATION", "menu_LOCAL_USER"};
inline const MenuPath kNetwork = {"menu_CONFIGURATION", "menu_NETWORK"};
inline const MenuPath kBootSettings = {"menu_CONFIGURATION", "menu_BOOTOPTION_SETUP"};
inline const MenuPath kSystemSettings = {"menu_CONFIGURATION", "menu_SYSTEM_ENTRY"};
inline const MenuPath kLdap = {"menu_CONFIGURATION", "menu_LDAP_CONFIG"};
inline const MenuPath kPowerStrategy = {"menu_POWER_ENERGY"};
inline const MenuPath kPowerControl = {"menu_POWER_ENERGY", "menu_ELECSRC_CONTROL"};
inline const MenuPath kPowerCapping = {"menu_POWER_ENERGY", "menu_POWER"};
inline const MenuPath kPowerStatistics = {"menu_POWER_ENERGY", "menu_SAVE_SETUP"};
inline const MenuPath kSystemManage = {"menu_SYSTEM_MANAGE"};
inline const MenuPath kFirmware = {"menu_SYSTEM_MANAGE", "menu_FIRM_UPGRADE"};
inline const MenuPath kOperationLog = {"menu_SYSTEM_MANAGE", "menu_OPER_LOG"};
inline const MenuPath kAlarms = {"menu_ALARMS"};
inline const MenuPath kSystemEvents = {"menu_ALARMS", "menu_ALARMS_DETAIL"};
inline const MenuPath kRealTimeMonitor = {"menu_REAL_TIME_MONITOR"};
}  // namespace pages

// Tabs of the system information page.
namespace tabs {
inline constexpr const char* kSystem = "tabSystem";
inline constexpr const char* kStorage = "tabStorage";
inline constexpr const char* kOther = "tabOther";
inline constexpr const char* kCard = "tabCard";
inline constexpr const char* kFan = "tabFan";
inline constexpr const char* kPower = "tabPower";
inline constexpr const char* kProcess = "tabProcess";
inline constexpr const char* kMemory = "tabMemory";
}  // namespace tabs

}  // namespace vorna
