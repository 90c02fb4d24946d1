#include "marlet/utils/time.h"

#include <chrono>
#include <ctime>
#include <iomanip>
#include <sstream>
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

std::string local_timestamp() {
  auto now = std::chrono::system_clock::now();
  std::time_t t = std::chrono::system_clock::to_time_t(now);
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm tm{};
  localtime_r(&t, &tm);
  std::ostringstream out;
  out << std::put_time(&tm, "%Y%m%d-%H%M%S") << '-' << std::setw(3) << std::setfill('0') << ms;
  return out.str();
}

}  // namespace marlet
