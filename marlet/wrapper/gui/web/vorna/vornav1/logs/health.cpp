// The alarm page's verdict and the login page's error label.
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/logs/logs.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

namespace {
// The alarm page's all-clear sentences, in the console's two languages.
constexpr const char* kNoAlarmsChinese = "当前没有告警信息.";
constexpr const char* kNoAlarmsEnglish = "No current alarms.";
}  // namespace

bool check_health(VornaWebWrapper& w) {
  w.logger().info("[warningInfo] start...");
  open_page(w, pages::kAlarms);
  std::string warn_info = w.getTextById("currentAlarmTable", {.retry = 3, .highlight = false});
  leave_content_frame(w);
  // Whole and exact: other spacing or a missing full stop is an alarm text.
  if (warn_info == kNoAlarmsChinese || warn_info == kNoAlarmsEnglish) return true;
  w.logger().error(py::format("current alarms: %s", warn_info));
  return false;
}

std::string web_get_error_warning(VornaWebWrapper& w) {
  // The label is hidden until a login fails; the console's own `$` shows it for the
  // reading (a hidden element has no text) and hides it again.
  w.session().execute_script(R"($("#lblLoginError").attr("style","display: block;"))");
  std::string result = w.getTextById("lblLoginError");
  w.session().execute_script(R"($("#lblLoginError").attr("style","display: None;"))");
  return result;
}

}  // namespace vorna
