// Identity and versions.
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem identity_operations() {
  return {"identity and versions", {
    op("get_product_sn", &vorna::get_product_sn, {}, Login::needed, "The product serial number the console reports."),
    op("get_guid", &vorna::get_guid, {}, Login::needed, "The machine's GUID the console reports."),
    op("get_bios_name", &vorna::get_bios_name, {}, Login::needed, "The BIOS name the console reports."),
    op("web_get_firmware_version", &vorna::web_get_firmware_version, {}, Login::needed, "{bmc_version, bios_version, cpld_version} from the console."),
    op("web_get_software_info", &vorna::web_get_software_info, {}, Login::needed, "The software rows as a map, or the console's notice when the OS agent does not report."),
  }};
}

}  // namespace vorna_py
