#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/comparison_rules.h"

#include "marlet/exception/exceptions.h"

namespace vorna::comparison {
namespace py = marlet::py;

namespace {
const char* type_name(const Json& v) {
  switch (v.type()) {
    case Json::value_t::null: return "NoneType";
    case Json::value_t::boolean: return "bool";
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned: return "int";
    case Json::value_t::number_float: return "float";
    case Json::value_t::string: return "str";
    case Json::value_t::array: return "list";
    case Json::value_t::object: return "dict";
    default: return "object";
  }
}
}  // namespace

const Json& require_list(const Json& value, const char* argument) {
  if (!value.is_array())
    throw marlet::TypeError(py::format("%s must be a list, not %s", argument, type_name(value)));
  return value;
}

const Json& require_map(const Json& value, const char* argument) {
  if (!value.is_object())
    throw marlet::TypeError(py::format("%s must be a map, not %s", argument, type_name(value)));
  return value;
}

Json get(const Json& map, const std::string& key) {
  if (!map.is_object())
    throw marlet::TypeError(py::format("a record must be a map, not %s: %s", type_name(map), py::repr(map)));
  auto it = map.find(key);
  return it == map.end() ? Json(nullptr) : *it;
}

const Json& at(const Json& map, const std::string& key) {
  if (!map.is_object())
    throw marlet::TypeError(py::format("a record must be a map, not %s: %s", type_name(map), py::repr(map)));
  auto it = map.find(key);
  if (it == map.end()) throw marlet::KeyError(key);
  return *it;
}

const std::string& text(const Json& value, const std::string& what) {
  if (!value.is_string())
    throw marlet::TypeError(py::format("%s must be a text, not %s: %s", what, type_name(value), py::repr(value)));
  return value.get_ref<const std::string&>();
}

bool contained(const Json& needle, const Json& haystack) {
  if (!haystack.is_string())
    throw marlet::TypeError(py::format("argument of type '%s' is not iterable", type_name(haystack)));
  if (!needle.is_string())
    throw marlet::TypeError(
        py::format("'in <string>' requires string as left operand, not %s", type_name(needle)));
  return py::contains(haystack.get_ref<const std::string&>(), needle.get_ref<const std::string&>());
}

std::string first_token(const std::string& s) {
  auto tokens = py::split(s);
  if (tokens.empty()) throw marlet::IndexError("list index out of range");
  return tokens.front();
}

}  // namespace vorna::comparison
