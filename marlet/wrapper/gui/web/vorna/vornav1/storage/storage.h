// Storage: the RAID controllers, disks and logical drives of the storage tree.
#pragma once

#include <string>

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// The panes of every "RAID" entry of the storage tree, keyed by the label rule: {} for
// none, the record itself for one, {"0": record, "1": ...} for more.
Json web_get_raid_web_info(VornaWebWrapper& w);
// First cell of the RAID card table on the other-cards tab; stays in the content frame.
std::string get_raid_name(VornaWebWrapper& w);
// Selects logical drives 0 to 3 (as many as there are) and deletes them at once.
void delete_all_raid_logical_driver(VornaWebWrapper& w);
// params: "name" (text), "level" (as the level list shows it), "count" (integer):
// a logical drive over disks 0 .. count-1. TypeError for a non-map or a present key of
// the wrong type, before the console is touched; KeyError where a key is first needed.
void create_raid_logical_driver(VornaWebWrapper& w, const Json& params);
// params: "raid_disk". True: {"<controller index>": {disk name: disk record}};
// otherwise the pass-through disks {disk name: disk record}.
Json get_storage_info(VornaWebWrapper& w, const Json& params);
// {whole title of each logical drive: its pane record}.
Json web_get_logical_driver_info(VornaWebWrapper& w);

}  // namespace vorna
