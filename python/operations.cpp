// The tables of operations put together: every one bound to the class, and the list of
// them that Python reads (`_operations`).
#include <stdexcept>
#include <string>

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

namespace table_detail {

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
