#include "python/json_caster.h"

namespace vorna_py {

namespace {

// Deeper than any record or params map; a list or map that holds itself ends here.
constexpr int kMaxDepth = 100;

std::string type_name_of(py::handle v) { return py::str(py::type::of(v).attr("__name__")).cast<std::string>(); }

Json foreign(py::handle v) { return marlet::py::foreign(type_name_of(v), py::str(v).cast<std::string>()); }

Json convert(py::handle v, int depth) {
  if (depth > kMaxDepth)
    throw py::value_error("a value nested more than " + std::to_string(kMaxDepth) +
                          " levels deep (a list or map that holds itself?)");
  if (v.is_none()) return nullptr;
  if (PyBool_Check(v.ptr())) return v.cast<bool>();
  if (PyLong_Check(v.ptr())) {
    int overflow = 0;
    long long n = PyLong_AsLongLongAndOverflow(v.ptr(), &overflow);
    if (overflow == 0) return n;
    return foreign(v);  // beyond 64 bits: its digits, still an int to messages and equality
  }
  if (PyFloat_Check(v.ptr())) return v.cast<double>();
  if (PyUnicode_Check(v.ptr())) return v.cast<std::string>();
  if (PyDict_Check(v.ptr())) {
    Json out = Json::object();
    for (auto item : py::reinterpret_borrow<py::dict>(v)) {
      // A key that is no text must find nothing under a text key, and 1 and "1" stay two.
      std::string key = PyUnicode_Check(item.first.ptr()) ? item.first.cast<std::string>()
                                                          : marlet::py::foreign_key(py::repr(item.first).cast<std::string>());
      out[key] = convert(item.second, depth + 1);
    }
    return out;
  }
  if (PyList_Check(v.ptr()) || PyTuple_Check(v.ptr())) {
    Json out = Json::array();
    for (auto item : v) out.push_back(convert(item, depth + 1));
    return out;
  }
  static py::object mapping = py::module_::import("collections.abc").attr("Mapping");
  if (py::isinstance(v, mapping)) return convert(py::dict(py::reinterpret_borrow<py::object>(v)), depth);
  return foreign(v);
}

}  // namespace

Json to_json(py::handle v) { return convert(v, 0); }

py::object from_json(const Json& v) {
  switch (v.type()) {
    case Json::value_t::null: return py::none();
    case Json::value_t::boolean: return py::bool_(v.get<bool>());
    case Json::value_t::number_integer: return py::int_(v.get<long long>());
    case Json::value_t::number_unsigned: return py::int_(v.get<unsigned long long>());
    case Json::value_t::number_float: return py::float_(v.get<double>());
    case Json::value_t::string: return py::str(v.get_ref<const std::string&>());
    case Json::value_t::array: {
      py::list out;
      for (const auto& e : v) out.append(from_json(e));
      return out;
    }
    case Json::value_t::object: {
      py::dict out;
      for (const auto& [k, e] : v.items()) out[py::str(k)] = from_json(e);  // foreign keys come back as text
      return out;
    }
    case Json::value_t::binary: return py::str(marlet::py::str(v));  // a foreign value's text
    default: return py::str(v.dump());
  }
}

}  // namespace vorna_py
