#include "marlet/wrapper/gui/web/vorna/vornav1/storage/storage_tree.h"

#include "marlet/utils/pytext.h"

namespace vorna::storage {
namespace py = marlet::py;

Entry top_entry(std::string_view title) {
  if (py::contains(title, "RAID")) return Entry::RaidController;
  if (py::contains(title, "PCIe Card")) return Entry::CardController;
  if (names_disk(title)) return Entry::PassThroughDisk;
  return Entry::Other;
}

bool is_logical_drive(std::string_view title) { return py::contains(title, "Drive"); }

bool names_disk(std::string_view title) { return py::contains(title, "Disk"); }

bool takes_index(IndexRule rule, Entry e) {
  return rule == IndexRule::RaidTitles ? e == Entry::RaidController : is_controller(e);
}

std::string label_key(std::string_view label, std::string_view prefix) {
  std::string key = py::replace(py::strip(py::drop_last(label)), " ", "_");
  return py::lower(std::string(prefix) + key);
}

std::string pane_key(std::string_view label) { return py::drop_last(label); }

std::string disk_name(std::string_view title) {
  auto cut = title.find('(');
  return std::string(cut == std::string_view::npos ? title : title.substr(0, cut));
}

std::vector<webdriver::Element> without_first(std::vector<webdriver::Element> rows, size_t n) {
  if (rows.size() <= n) return {};
  rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(n));
  return rows;
}

}  // namespace vorna::storage
