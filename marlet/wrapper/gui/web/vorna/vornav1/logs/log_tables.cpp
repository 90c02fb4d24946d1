#include "marlet/wrapper/gui/web/vorna/vornav1/logs/log_tables.h"

#include <ctime>
#include <regex>

#include "marlet/exception/exceptions.h"

namespace vorna::logs {
namespace py = marlet::py;

double local_seconds(const std::string& text) {
  // strptime's digits: %Y four, the others one or two; nothing may remain after them.
  static const std::regex format(R"(^(\d{4})-(\d{1,2})-(\d{1,2}) (\d{1,2}):(\d{1,2}):(\d{1,2})$)");
  std::smatch m;
  auto mismatch = [&] {
    return marlet::ValueError(
        py::format("time data %s does not match format '%%Y-%%m-%%d %%H:%%M:%%S'", py::repr_text(text)));
  };
  if (!std::regex_match(text, m, format)) throw mismatch();
  int year = std::stoi(m[1]), month = std::stoi(m[2]), day = std::stoi(m[3]);
  int hour = std::stoi(m[4]), minute = std::stoi(m[5]), second = std::stoi(m[6]);
  static const int days_in[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  if (month < 1 || month > 12 || day < 1 || day > days_in[month - 1] || (month == 2 && day == 29 && !leap) ||
      hour > 23 || minute > 59 || second > 61)
    throw mismatch();
  std::tm tm{};
  tm.tm_year = year - 1900;
  tm.tm_mon = month - 1;
  tm.tm_mday = day;
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  tm.tm_isdst = -1;  // as mktime() of a struct_time from strptime: the zone's own rule
  return static_cast<double>(std::mktime(&tm));
}

std::vector<std::string> text_list(const marlet::Json& value, const char* argument) {
  if (!value.is_array())
    throw marlet::TypeError(py::format("%s must be a list of text, not %s", argument, py::type_name(value)));
  std::vector<std::string> out;
  for (const auto& item : value) {
    if (!item.is_string())
      throw marlet::TypeError(py::format("%s must be a list of text, but holds %s", argument, py::repr(item)));
    out.push_back(item.get<std::string>());
  }
  return out;
}

}  // namespace vorna::logs
