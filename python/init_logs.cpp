// Health, alarms and log inspection.
#include "marlet/wrapper/gui/web/vorna/vornav1/logs/logs.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem logs_operations() {
  return {"health and logs", {
    op("check_health", &vorna::check_health, {}, Login::needed, "True when the alarm page shows one of its all-clear sentences."),
    op("web_get_error_warning", &vorna::web_get_error_warning, {}, Login::needed, "The login page's error label."),
    op("web_check_bmc_log", &vorna::web_check_bmc_log, {"params"}, Login::needed, "True when each sentence of params[\"check_list\"] occurs in the operation log."),
    op("check_keyword_in_system_log", &vorna::check_keyword_in_system_log, {"keyword_list", "check_time"}, Login::needed, "True at the first keyword found in the system events since check_time."),
  }};
}

}  // namespace vorna_py
