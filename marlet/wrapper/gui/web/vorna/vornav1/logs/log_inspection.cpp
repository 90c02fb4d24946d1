// The operation log and the system events, walked page by page through their pagers.
#include <set>

#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/logs/logs.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/logs/log_tables.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;

bool web_check_bmc_log(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_check_bmc_log");
  Json given = py::get(params, "check_list");
  std::vector<std::string> check_list =
      given.is_null() ? logs::default_sentences() : logs::text_list(given, "check_list");
  Json rows = Json::array();
  w.logger().info("[checkBmcLog] check bmc log.");
  open_page(w, pages::kOperationLog);
  // The pager link comes first on every page, the first included; no settle between.
  for (int link : logs::kOperationPagerNumbers) {
    w.locateElementByXpath(py::format(logs::kOperationPagerLink, link));
    for (int row = 1; row <= logs::kOperationRowsPerPage; ++row)
      rows.push_back(w.getTextByXpath(py::format(logs::kOperationRowText, row)));
  }
  leave_content_frame(w);
  w.logger().info(py::str(rows));
  std::string joined;
  for (size_t i = 0; i < rows.size(); ++i) {
    if (i) joined += ' ';
    joined += rows[i].get<std::string>();
  }
  // Joined with a blank, so a sentence that runs over two rows still matches.
  for (const auto& sentence : check_list) {
    if (!py::contains(joined, sentence)) {
      w.logger().error(py::format("(%s) is not found.", sentence));
      return false;
    }
  }
  return true;
}

bool check_keyword_in_system_log(VornaWebWrapper& w, const Json& keyword_list, const Json& check_time) {
  std::vector<std::string> keywords = logs::text_list(keyword_list, "keyword_list");
  if (!check_time.is_number())
    throw marlet::TypeError(
        py::format("check_time must be seconds since the epoch, a number, not %s", py::repr(check_time)));
  const double limit = check_time.get<double>();
  w.logger().info("[checkKeywordInSystemLog] check keyword in system log");
  w.locateElementById("menu_ALARMS");
  w.waitElement("id", "menu_ALARMS_DETAIL", 60, 3);
  w.locateElementById("menu_ALARMS_DETAIL");
  w.waitElement("class", kContentFrame, 60, 3);
  enter_content_frame(w);
  // The scan ends at a row older than the limit, at a keyword, or at a failed read. A
  // table whose rows are all newer than the limit would give none of these once the
  // pager cannot move on (its last page, full), so a page whose rows were all seen
  // before on an earlier page ends the scan too, with false: the table holds nothing
  // more to look at. This also ends a pager that cycles back to an earlier page.
  std::set<std::vector<std::string>> seen;
  for (;;) {
    w.locateElementByXpath(logs::kEventPager);
    std::vector<std::string> page;
    for (int row = 1; row <= logs::kEventRowsPerPage; ++row) {
      std::string when = w.getTextByXpath(py::format(logs::kEventTime, row));
      if (logs::local_seconds(when) < limit) {
        leave_content_frame(w);
        return false;
      }
      std::string description = w.getTextByXpath(py::format(logs::kEventDescription, row));
      for (const auto& keyword : keywords) {
        if (py::contains(description, keyword)) {
          std::string event_id = w.getTextByXpath(py::format(logs::kEventId, row));
          w.logger().error(py::format("关键字%s出现在系统日志%s中，事件ID为%s", keyword, description, event_id));
          return true;  // inside the content frame
        }
      }
      page.push_back(when);
      page.push_back(description);
    }
    if (!seen.insert(std::move(page)).second) {
      w.logger().warn("[checkKeywordInSystemLog] the pager shows no new page: end of the system log");
      leave_content_frame(w);
      return false;
    }
  }
}

}  // namespace vorna
