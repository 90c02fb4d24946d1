// Ctrl-C during a settle, a wait or a poll. The process clock sleeps in short slices and
// calls a check between them (marlet/utils/time.h); the check installed here runs
// Python's pending signal handlers on the main thread. When one raises (Ctrl-C's
// KeyboardInterrupt, or a harness's own handler), the Python exception is kept and
// PythonInterrupt is thrown through the C++ code; the binding raises the kept exception
// again once the GIL is back.
//
// PythonInterrupt is deliberately no std::exception: operations that catch a
// MarletException (or any std::exception) to retry or to fall back do not swallow it.
// An operation that swallows it anyway (a catch (...)) cannot lose it: the kept
// exception is thrown again at the next slice and raised when the operation returns.
#pragma once

#include <pybind11/pybind11.h>

namespace vorna_py {

struct PythonInterrupt {};

// Sets the process clock's check (at import).
void install_interrupt_check();
// With the GIL held, on the main thread: true (and the Python error set) when a kept
// exception was waiting; false on any other thread.
bool restore_pending_interrupt();
// With the GIL held: raises a kept exception (as pybind11::error_already_set) if any.
void raise_pending_interrupt();

}  // namespace vorna_py
