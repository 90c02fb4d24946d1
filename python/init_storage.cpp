// Storage: RAID controllers, the storage tree, logical drives.
#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage.h"
#include "python/operation.h"

namespace vorna_py {

Subsystem storage_operations() {
  return {"storage", {
    op("web_get_raid_web_info", &vorna::web_get_raid_web_info, {}, Login::needed, "The panes of every RAID entry of the storage tree, keyed by the label rule."),
    op("get_raid_name", &vorna::get_raid_name, {}, Login::needed, "The RAID card's name; stays in the content frame."),
    op("get_storage_info", &vorna::get_storage_info, {"params"}, Login::needed, "The disks: by controller when params[\"raid_disk\"], else the pass-through ones."),
    op("web_get_logical_driver_info", &vorna::web_get_logical_driver_info, {}, Login::needed, "Each logical drive's title -> its pane record."),
    op("create_raid_logical_driver", &vorna::create_raid_logical_driver, {"params"}, Login::needed, "Creates a logical drive (name, level, count) over disks 0 .. count-1."),
    op("delete_all_raid_logical_driver", &vorna::delete_all_raid_logical_driver, {}, Login::needed, "Deletes logical drives 0 to 3 (as many as there are) at once."),
  }};
}

}  // namespace vorna_py
