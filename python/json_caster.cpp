#include "python/json_caster.h"

namespace vorna_py {

namespace {

// Deeper than any record or params map; a list or map that holds itself ends here.
constexpr int kMaxDepth = 100;

// A type's name as text; "?" for a name with no UTF-8 form (a class may be named so).
std::string name_text(py::handle name) {
  Py_ssize_t size = 0;
  const char* data = PyUnicode_Check(name.ptr()) ? PyUnicode_AsUTF8AndSize(name.ptr(), &size) : nullptr;
  if (!data) {
    PyErr_Clear();
    return "?";
  }
  return std::string(data, static_cast<size_t>(size));
}

std::string type_name_of(py::handle v) { return name_text(py::type::of(v).attr("__name__")); }

// The UTF-8 of a str. A text that has none (a lone surrogate) raises Python's own
// UnicodeEncodeError, a ValueError, instead of pybind11's untyped cast failure.
std::string utf8_of(py::handle text) {
  Py_ssize_t size = 0;
  const char* data = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
  if (!data) throw py::error_already_set();
  return std::string(data, static_cast<size_t>(size));
}

Json foreign(py::handle v) { return marlet::py::foreign(type_name_of(v), utf8_of(py::str(v))); }

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
  if (PyUnicode_Check(v.ptr())) return utf8_of(v);
  if (PyDict_Check(v.ptr())) {
    Json out = Json::object();
    for (auto item : py::reinterpret_borrow<py::dict>(v)) {
      // A key that is no text must find nothing under a text key, and 1 and "1" stay two.
      std::string key = PyUnicode_Check(item.first.ptr()) ? utf8_of(item.first)
                                                          : marlet::py::foreign_key(utf8_of(py::repr(item.first)));
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

void raise_unreadable(py::error_already_set& e, py::handle v) {
  // A failure of the harness's own object (a __str__, __iter__ or __getitem__ that
  // raises) becomes a TypeError that names the value's type, with the original as its
  // cause. The failure kinds an operation may raise anyway pass as they are, and so do
  // KeyboardInterrupt and SystemExit, which are no Exception.
  if (!e.matches(PyExc_Exception) || e.matches(PyExc_TypeError) || e.matches(PyExc_ValueError) ||
      e.matches(PyExc_KeyError) || e.matches(PyExc_IndexError) || e.matches(PyExc_ZeroDivisionError) ||
      e.matches(PyExc_AttributeError))
    throw;
  std::string message = "a value of type " + type_name_of(v) + " could not be read: " +
                        name_text(e.type().attr("__name__")) + " was raised while reading it";
  py::raise_from(e, PyExc_TypeError, message.c_str());
  throw py::error_already_set();
}

Json to_json(py::handle v) {
  try {
    return convert(v, 0);
  } catch (py::error_already_set& e) {
    raise_unreadable(e, v);
  }
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
      for (const auto& [k, e] : v.items()) out[py::str(k)] = from_json(e);  // foreign keys come back as text
      return out;
    }
    case Json::value_t::binary: return py::str(marlet::py::str(v));  // a foreign value's text
    default: return py::str(v.dump());
  }
}

}  // namespace vorna_py
