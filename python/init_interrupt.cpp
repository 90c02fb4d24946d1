// The interrupt check of the process clock (see interrupt.h).
#include <atomic>

#include "marlet/utils/time.h"
#include "python/bindings.h"
#include "python/interrupt.h"

namespace vorna_py {
namespace {

// Only the main thread receives signals in Python, so only it checks; the other
// threads' settles are never cut short.
std::atomic<unsigned long> g_main_thread{0};
// The exception a signal handler raised, kept until the binding raises it again. Only
// the main thread writes it, with the GIL held.
PyObject* g_type = nullptr;
PyObject* g_value = nullptr;
PyObject* g_traceback = nullptr;
std::atomic<bool> g_pending{false};

bool finalizing() {
#if PY_VERSION_HEX >= 0x030D0000
  return Py_IsFinalizing();
#else
  return _Py_IsFinalizing();
#endif
}

void check_signals() {
  if (PyThread_get_thread_ident() != g_main_thread.load()) return;
  if (g_pending.load()) throw PythonInterrupt{};  // swallowed once: throw it again
  if (!Py_IsInitialized() || finalizing()) return;
  PyGILState_STATE gil = PyGILState_Ensure();
  bool raised = PyErr_CheckSignals() != 0;
  if (raised) {
    PyErr_Fetch(&g_type, &g_value, &g_traceback);
    g_pending = true;
  }
  PyGILState_Release(gil);
  if (raised) throw PythonInterrupt{};
}

}  // namespace

void install_interrupt_check() {
  g_main_thread = PyThread_get_thread_ident();
  {
    // The import may run on another thread than the main one (a harness importing from
    // a worker): ask the threading module which thread is the main one.
    py::object main = py::module_::import("threading").attr("main_thread")();
    py::object ident = main.attr("ident");
    if (!ident.is_none()) g_main_thread = ident.cast<unsigned long>();
  }
  marlet::set_sleep_check(&check_signals);
}

bool restore_pending_interrupt() {
  // Kept for the main thread: another thread's failure never carries it away.
  if (!g_pending.load() || PyThread_get_thread_ident() != g_main_thread.load()) return false;
  PyErr_Restore(g_type, g_value, g_traceback);
  g_type = g_value = g_traceback = nullptr;
  g_pending = false;
  return true;
}

void raise_pending_interrupt() {
  if (restore_pending_interrupt()) throw py::error_already_set();
}

}  // namespace vorna_py
