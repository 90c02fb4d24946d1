// Binding of the wrapper's operations: every operation runs with the GIL released,
// names itself for pictures, and leaves a picture when it fails.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <type_traits>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "python/interrupt.h"
#include "python/json_caster.h"

namespace vorna_py {

namespace py = pybind11;

// Deletes with the GIL released: deleting a wrapper quits its browser, a wait of up to
// seconds, and a wrapper that Python collects must not stop the process's other threads
// meanwhile. While the interpreter shuts down there are no other threads to let run.
template <class T>
struct ReleasingDelete {
  void operator()(T* p) const noexcept {
    if (PyGILState_Check() && !_Py_IsFinalizing()) {
      py::gil_scoped_release unlocked;
      delete p;
    } else {
      delete p;
    }
  }
};
template <class T>
using ReleasingHolder = std::unique_ptr<T, ReleasingDelete<T>>;
using WrapperClass =
    py::class_<vorna::VornaWebWrapper, marlet::WebBase, ReleasingHolder<vorna::VornaWebWrapper>>;

// The browser session and how many commands it had sent when an operation began.
struct ConsoleMark {
  const void* session;
  std::uint64_t commands;
  static ConsoleMark of(const vorna::VornaWebWrapper& w) {
    return {w.browser.get(), w.browser ? w.browser->command_count() : 0};
  }
  bool operator==(const ConsoleMark& o) const { return session == o.session && commands == o.commands; }
};

// Runs an operation with the GIL released, naming it for pictures, and leaves a picture
// when it fails (best effort, never hiding the failure). A refusal of the caller's input
// (a Python kind raised before the operation sent the browser anything, or opened one)
// takes no picture: nothing happened on the console to look at. A Ctrl-C ends it at the
// next slice of a sleep with no picture (the user asked to stop now) and leaves the
// browser as it is: the wrapper stays usable. A Ctrl-C the operation swallowed on the
// way is raised when it returns.
template <class R, class... A>
auto operation(R (vorna::VornaWebWrapper::*fn)(A...), const char* name) {
  return [fn, name](vorna::VornaWebWrapper& w, A... args) -> R {
    auto run = [&]() -> R {
      py::gil_scoped_release unlocked;
      w.current_operation = name;
      const ConsoleMark before = ConsoleMark::of(w);
      try {
        return (w.*fn)(std::forward<A>(args)...);
      } catch (const PythonInterrupt&) {
        throw;
      } catch (const marlet::PythonError&) {
        if (!(ConsoleMark::of(w) == before)) w.screenshot_after_failure(name);
        throw;
      } catch (...) {
        w.screenshot_after_failure(name);
        throw;
      }
    };
    if constexpr (std::is_void_v<R>) {
      run();
      raise_pending_interrupt();
    } else {
      R result = run();
      raise_pending_interrupt();
      return result;
    }
  };
}

// An operation that touches no browser (the bench comparisons): the GIL is released all
// the same, but a failure is about the records, so no picture of the page is taken.
template <class R, class... A>
auto offline_operation(R (vorna::VornaWebWrapper::*fn)(A...)) {
  return [fn](vorna::VornaWebWrapper& w, A... args) -> R {
    py::gil_scoped_release unlocked;
    return (w.*fn)(std::forward<A>(args)...);
  };
}


// One per subsystem, each in its own file.
void init_comparison(WrapperClass& cls);
void init_power(WrapperClass& cls);
void init_identity(WrapperClass& cls);
void init_register(WrapperClass& cls);
void init_accounts(WrapperClass& cls);
void init_network(WrapperClass& cls);
void init_boot(WrapperClass& cls);
void init_firmware(WrapperClass& cls);
void init_inventory(WrapperClass& cls);
void init_storage(WrapperClass& cls);
void init_logs(WrapperClass& cls);
void init_settings(WrapperClass& cls);

}  // namespace vorna_py
