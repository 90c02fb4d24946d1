// The bench comparisons as free functions of their arguments and a logger, so that they
// can be exercised without a wrapper or a browser; wrapper_comparisons.h forwards here.
//
// Each returns normally when everything agrees and raises at the first difference
// (WebDisplayException), on an empty console side where one is checked
// (WebElementException), and otherwise with the failure kind Python would raise
// (KeyError, IndexError, ValueError, ZeroDivisionError, TypeError). No argument is changed.
#pragma once

#include "marlet/log/logger.h"
#include "marlet/utils/pytext.h"

namespace vorna::comparison {

using marlet::Json;

// Console lists of a kind of component against a bench table keyed by part number,
// PCI id quadruple or board id.
void compare_power(const Json& webPowerInfo, const Json& powerInfo, marlet::Logger& log);
void compare_pcie(const Json& webpcieInfo, const Json& pcieInfo, marlet::Logger& log);
void compare_back_board(const Json& webBackBoardInfo, const Json& backBoardInfo, marlet::Logger& log);
void compare_riser(const Json& webRaiserInfo, const Json& riserInfo, marlet::Logger& log);
void compare_raid(const Json& webRaidInfo, const Json& raidInfo, marlet::Logger& log);

// Console memory modules against the operating system's records, keyed by module name.
void compare_memory(const Json& webMemoryInfo, const Json& osMemoryInfo, marlet::Logger& log);

// Console RAID controllers and disks against the operating system's, keyed by controller.
void compare_storage(const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo, const Json& diskInfo,
                     marlet::Logger& log);

}  // namespace vorna::comparison
