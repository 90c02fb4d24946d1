#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"

#include <cmath>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/units.h"

namespace vorna::comparison {
namespace py = marlet::py;

namespace {
[[noreturn]] void wrong_type(std::string_view what, const char* expected, const Json& value) {
  throw marlet::TypeError(
      py::format("%s must be a %s, not %s: %s", what, expected, py::type_name(value), py::repr(value)));
}
}  // namespace

const Json& require_list(const Json& value, std::string_view what) {
  if (!value.is_array()) wrong_type(what, "list", value);
  return value;
}

const Json& require_map(const Json& value, std::string_view what) {
  if (!value.is_object()) wrong_type(what, "dict", value);
  return value;
}

const std::string& text(const Json& value, std::string_view what) {
  if (!value.is_string()) wrong_type(what, "str", value);
  return value.get_ref<const std::string&>();
}

std::string subscript(std::string_view what, std::string_view key) {
  return std::string(what) + "[" + py::repr_text(key) + "]";
}

Json get(const Json& record, std::string_view key, std::string_view what) {
  const Json& map = require_map(record, what);
  auto it = map.find(std::string(key));
  return it == map.end() ? Json(nullptr) : *it;
}

const Json& at(const Json& record, std::string_view key, std::string_view what) {
  const Json& map = require_map(record, what);
  auto it = map.find(std::string(key));
  if (it == map.end()) throw marlet::KeyError(std::string(key));
  return *it;
}

bool contained(const Json& part, const Json& whole, std::string_view part_place, std::string_view whole_place) {
  try {
    return py::in(part, whole);
  } catch (const marlet::TypeError& e) {
    throw marlet::TypeError(py::format("%s in %s: %s", part_place, whole_place, e.what()));
  }
}

std::string first_token(std::string_view s) {
  auto tokens = py::split(s);
  if (tokens.empty()) throw marlet::IndexError("list index out of range");
  return tokens.front();
}

bool memory_capacity_agrees(std::string_view web, std::string_view os) {
  long long web_size = py::to_int(first_token(web));
  long long os_size = py::to_int(first_token(os));
  // 128 bits: Python's integers do not overflow, so neither may the factor.
  return web_size == os_size || static_cast<__int128>(web_size) == static_cast<__int128>(os_size) * 1024;
}

bool millivolts_agree(std::string_view web, std::string_view os) {
  long long millivolts = py::to_int(first_token(web));
  double os_millivolts = py::to_float(first_token(os)) * 1000;
  // Python's int() has no bound: a finite system value beyond 64 bits is simply another
  // number, unequal to any console value. NaN and infinity still fail as int() does.
  if (std::isfinite(os_millivolts) && std::fabs(std::trunc(os_millivolts)) >= 9223372036854775808.0) return false;
  return millivolts == py::int_of_float(os_millivolts);
}

std::string gigabytes(std::string_view size) {
  return py::replace(marlet::Units::convert(py::replace(size, " ", ""), "GB"), "GB", " GB");
}

bool within_one_percent(std::string_view web_capacity, std::string_view os_capacity) {
  double web = py::to_float(py::split(web_capacity, " ").front());
  double os = py::to_float(py::split(os_capacity, " ").front());
  if (web == 0) throw marlet::ZeroDivisionError("float division by zero");
  // The console's size is the base; a deviation of exactly 1% still agrees.
  return !(std::fabs(web - os) / web > 0.01);
}

double speed(std::string_view s, std::string_view unit) { return py::to_float(py::replace(s, unit, "")); }

}  // namespace vorna::comparison
