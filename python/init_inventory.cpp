// Inventory readers: the tabs of the system information page.
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem inventory_operations() {
  return {"inventory", {
    op("web_get_main_board_info", &vorna::web_get_main_board_info, {}, Login::needed, "The mainboard's records from the system information page."),
    op("get_back_info", &vorna::get_back_info, {}, Login::needed, "Backplane name -> version; returns inside the content frame."),
    op("web_get_fan_web_info", &vorna::web_get_fan_web_info, {}, Login::needed, "The fans' records."),
    op("web_get_power_web_info", &vorna::web_get_power_web_info, {}, Login::needed, "The power supplies' records, with ConsumedWatts from the power statistics."),
    op("web_get_pcie_web_info", &vorna::web_get_pcie_web_info, {}, Login::needed, "The PCIe cards: one record per card table."),
    op("web_get_hard_back_board_info", &vorna::web_get_hard_back_board_info, {}, Login::needed, "The backplanes' records."),
    op("web_get_riser_info", &vorna::web_get_riser_info, {}, Login::needed, "The riser cards' records."),
    op("web_get_other_raid_info", &vorna::web_get_other_raid_info, {}, Login::needed, "The RAID cards' records from the other-cards tab."),
    op("get_tpm_info", &vorna::get_tpm_info, {}, Login::needed, "The security module's record."),
    op("web_get_cpu_info_vorna", &vorna::web_get_cpu_info_vorna, {"params"}, Login::needed, "The processors: params[\"type\"] \"single\" or \"all\"; None for another type."),
    op("web_get_cpu_info_vorna_single", &vorna::web_get_cpu_info_vorna_single, {}, Login::needed, "The first processor, from the processors' tab already open."),
    op("web_get_cpu_info_all", &vorna::web_get_cpu_info_all, {}, Login::needed, "Every processor, from the processors' tab already open."),
    op("web_get_memory_web_info", &vorna::web_get_memory_web_info, {}, Login::needed, "The memory modules' records."),
    op("get_nic_info", &vorna::get_nic_info, {}, Login::needed, "The network cards' records."),
    op("web_get_netcard_web_info", &vorna::web_get_netcard_web_info, {}, Login::needed, "The network cards' records with their ports."),
    op("web_get_fccard_info", &vorna::web_get_fccard_info, {}, Login::needed, "The FC cards' records."),
    op("web_get_other_devices_info", &vorna::web_get_other_devices_info, {}, Login::needed, "The other devices' records."),
  }};
}

}  // namespace vorna_py
