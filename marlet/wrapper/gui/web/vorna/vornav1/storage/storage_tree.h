// The storage tree of the system information page, as the storage readers see it: what
// a title makes of an entry, how labels become keys, and the one walk over the top-level
// entries that the controller reader and the disk reader share, each with its own rule
// for which entries take an index.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "webdriver/element.h"

namespace vorna::storage {

inline constexpr const char* kTopEntries = R"(//*[@id="storageViewId"]/ul/li)";
inline constexpr const char* kSecondLevelEntries = R"(//*[@id="storageViewId"]/ul/li/ul/li)";
inline constexpr const char* kTitle = "./a/span[2]";
inline constexpr const char* kChildren = "./ul/li";
inline constexpr const char* kExpander = "./span";
inline constexpr const char* kRowLabel = "./span";
inline constexpr const char* kRowValue = "./p";

// What a top-level entry is, told by its title (case-sensitive, found anywhere).
enum class Entry {
  RaidController,  // "RAID"
  CardController,  // "PCIe Card" without "RAID"
  PassThroughDisk, // "Disk" and neither of the above
  Other,
};

Entry top_entry(std::string_view title);
inline bool is_controller(Entry e) { return e == Entry::RaidController || e == Entry::CardController; }
// A controller's child whose title holds "Drive" is a logical drive; any other is a disk.
bool is_logical_drive(std::string_view title);
// A top-level title that names a disk.
bool names_disk(std::string_view title);

// Which entries of the walk take the next index, from 0.
enum class IndexRule {
  RaidTitles,   // the controller reader: "RAID" titles alone
  Controllers,  // the disk reader: controllers of both kinds
};
bool takes_index(IndexRule rule, Entry e);

// The label rule: the label without its last character, stripped, blanks made "_",
// `prefix` in front, all lower case ("Firmware Version:" -> "firmware_version").
std::string label_key(std::string_view label, std::string_view prefix = "");
// A pane key as the tree readers keep it: the label without its last character.
std::string pane_key(std::string_view label);
// A disk's name: its title up to, and without, the first "(", untrimmed.
std::string disk_name(std::string_view title);

// `rows` without its first `n` entries (an empty list when it has no more).
std::vector<webdriver::Element> without_first(std::vector<webdriver::Element> rows, size_t n);

// One top-level entry as the walk hands it over.
struct TopEntry {
  webdriver::Element& element;
  Entry kind;
  std::string title;
  std::optional<int> index;  // set when the reader's rule counts the entry
};

// Walks `entries` in order: `read_title(element)` gives each title (a reader may click
// before it reads), the title gives the kind, the rule the index; `visit(TopEntry)` does
// the reader's work.
template <class ReadTitle, class Visit>
void walk_top_entries(std::vector<webdriver::Element>& entries, IndexRule rule, ReadTitle&& read_title,
                      Visit&& visit) {
  int next = 0;
  for (auto& element : entries) {
    std::string title = read_title(element);
    Entry kind = top_entry(title);
    std::optional<int> index;
    if (takes_index(rule, kind)) index = next++;
    visit(TopEntry{element, kind, std::move(title), index});
  }
}

}  // namespace vorna::storage
