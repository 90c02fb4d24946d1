// The wrapper's bench comparisons: they touch no browser, so they are the free functions
// of this folder, writing to the wrapper's logger.
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparisons.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {

void VornaWebWrapper::compare_power(const Json& webPowerInfo, const Json& powerInfo) {
  comparison::compare_power(webPowerInfo, powerInfo, logger());
}

void VornaWebWrapper::compare_pcie(const Json& webpcieInfo, const Json& pcieInfo) {
  comparison::compare_pcie(webpcieInfo, pcieInfo, logger());
}

void VornaWebWrapper::compare_back_board(const Json& webBackBoardInfo, const Json& backBoardInfo) {
  comparison::compare_back_board(webBackBoardInfo, backBoardInfo, logger());
}

void VornaWebWrapper::compare_riser(const Json& webRaiserInfo, const Json& riserInfo) {
  comparison::compare_riser(webRaiserInfo, riserInfo, logger());
}

void VornaWebWrapper::compare_raid(const Json& webRaidInfo, const Json& raidInfo) {
  comparison::compare_raid(webRaidInfo, raidInfo, logger());
}

void VornaWebWrapper::compare_memory(const Json& webMemoryInfo, const Json& osMemoryInfo) {
  comparison::compare_memory(webMemoryInfo, osMemoryInfo, logger());
}

void VornaWebWrapper::compare_storage(const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo,
                                      const Json& diskInfo) {
  comparison::compare_storage(webRaidInfo, raidInfo, webDiskInfo, diskInfo, logger());
}

}  // namespace vorna
