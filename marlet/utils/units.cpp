#include "marlet/utils/units.h"

#include <cctype>
#include <cmath>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"

namespace marlet {

double Units::factor(std::string_view unit) {
  std::string u;
  for (char c : unit) u += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (u.size() == 3 && u[1] == 'I' && u[2] == 'B') u = std::string(1, u[0]) + "B";  // KiB -> KB
  static const char* kOrder[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
  double f = 1;
  for (const char* name : kOrder) {
    if (u == name) return f;
    f *= 1024;
  }
  throw ValueError("unknown unit: " + py::repr_text(unit));
}

std::string Units::convert(std::string_view text, std::string_view target) {
  size_t i = 0;
  while (i < text.size() && (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.' ||
                             ((text[i] == '-' || text[i] == '+') && i == 0)))
    ++i;
  std::string_view number = text.substr(0, i);
  std::string_view unit = text.substr(i);
  if (number.empty() || unit.empty())
    throw ValueError("not a size with a unit: " + py::repr_text(text));
  double bytes = py::to_float(number) * factor(unit);
  double value = std::round(bytes / factor(target) * 1000.0) / 1000.0;
  return py::float_repr(value) + std::string(target);
}

}  // namespace marlet
