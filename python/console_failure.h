// An operation's failure with what the console said during it: the binding raises the
// failure as always, with the texts as its `console_messages` attribute and the last of
// them as a note after its message (python/errors.cpp).
#pragma once

#include <exception>
#include <string>
#include <vector>

namespace vorna_py {

struct ConsoleFailure {
  std::exception_ptr failure;
  std::vector<std::string> console;
};

}  // namespace vorna_py
