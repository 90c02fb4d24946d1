#include "python/json_caster.h"

namespace vorna_py {

Json to_json(py::handle v) {
  if (v.is_none()) return nullptr;
  if (PyBool_Check(v.ptr())) return v.cast<bool>();
  if (PyLong_Check(v.ptr())) {
    int overflow = 0;
    long long n = PyLong_AsLongLongAndOverflow(v.ptr(), &overflow);
    if (overflow == 0) return n;
    return py::str(v).cast<std::string>();  // beyond 64 bits: kept as its digits
  }
  if (PyFloat_Check(v.ptr())) return v.cast<double>();
  if (PyUnicode_Check(v.ptr())) return v.cast<std::string>();
  if (PyDict_Check(v.ptr())) {
    Json out = Json::object();
    for (auto item : py::reinterpret_borrow<py::dict>(v)) {
      std::string key = PyUnicode_Check(item.first.ptr()) ? item.first.cast<std::string>()
                                                          : py::str(item.first).cast<std::string>();
      out[key] = to_json(item.second);
    }
    return out;
  }
  if (PyList_Check(v.ptr()) || PyTuple_Check(v.ptr())) {
    Json out = Json::array();
    for (auto item : v) out.push_back(to_json(item));
    return out;
  }
  static py::object mapping = py::module_::import("collections.abc").attr("Mapping");
  if (py::isinstance(v, mapping)) return to_json(py::dict(py::reinterpret_borrow<py::object>(v)));
  return py::str(v).cast<std::string>();
}

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
      for (const auto& [k, e] : v.items()) out[py::str(k)] = from_json(e);
      return out;
    }
    default: return py::str(v.dump());
  }
}

}  // namespace vorna_py
