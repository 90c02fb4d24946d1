// The reads and tests the bench comparisons share, with Python's failure kinds: a plain
// lookup of an absent key is a KeyError, a first token of a blank text an IndexError, a
// text that is no number a ValueError, a containment test on a null a TypeError.
#pragma once

#include <string>

#include "marlet/utils/pytext.h"

namespace vorna::comparison {

using marlet::Json;

// TypeError naming `argument` unless `value` is a list / a map.
const Json& require_list(const Json& value, const char* argument);
const Json& require_map(const Json& value, const char* argument);

// map.get(key): null when absent; TypeError when `map` is no map.
Json get(const Json& map, const std::string& key);
// map[key]: KeyError(key) when absent; TypeError when `map` is no map.
const Json& at(const Json& map, const std::string& key);
// The value as text; TypeError naming `what` otherwise.
const std::string& text(const Json& value, const std::string& what);

// `needle in haystack` on texts: TypeError when either side is not text.
bool contained(const Json& needle, const Json& haystack);

// The text up to its first run of white space: text.split()[0] (IndexError when blank).
std::string first_token(const std::string& text);

}  // namespace vorna::comparison
