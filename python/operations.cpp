// The tables of operations put together: every one bound to the class, and the list of
// them that Python reads (`_operations`).
#include <cxxabi.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "python/operation.h"

namespace vorna_py {

const char* login_name(Login login) {
  switch (login) {
    case Login::needed: return "needed";
    case Login::none: return "none";
    case Login::offline: return "offline";
  }
  return "needed";
}

namespace trace_detail {

namespace {

bool names_a_secret(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
  return name.find("pwd") != std::string::npos || name.find("passw") != std::string::npos;
}

void texts_under_secret_keys(const Json& value, bool secret, std::vector<std::string>& out) {
  if (value.is_string()) {
    if (secret) out.push_back(value.get<std::string>());
  } else if (value.is_object()) {
    for (auto it = value.begin(); it != value.end(); ++it)
      texts_under_secret_keys(it.value(), secret || names_a_secret(it.key()), out);
  } else if (value.is_array()) {
    for (const auto& item : value) texts_under_secret_keys(item, secret, out);
  }
}

// "WebElementException" for marlet::WebElementException: the Python class's name.
std::string python_type_name(const std::type_info& type) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> name(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  std::string text = status == 0 && name ? name.get() : type.name();
  if (auto at = text.rfind("::"); at != std::string::npos) text = text.substr(at + 2);
  return text;
}

}  // namespace

std::vector<std::string> secrets_of(const vorna::VornaWebWrapper& w, const std::vector<std::string>& names,
                                    const Json& args) {
  std::vector<std::string> out;
  if (w.password.is_string()) out.push_back(w.password.get<std::string>());
  for (size_t i = 0; i < args.size(); ++i)
    texts_under_secret_keys(args[i], i < names.size() && names_a_secret(names[i]), out);
  return out;
}

void trace_failure(vorna::VornaWebWrapper& w) noexcept {
  try {
    try {
      throw;
    } catch (const PythonInterrupt&) {
      w.trace_operation_end(nullptr, "KeyboardInterrupt", "interrupted");
    } catch (const py::error_already_set& e) {
      w.trace_operation_end(nullptr, "Exception", e.what());  // its type needs the GIL
    } catch (const std::exception& e) {
      w.trace_operation_end(nullptr, python_type_name(typeid(e)), e.what());
    } catch (...) {
      w.trace_operation_end(nullptr, "Exception", "");
    }
  } catch (...) {
  }
}

}  // namespace trace_detail

namespace table_detail {

std::vector<std::string> arg_names(const std::vector<Arg>& args) {
  std::vector<std::string> out;
  for (const Arg& a : args) out.push_back(a.name);
  return out;
}

size_t required_args(const Operation& o, size_t arity) {
  if (o.args.size() != arity)
    throw std::logic_error(std::string(o.name) + ": the table names " + std::to_string(o.args.size()) +
                           " arguments, the function takes " + std::to_string(arity));
  size_t required = 0;
  while (required < arity && !o.args[required].fallback) ++required;
  for (size_t i = required; i < arity; ++i)
    if (!o.args[i].fallback)
      throw std::logic_error(std::string(o.name) + ": a required argument after an optional one");
  return required;
}

}  // namespace table_detail

py::list bind_operations(WrapperClass& cls) {
  py::list out;
  for (Subsystem (*table)() :
       {session_operations, register_operations, identity_operations, power_operations, accounts_operations,
        network_operations, boot_operations, firmware_operations, inventory_operations, storage_operations,
        logs_operations, settings_operations, comparison_operations}) {
    Subsystem subsystem = table();
    for (const Operation& o : subsystem.operations) {
      o.define(cls, o);
      py::list args;
      for (const Arg& a : o.args) {
        py::dict arg;
        arg["name"] = a.name;
        if (a.fallback) arg["default"] = from_json(*a.fallback);
        args.append(std::move(arg));
      }
      py::dict entry;
      entry["subsystem"] = subsystem.title;
      entry["name"] = o.name;
      entry["args"] = std::move(args);
      entry["login"] = login_name(o.login);
      entry["doc"] = o.doc;
      out.append(std::move(entry));
    }
  }
  return out;
}

}  // namespace vorna_py
