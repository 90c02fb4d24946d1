// Binding of the wrapper's operations: every operation runs with the GIL released,
// names itself for pictures, and leaves a picture when it fails.
#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "python/console_failure.h"
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

// ---- the trace's view of an operation ----
namespace trace_detail {

// An argument or a result as the trace shows it: JSON values as they are, anything else
// (elements) by a placeholder.
template <class T>
Json traced_value(const T& value) {
  using U = std::decay_t<T>;
  if constexpr (std::is_same_v<U, Json> || std::is_same_v<U, std::string> || std::is_arithmetic_v<U>)
    return Json(value);
  else
    return "<not shown>";
}

// The passwords among an operation's arguments: a text argument whose name says it holds
// one ("pwd", "password", "passwd"), and every text under such a key in a map argument,
// at any depth (the login's bmc["password"], "new_pwd", "cur_password"), and the
// wrapper's own password.
std::vector<std::string> secrets_of(const vorna::VornaWebWrapper& w, const std::vector<std::string>& names,
                                    const Json& args);
// The failure under way (inside a catch) told to the trace as its Python type and text.
void trace_failure(vorna::VornaWebWrapper& w) noexcept;

template <class... A>
void trace_begin(vorna::VornaWebWrapper& w, const char* name, const std::vector<std::string>& names,
                 const A&... args) {
  Json traced = Json::array({traced_value(args)...});
  w.trace_operation_begin(name, traced, secrets_of(w, names, traced));
}

}  // namespace trace_detail

// Called while a failure is handled: the picture, and what the console said during the
// operation beside it and with the failure (ConsoleFailure) when it said anything.
[[noreturn]] inline void failed(vorna::VornaWebWrapper& w, const char* name,
                                const vorna::VornaWebWrapper::SaidMark& said, bool traced) {
  std::vector<std::string> console;
  try {
    console = w.console_since(said);
  } catch (...) {
  }
  w.screenshot_after_failure(name, console);
  if (traced) trace_detail::trace_failure(w);
  if (console.empty()) throw;
  throw ConsoleFailure{std::current_exception(), std::move(console)};
}

// Runs an operation with the GIL released, naming it for pictures, and leaves a picture
// when it fails (best effort, never hiding the failure), with what the console said
// (failed()). A refusal of the caller's input (a Python kind raised before the operation
// sent the browser anything, or opened one) takes no picture: nothing happened on the
// console to look at. A Ctrl-C ends it at the next slice of a sleep with no picture (the
// user asked to stop now) and leaves the browser as it is: the wrapper stays usable. A
// Ctrl-C the operation swallowed on the way is raised when it returns. When a trace is
// wanted, the operation, its arguments (by `names`, for the passwords among them) and its
// outcome go into it.
//
// `fn` is a member of the wrapper or a free function of a subsystem's header taking the
// wrapper first; both are called as std::invoke(fn, w, args...).
template <class R, class... A, class F>
auto guarded_operation(F fn, const char* name, std::vector<std::string> names) {
  return [fn, name, names](vorna::VornaWebWrapper& w, A... args) -> R {
    auto run = [&]() -> R {
      py::gil_scoped_release unlocked;
      w.current_operation = name;
      const bool traced = w.trace_wanted();
      if (traced) trace_detail::trace_begin(w, name, names, args...);
      const ConsoleMark before = ConsoleMark::of(w);
      const auto said = w.console_mark();
      struct HandOn {  // what the console said goes to its logger, however the operation ends
        vorna::VornaWebWrapper& w;
        ~HandOn() { w.log_console(); }
      } hand_on{w};
      try {
        if constexpr (std::is_void_v<R>) {
          std::invoke(fn, w, std::forward<A>(args)...);
          if (traced) w.trace_operation_end(nullptr);
        } else {
          R result = std::invoke(fn, w, std::forward<A>(args)...);
          if (traced) w.trace_operation_end(trace_detail::traced_value(result));
          return result;
        }
      } catch (const PythonInterrupt&) {
        if (traced) trace_detail::trace_failure(w);
        throw;
      } catch (const marlet::PythonError&) {
        if (!(ConsoleMark::of(w) == before)) failed(w, name, said, traced);
        if (traced) trace_detail::trace_failure(w);
        throw;
      } catch (...) {
        failed(w, name, said, traced);
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

template <class R, class... A>
auto operation(R (vorna::VornaWebWrapper::*fn)(A...), const char* name, std::vector<std::string> names = {}) {
  return guarded_operation<R, A...>(fn, name, std::move(names));
}
template <class R, class... A>
auto operation(R (*fn)(vorna::VornaWebWrapper&, A...), const char* name, std::vector<std::string> names = {}) {
  return guarded_operation<R, A...>(fn, name, std::move(names));
}

// An operation that touches no browser (the bench comparisons): the GIL is released all
// the same, but a failure is about the records, so no picture of the page is taken. An
// open trace still records it (a comparison that differs is a failure to look at).
template <class R, class... A>
auto offline_operation(R (vorna::VornaWebWrapper::*fn)(A...), const char* name) {
  return [fn, name](vorna::VornaWebWrapper& w, A... args) -> R {
    py::gil_scoped_release unlocked;
    const bool traced = w.trace_wanted();
    if (traced) trace_detail::trace_begin(w, name, {}, args...);
    try {
      if constexpr (std::is_void_v<R>) {
        (w.*fn)(std::forward<A>(args)...);
        if (traced) w.trace_operation_end(nullptr, {}, {}, false);
      } else {
        R result = (w.*fn)(std::forward<A>(args)...);
        if (traced) w.trace_operation_end(trace_detail::traced_value(result), {}, {}, false);
        return result;
      }
    } catch (...) {
      if (traced) trace_detail::trace_failure(w);
      throw;
    }
  };
}


// ---- the tables of operations ----
//
// Each subsystem's operations stand in one table (init_<subsystem>.cpp): name, function,
// argument names and defaults, how it stands to the login, and a one-line doc. The table
// binds them (with the doc in help()), and the module hands it to Python as
// `_operations`, from which the command line, the fuzz sweep and docs/operations.md read.

// How an operation stands to the login: it needs one; it needs none (it logs in from its
// own params, or works on whatever browser there is); it touches no console at all.
enum class Login { needed, none, offline };
const char* login_name(Login login);

// One argument: its Python name and, for a trailing optional one, its default. The
// default is written here only: the C++ function takes every argument explicitly.
struct Arg {
  Arg(const char* n) : name(n) {}  // NOLINT: a bare name is a required argument
  Arg(const char* n, Json d) : name(n), fallback(std::move(d)) {}
  const char* name;
  std::optional<Json> fallback;
};

struct Operation {
  const char* name;
  std::vector<Arg> args;
  Login login;
  const char* doc;
  std::function<void(WrapperClass&, const Operation&)> define;
};

struct Subsystem {
  const char* title;
  std::vector<Operation> operations;
};

namespace table_detail {

// py::arg for a required argument, py::arg_v with the table's default for an optional one.
template <size_t Required, size_t I>
auto arg_at(const Operation& o) {
  if constexpr (I < Required)
    return py::arg(o.args[I].name);
  else
    return py::arg(o.args[I].name) = from_json(*o.args[I].fallback);
}

template <size_t Required, class Bound, size_t... I>
void def_split(WrapperClass& cls, const Operation& o, const Bound& bound, std::index_sequence<I...>) {
  cls.def(o.name, bound, o.doc, arg_at<Required, I>(o)...);
}

// Defines `bound` with N arguments of which the first `required` have no default.
template <size_t N, class Bound, size_t... K>
void def_any(WrapperClass& cls, const Operation& o, const Bound& bound, size_t required,
             std::index_sequence<K...>) {
  ((required == K ? def_split<K>(cls, o, bound, std::make_index_sequence<N>{}) : void()), ...);
}

std::vector<std::string> arg_names(const std::vector<Arg>& args);

// The number of required arguments; std::logic_error (an import error, seen by every
// test) when the table's names do not match the function's arguments.
size_t required_args(const Operation& o, size_t arity);

template <size_t N, class Bound>
std::function<void(WrapperClass&, const Operation&)> definer(Bound bound) {
  return [bound](WrapperClass& cls, const Operation& o) {
    def_any<N>(cls, o, bound, required_args(o, N), std::make_index_sequence<N + 1>{});
  };
}

template <class F>
struct Signature : Signature<decltype(&F::operator())> {};
template <class C, class R, class... A>
struct Signature<R (C::*)(vorna::VornaWebWrapper&, A...) const> {
  static constexpr size_t arity = sizeof...(A);
};
template <class R, class... A>
struct Signature<R (*)(vorna::VornaWebWrapper&, A...)> {
  static constexpr size_t arity = sizeof...(A);
};

}  // namespace table_detail

// An operation of the wrapper, bound through operation() (offline_operation() for one
// that touches no console).
template <class R, class... A>
Operation op(const char* name, R (vorna::VornaWebWrapper::*fn)(A...), std::vector<Arg> args, Login login,
             const char* doc) {
  auto define = login == Login::offline
                    ? table_detail::definer<sizeof...(A)>(offline_operation(fn, name))
                    : table_detail::definer<sizeof...(A)>(operation(fn, name, table_detail::arg_names(args)));
  return {name, std::move(args), login, doc, std::move(define)};
}

// An operation declared in a subsystem's header: a free function taking the wrapper first.
template <class R, class... A>
Operation op(const char* name, R (*fn)(vorna::VornaWebWrapper&, A...), std::vector<Arg> args, Login login,
             const char* doc) {
  auto define = table_detail::definer<sizeof...(A)>(operation(fn, name, table_detail::arg_names(args)));
  return {name, std::move(args), login, doc, std::move(define)};
}

// An operation whose binding does more than the call (reads the harness's objects,
// shapes the result): `bound` takes the wrapper and the arguments, and runs the
// operation through operation() itself.
template <class F>
Operation custom_op(const char* name, F bound, std::vector<Arg> args, Login login, const char* doc) {
  return {name, std::move(args), login, doc, table_detail::definer<table_detail::Signature<F>::arity>(bound)};
}

// The tables, one per subsystem, each in its own file, in the order `vorna --help` shows.
Subsystem session_operations();
Subsystem register_operations();
Subsystem identity_operations();
Subsystem power_operations();
Subsystem accounts_operations();
Subsystem network_operations();
Subsystem boot_operations();
Subsystem firmware_operations();
Subsystem inventory_operations();
Subsystem storage_operations();
Subsystem logs_operations();
Subsystem settings_operations();
Subsystem comparison_operations();

// Binds every table's operations to the class and returns them for Python, in order:
// [{"subsystem", "name", "args": [{"name"[, "default"]}], "login", "doc"}].
py::list bind_operations(WrapperClass& cls);

}  // namespace vorna_py
