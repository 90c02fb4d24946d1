// The alarm page's verdict and the login page's error label.
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {
// The alarm page's all-clear sentences, in the console's two languages.
constexpr const char* kNoAlarmsChinese = "当前没有告警信息.";
constexpr const char* kNoAlarmsEnglish = "No current alarms.";
}  // namespace

bool VornaWebWrapper::check_health() {
  logger().info("[warningInfo] start...");
  open_page(pages::kAlarms);
  std::string warn_info = getTextById("currentAlarmTable", {.retry = 3, .highlight = false});
  leave_content_frame();
  // Whole and exact: other spacing or a missing full stop is an alarm text.
  if (warn_info == kNoAlarmsChinese || warn_info == kNoAlarmsEnglish) return true;
  logger().error(py::format("current alarms: %s", warn_info));
  return false;
}

std::string VornaWebWrapper::web_get_error_warning() {
  // The label is hidden until a login fails; the console's own `$` shows it for the
  // reading (a hidden element has no text) and hides it again.
  session().execute_script(R"($("#lblLoginError").attr("style","display: block;"))");
  std::string result = getTextById("lblLoginError");
  session().execute_script(R"($("#lblLoginError").attr("style","display: None;"))");
  return result;
}

}  // namespace vorna
