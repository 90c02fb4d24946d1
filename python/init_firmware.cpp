// Firmware upgrade and diagnostics export.
#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem firmware_operations() {
  return {"firmware and diagnostics", {
    op("set_firmware_upgrade", &vorna::set_firmware_upgrade, {"filepath"}, Login::needed, "Uploads the firmware file and waits for the upgrade; true when the result names a success."),
    op("update_fw", &vorna::update_fw, {"fw_path"}, Login::needed, "Uploads the firmware at fw_path; true on a complete upgrade, None when no file is there."),
    op("set_info_collection", &vorna::set_info_collection, {{"timeout", 600}}, Login::needed, "Runs the one-button collection; the path of dump_info.tar.gz in the download folder."),
    op("web_export_bmc_log", &vorna::web_export_bmc_log, {}, Login::needed, "Downloads the operation log; returns \"operate_log\"."),
  }};
}

}  // namespace vorna_py
