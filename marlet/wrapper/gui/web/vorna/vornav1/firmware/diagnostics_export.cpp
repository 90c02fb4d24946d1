// Data the console hands out through the browser's download: the one-button collection
// of diagnostic information and the operation log. The browser saves into download_dir;
// neither operation opens the file. A browser on a Selenium Grid node saves on that node;
// the element layer fetches the file from there into download_dir (or refuses, before
// anything is touched, when the node does not keep downloads for fetching).
#include <cmath>
#include <filesystem>

#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/errors.h"
#include "webdriver/support/wait.h"

namespace vorna {
namespace py = marlet::py;
namespace fs = std::filesystem;

namespace {
constexpr const char* kCollectionFile = "dump_info.tar.gz";
constexpr const char* kOperationLogFile = "operate_log.csv";
}  // namespace

std::string set_info_collection(VornaWebWrapper& w, double timeout) {
  // A wait no clock can hold (NaN, an infinity, beyond some 292 years either way) could
  // never end; it is refused before anything happens. A negative time-out is a wait like
  // any other: one look, and the time-out after one poll.
  if (!std::isfinite(timeout) || std::fabs(timeout) > webdriver::kLongestWaitSeconds)
    throw marlet::ValueError(py::format("timeout must be a finite number of seconds up to %s, not %s",
                                        webdriver::kLongestWaitSeconds, timeout));
  auto download = w.expect_download("set_info_collection", kCollectionFile);
  w.logger().info("[setInfoCollection]");
  // os.path.join: an empty folder leaves the bare name.
  std::string path = w.download_dir.empty() ? kCollectionFile : (fs::path(w.download_dir) / kCollectionFile).string();
  // Only a regular file is removed (a folder of that name stays); a failure to remove
  // it propagates before any click.
  if (fs::is_regular_file(path)) fs::remove(path);
  open_page(w, pages::kOverview);
  w.locateElementById("lnkOneBtnCollect");
  // The collection starting on the controller: its progress shown ends it early.
  w.settle_until(10, [&w] { return top_element_shown(w, "diaginfoProgress"); });
  leave_content_frame(w);
  // The progress element lives in the top document; 30-second grain.
  w.waitElement("id", "diaginfoProgress", timeout, 30, /*visibility=*/false);
  w.fetch_download(download);
  return path;
}

std::string web_export_bmc_log(VornaWebWrapper& w) {
  auto download = w.expect_download("web_export_bmc_log", kOperationLogFile);
  w.logger().info("[exportBmcLog] export bmc log.");
  follow_menu(w, pages::kSystemManage);
  w.page_settle();
  enter_content_frame(w);
  w.locateElementById("download_ope");
  w.page_settle();
  leave_content_frame(w);
  w.fetch_download(download);
  return "operate_log";
}

}  // namespace vorna
