// Capacity conversion: Units::convert("1.819TB", "GB") == "1862.656GB".
//
// Factors are binary (1 KB = 1024 B, 1 MB = 1024 KB, ...), which is what consoles and
// operating systems mean by these units for disks and memory; "KiB", "MiB", ... are the
// same factors spelled the IEC way. Units are case-insensitive. The number in the
// result is rounded to three decimals and printed as Python prints a float ("1.0GB"),
// so it always reads back with float().
#pragma once

#include <string>
#include <string_view>

namespace marlet {

struct Units {
  // `text` is a number directly followed by its unit, no blanks ("512MB", "1.5TB").
  // ValueError for a text without a number or with an unknown unit.
  static std::string convert(std::string_view text, std::string_view target);
  // The factor of a unit in bytes (1 for "B", 1024 for "KB", ...); ValueError if unknown.
  static double factor(std::string_view unit);
};

}  // namespace marlet
