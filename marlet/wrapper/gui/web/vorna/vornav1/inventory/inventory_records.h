// Record builders of the inventory readers that need no browser, and the table of what
// tells the card readers of tabOther apart.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;

// Adds "ConsumedWatts" to the power records that the statistics text names ("PS1: 230W"),
// by the supply's number as a Python index into the list; matches that name no record
// are passed over.
void join_consumption(Json& powerList, const std::string& actual_power);

// One card reader of tabOther: the list entry it reads, its log tag, what an empty
// entry means, and its record's keys with their columns, in record order.
struct CardTable {
  int entry;                // li[n] of the list otherTableid
  const char* tag;          // log line at info
  const char* empty_text;   // message of the guard, or of the error line
  bool empty_raises;        // false: log the text at error and return []
  std::vector<std::pair<const char*, int>> columns;
};

const CardTable& pcie_table();
const CardTable& back_board_table();
const CardTable& riser_table();
const CardTable& raid_table();

// The XPath of the table bodies of list entry `entry` of otherTableid.
std::string other_entry_bodies(int entry);

// The record of one row, from the texts read in rising column order (`texts_by_column`
// maps column -> text), keys in the table's record order.
Json card_record(const CardTable& table, const std::vector<std::pair<int, std::string>>& texts_by_column);

// The part of an entry's name before its first "(", stripped.
std::string entry_name(const std::string& name);

// A detail label of a port, every ":" removed.
std::string detail_label(const std::string& text);

}  // namespace vorna
