// Raises C++ failures as the Python classes the harness knows: MarletException and its
// subclasses from the `marlet.exception` modules (message kept, cause as __cause__),
// and the Python-kind failures as the builtins of the same name.
#include <pybind11/pybind11.h>

#include "marlet/exception/exceptions.h"
#include "python/bindings.h"
#include "python/console_failure.h"
#include "python/interrupt.h"
#include "webdriver/errors.h"

namespace vorna_py {
namespace {

py::object builtin_class(const char* name) { return py::module_::import("builtins").attr(name); }

template <class T>
bool is_a(const marlet::MarletException& e) {
  return dynamic_cast<const T*>(&e) != nullptr;
}

// The Python class of each C++ failure type, as "module.path:ClassName", subclasses
// before their bases: the first type a failure is an instance of names its class, so a
// type without a row of its own becomes its nearest base's class.
struct PythonClassRow {
  bool (*matches)(const marlet::MarletException&);
  const char* path;
};
#define WEBDRIVER_ROW(Name) {&is_a<webdriver::Name>, "marlet.exception.webdriverexception:" #Name},
const PythonClassRow kPythonClasses[] = {
    WEBDRIVER_ERROR_TYPES(WEBDRIVER_ROW)
    {&is_a<webdriver::WebDriverException>, "marlet.exception.webdriverexception:WebDriverException"},
    {&is_a<marlet::WebElementException>, "marlet.exception.webelementexception:WebElementException"},
    {&is_a<marlet::WebDisplayException>, "marlet.exception.webdisplayexception:WebDisplayException"},
    {&is_a<marlet::WebLoginException>, "marlet.exception.webloginexception:WebLoginException"},
};
#undef WEBDRIVER_ROW

py::object marlet_class(const marlet::MarletException& e) {
  std::string p = "marlet.exception.marlet_exception:MarletException";
  for (const auto& row : kPythonClasses) {
    if (row.matches(e)) {
      p = row.path;
      break;
    }
  }
  auto colon = p.find(':');
  return py::module_::import(p.substr(0, colon).c_str()).attr(p.substr(colon + 1).c_str());
}

// The Python exception object that stands for a C++ failure, its cause chain included.
py::object python_exception(const std::exception_ptr& p) {
  try {
    std::rethrow_exception(p);
  } catch (py::error_already_set& e) {
    return e.value();
  } catch (const marlet::MarletException& e) {
    py::object exc = marlet_class(e)(py::str(e.what()));
    if (e.cause()) {
      py::object cause = python_exception(e.cause());
      PyException_SetCause(exc.ptr(), cause.release().ptr());
    }
    return exc;
  } catch (const marlet::PythonError& e) {
    return builtin_class(e.python_builtin())(py::str(e.what()));
  } catch (const std::exception& e) {
    return builtin_class("RuntimeError")(py::str(e.what()));
  } catch (...) {
    return builtin_class("RuntimeError")(py::str("unknown C++ failure"));
  }
}

// An operation's failure with what the console said: all of it (up to 10 texts) as
// `console_messages`, and the last as a note after the message (PEP 678: a traceback
// shows it below the message; str() stays the message the operation gives).
py::object console_failure(const ConsoleFailure& f) {
  py::object exc = python_exception(f.failure);
  py::list texts;
  for (const auto& text : f.console) texts.append(py::str(text));
  std::string note = "console: " + f.console.back();
  if (f.console.size() > 1) note += " (and " + std::to_string(f.console.size() - 1) + " before it)";
  try {
    exc.attr("console_messages") = texts;
    if (py::hasattr(exc, "add_note")) {
      exc.attr("add_note")(py::str(note));
    } else {  // before Python 3.11: the same attribute, for whoever reads it
      py::list notes;
      notes.append(py::str(note));
      exc.attr("__notes__") = notes;
    }
  } catch (py::error_already_set&) {
    // an exception object of the harness's that takes no attributes
  }
  return exc;
}

}  // namespace

void init_errors(py::module_&) {
  py::register_exception_translator([](std::exception_ptr p) {
    if (!p) return;
    // A Ctrl-C that came while the failure unwound (a picture taken on the way) wins:
    // the user asked to stop, and it must not wait for the next operation's first sleep.
    if (restore_pending_interrupt()) return;
    try {
      std::rethrow_exception(p);
    } catch (const ConsoleFailure& f) {
      py::object exc = console_failure(f);
      PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exc.ptr())), exc.ptr());
      return;
    } catch (const PythonInterrupt&) {
      // The kept KeyboardInterrupt (or whatever the signal handler raised) goes on.
      if (!restore_pending_interrupt()) PyErr_SetNone(PyExc_KeyboardInterrupt);
      return;
    } catch (const marlet::MarletException&) {
    } catch (const marlet::PythonError&) {
    } catch (...) {
      throw;  // pybind11's own translators take the rest
    }
    py::object exc = python_exception(p);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exc.ptr())), exc.ptr());
  });
}

}  // namespace vorna_py
