// The codes of the boot settings page: boot option codes against the drop-down's values
// and list entries, the page's element ids, and the equality the read-backs use.
//
// Boot option codes are the texts callers pass and receive; from code "3" on they differ
// from the page's values ("5" is code "3", "15" is "4", "6" is "5"). Every lookup is an
// exact match on text: an integer or any value outside the table looks up as null.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna::boot {

using marlet::Json;

struct OptionRow {
  const char* code;
  const char* page_value;
  const char* entry;  // locator of the drop-down's list entry
};

inline constexpr std::array<OptionRow, 6> kOptions = {{
    {"0", "0", "//option[@reskey='NO_OVERRIDE_BOOT']"},
    {"1", "1", "//option[@reskey='PXE_BOOT']"},
    {"2", "2", "//option[@reskey='HARD_DRIVER_BOOT']"},
    {"3", "5", "//option[@reskey='CD_ROM_BOOT']"},
    {"4", "15", "//option[@reskey='REMOVEABLE_MEDIA_BOOT']"},
    {"5", "6", "//option[@reskey='BIOS_SETUP']"},
}};

// Page value of StartOptionConf -> code; null when absent or outside the table.
inline Json code_of_page_value(const std::optional<std::string>& page_value) {
  if (!page_value) return nullptr;
  for (const auto& row : kOptions)
    if (*page_value == row.page_value) return row.code;
  return nullptr;
}

// Code -> locator of its list entry; null unless `code` is one of the texts "0".."5".
inline Json entry_of_code(const Json& code) {
  if (!code.is_string()) return nullptr;
  for (const auto& row : kOptions)
    if (code.get<std::string>() == row.code) return row.entry;
  return nullptr;
}

inline constexpr const char* kOptionList = "StartOptionConf";
inline constexpr const char* kOnce = "start_option_once";
inline constexpr const char* kPermanent = "start_option_permanent";
inline constexpr const char* kLegacy = "start_option_legecy";
inline constexpr const char* kUefi = "start_option_uefi";
inline constexpr const char* kSave = "saveBootOption";
inline constexpr const char* kSaveSpan = R"(//*[@id="saveBootOption"]/span)";

// The value of the selected one of two radio buttons, the first winning when both say
// so: a button counts when its value is its code and its `checked` is neither null nor
// empty. Null when neither does (the caller logs and answers false).
inline std::optional<std::string> selected_value(const std::optional<std::string>& first_value,
                                                 const std::optional<std::string>& first_checked,
                                                 const char* first_code,
                                                 const std::optional<std::string>& second_value,
                                                 const std::optional<std::string>& second_checked,
                                                 const char* second_code) {
  auto set = [](const std::optional<std::string>& checked) { return checked && !checked->empty(); };
  if (first_value == first_code && set(first_checked)) return first_value;
  if (second_value == second_code && set(second_checked)) return second_value;
  return std::nullopt;
}

// Python's `a == b` on values read from the page or given by the caller: no conversion
// between text and numbers ("1" != 1), but a truth value is the number 0 or 1
// (False == 0, True == 1.0), as Python compares them.
inline bool py_equal(const Json& a, const Json& b) {
  auto numeric = [](const Json& v) { return v.is_boolean() || v.is_number(); };
  if (numeric(a) && numeric(b) && (a.is_boolean() || b.is_boolean())) {
    auto as_double = [](const Json& v) { return v.is_boolean() ? (v.get<bool>() ? 1.0 : 0.0) : v.get<double>(); };
    return as_double(a) == as_double(b);
  }
  return a == b;
}

}  // namespace vorna::boot
