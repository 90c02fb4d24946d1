// Data the console hands out through the browser's download: the one-button collection
// of diagnostic information and the operation log. The browser saves into download_dir;
// neither operation opens the file.
#include <cmath>
#include <filesystem>

#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;
namespace fs = std::filesystem;

namespace {
constexpr const char* kCollectionFile = "dump_info.tar.gz";
}  // namespace

std::string VornaWebWrapper::set_info_collection(double timeout) {
  if (std::isnan(timeout) || timeout < 0)
    throw marlet::ValueError(py::format("timeout must be a number of seconds, not %s", timeout));
  logger().info("[setInfoCollection]");
  // os.path.join: an empty folder leaves the bare name.
  std::string path = download_dir.empty() ? kCollectionFile : (fs::path(download_dir) / kCollectionFile).string();
  // Only a regular file is removed (a folder of that name stays); a failure to remove
  // it propagates before any click.
  if (fs::is_regular_file(path)) fs::remove(path);
  open_page(pages::kOverview);
  locateElementById("lnkOneBtnCollect");
  settle(10);
  leave_content_frame();
  // The progress element lives in the top document; 30-second grain.
  waitElement("id", "diaginfoProgress", timeout, 30, /*visibility=*/false);
  return path;
}

std::string VornaWebWrapper::web_export_bmc_log() {
  logger().info("[exportBmcLog] export bmc log.");
  follow_menu(pages::kSystemManage);
  page_settle();
  enter_content_frame();
  locateElementById("download_ope");
  page_settle();
  leave_content_frame();
  return "operate_log";
}

}  // namespace vorna
