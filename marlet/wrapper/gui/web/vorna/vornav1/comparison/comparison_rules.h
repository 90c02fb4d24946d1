// The reads and tests the bench comparisons share. They keep Python's failure kinds, since
// the harness tells a difference (WebDisplayException) from broken input by the kind:
// a plain lookup of an absent key is a KeyError, the first token of a blank text an
// IndexError, a text that is no number a ValueError, a zero base of the 1% test a
// ZeroDivisionError, a containment test on a null a TypeError.
#pragma once

#include <string>
#include <string_view>

#include "marlet/utils/pytext.h"

namespace vorna::comparison {

using marlet::Json;

// ---- shapes: TypeError naming `what` ("webPowerInfo", "raidInfo['c0']") otherwise ----
const Json& require_list(const Json& value, std::string_view what);
const Json& require_map(const Json& value, std::string_view what);
const std::string& text(const Json& value, std::string_view what);

// `what` followed by a key in Python's subscript form: name['key'].
std::string subscript(std::string_view what, std::string_view key);

// record.get(key): null when absent.
Json get(const Json& record, std::string_view key, std::string_view what);
// record[key]: KeyError(key) when absent.
const Json& at(const Json& record, std::string_view key, std::string_view what);

// ---- tests ----
// `part in whole`, Python's operator; its TypeError (a null on either side) names the two
// places, as "webRaiserInfo[0]['Name'] in riserInfo['B1']['BoardName']: ...".
bool contained(const Json& part, const Json& whole, std::string_view part_place, std::string_view whole_place);

// text.split()[0]: IndexError "list index out of range" for a blank text.
std::string first_token(std::string_view text);

// Memory sizes: the first tokens as integers are equal, or the console's is 1024 times
// the system's (console in MB, system in GB); never the other way round.
bool memory_capacity_agrees(std::string_view web, std::string_view os);

// Memory voltage: the console's first token as an integer (millivolts) equals the system's
// first token as a float (volts) times 1000, cut towards zero.
bool millivolts_agree(std::string_view web, std::string_view os);

// The capacity rule of disks: blanks removed, converted to gigabytes, shown as "<n> GB".
std::string gigabytes(std::string_view size);

// Disk capacities in the form gigabytes() gives: the deviation relative to the console's
// number is at most 1%. ZeroDivisionError "float division by zero" for a console size 0.
bool within_one_percent(std::string_view web_capacity, std::string_view os_capacity);

// A link speed as a number once its unit text is removed: "12 Gbps" less " Gbps" is 12.
double speed(std::string_view text, std::string_view unit);

}  // namespace vorna::comparison
