// The bench comparisons on the wrapper: each forwards to comparisons.h with the
// wrapper's logger. They touch no browser.
#pragma once

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

void compare_power(VornaWebWrapper& w, const Json& webPowerInfo, const Json& powerInfo);
void compare_pcie(VornaWebWrapper& w, const Json& webpcieInfo, const Json& pcieInfo);
void compare_back_board(VornaWebWrapper& w, const Json& webBackBoardInfo, const Json& backBoardInfo);
void compare_riser(VornaWebWrapper& w, const Json& webRaiserInfo, const Json& riserInfo);
void compare_raid(VornaWebWrapper& w, const Json& webRaidInfo, const Json& raidInfo);
void compare_memory(VornaWebWrapper& w, const Json& webMemoryInfo, const Json& osMemoryInfo);
void compare_storage(VornaWebWrapper& w, const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo,
                     const Json& diskInfo);

}  // namespace vorna
