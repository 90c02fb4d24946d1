// Health and logs: the alarm page, the login page's error label, the operation log and
// the system events.
#pragma once

#include <string>

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

// True when the alarm page shows one of its all-clear sentences, exactly.
bool check_health(VornaWebWrapper& w);
// The login page's error label, shown for the moment of the reading.
std::string web_get_error_warning(VornaWebWrapper& w);
// params: "check_list" (list of text; null or absent: the default sentences). Reads
// six pages of the operation log and tests that each sentence occurs in them.
bool web_check_bmc_log(VornaWebWrapper& w, const Json& params);
// Walks the system events down to `check_time` (seconds since the epoch); true at the
// first keyword found (inside the content frame), false at an older row or when the
// pager shows a page seen before.
bool check_keyword_in_system_log(VornaWebWrapper& w, const Json& keyword_list, const Json& check_time);

}  // namespace vorna
