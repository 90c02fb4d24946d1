// The bench comparisons: records in, nothing out, or the first difference raised.
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/wrapper_comparisons.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem comparison_operations() {
  return {"bench comparison", {
    op("compare_power", &vorna::compare_power, {"webPowerInfo", "powerInfo"}, Login::offline, "The console's power supplies against the bench table, by part number; raises at the first difference."),
    op("compare_pcie", &vorna::compare_pcie, {"webpcieInfo", "pcieInfo"}, Login::offline, "The console's PCIe cards against the bench table, by PCI id; raises at the first difference."),
    op("compare_back_board", &vorna::compare_back_board, {"webBackBoardInfo", "backBoardInfo"}, Login::offline, "The console's backplanes against the bench table, by board id; raises at the first difference."),
    op("compare_riser", &vorna::compare_riser, {"webRaiserInfo", "riserInfo"}, Login::offline, "The console's riser cards against the bench table, by board id; raises at the first difference."),
    op("compare_raid", &vorna::compare_raid, {"webRaidInfo", "raidInfo"}, Login::offline, "The console's RAID cards against the bench table, by PCI id; raises at the first difference."),
    op("compare_memory", &vorna::compare_memory, {"webMemoryInfo", "osMemoryInfo"}, Login::offline, "The console's memory modules against the operating system's records; raises at the first difference."),
    op("compare_storage", &vorna::compare_storage, {"webRaidInfo", "raidInfo", "webDiskInfo", "diskInfo"}, Login::offline, "The console's RAID controllers and disks against the operating system's; raises at the first difference."),
  }};
}

}  // namespace vorna_py
