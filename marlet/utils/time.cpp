#include "marlet/utils/time.h"

#include <stdexcept>

#include "marlet/exception/exceptions.h"

namespace marlet {

// A bad factor is the caller's ValueError, as Python's own checks raise it.
void set_time_scale(double factor) {
  try {
    webdriver::set_time_scale(factor);
  } catch (const std::invalid_argument& e) {
    throw ValueError(e.what());
  }
}

}  // namespace marlet
