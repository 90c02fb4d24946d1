// Firmware and diagnostics: the firmware upgrade through the console's upgrade page, and
// the downloads of the one-button collection and the operation log. Each operation
// drives the console through `w`.
#pragma once

#include <string>

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// Uploads the file through the upgrade page, waits (up to 1200 s) for the progress
// element to go, and reports whether the result text names a success.
bool set_firmware_upgrade(VornaWebWrapper& w, const std::string& filepath);
// The same with the page's other locators and a fixed wait of 300 s: true only for the
// exact text "The upgrade is complete.", null when no file or folder is at `fw_path`.
// Returns inside the content frame.
Json update_fw(VornaWebWrapper& w, const std::string& fw_path);
// Starts the one-button collection and waits up to `timeout` seconds for it; returns
// the path of "dump_info.tar.gz" under download_dir (an older file there is deleted).
std::string set_info_collection(VornaWebWrapper& w, double timeout);
// Clicks the operation log's download; returns "operate_log".
std::string web_export_bmc_log(VornaWebWrapper& w);

}  // namespace vorna
