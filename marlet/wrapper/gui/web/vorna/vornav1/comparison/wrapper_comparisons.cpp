// The wrapper's bench comparisons: they touch no browser, so they are the free functions
// of this folder, writing to the wrapper's logger.
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/wrapper_comparisons.h"

#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparisons.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {

void compare_power(VornaWebWrapper& w, const Json& webPowerInfo, const Json& powerInfo) {
  comparison::compare_power(webPowerInfo, powerInfo, w.logger());
}

void compare_pcie(VornaWebWrapper& w, const Json& webpcieInfo, const Json& pcieInfo) {
  comparison::compare_pcie(webpcieInfo, pcieInfo, w.logger());
}

void compare_back_board(VornaWebWrapper& w, const Json& webBackBoardInfo, const Json& backBoardInfo) {
  comparison::compare_back_board(webBackBoardInfo, backBoardInfo, w.logger());
}

void compare_riser(VornaWebWrapper& w, const Json& webRaiserInfo, const Json& riserInfo) {
  comparison::compare_riser(webRaiserInfo, riserInfo, w.logger());
}

void compare_raid(VornaWebWrapper& w, const Json& webRaidInfo, const Json& raidInfo) {
  comparison::compare_raid(webRaidInfo, raidInfo, w.logger());
}

void compare_memory(VornaWebWrapper& w, const Json& webMemoryInfo, const Json& osMemoryInfo) {
  comparison::compare_memory(webMemoryInfo, osMemoryInfo, w.logger());
}

void compare_storage(VornaWebWrapper& w, const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo,
                     const Json& diskInfo) {
  comparison::compare_storage(webRaidInfo, raidInfo, webDiskInfo, diskInfo, w.logger());
}

}  // namespace vorna
