#include "webdriver/clock.h"

#include <cmath>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace webdriver {
namespace {

std::atomic<double> g_scale{1.0};
std::atomic<SleepCheck> g_sleep_check{nullptr};

// Virtual time accumulates real elapsed time divided by the factor in force while it
// passed, so a change of factor never makes now() jump backwards.
struct VirtualTime {
  std::mutex mutex;
  std::chrono::steady_clock::time_point last_real = std::chrono::steady_clock::now();
  Clock::TimePoint virtual_now{};

  Clock::TimePoint advance() {
    std::lock_guard<std::mutex> lock(mutex);
    auto real = std::chrono::steady_clock::now();
    Clock::Duration elapsed = real - last_real;
    last_real = real;
    virtual_now += elapsed / g_scale.load();
    return virtual_now;
  }
};

VirtualTime& virtual_time() {
  static VirtualTime vt;
  return vt;
}

}  // namespace

Clock::TimePoint ScaledClock::now() { return virtual_time().advance(); }

void ScaledClock::sleep(Duration d) {
  if (d.count() <= 0) return;
  using steady = std::chrono::steady_clock;
  auto end = steady::now() + std::chrono::duration_cast<steady::duration>(d * g_scale.load());
  while (true) {
    if (SleepCheck check = g_sleep_check.load()) check();
    auto left = end - steady::now();
    if (left <= steady::duration::zero()) return;
    std::this_thread::sleep_for(std::min<steady::duration>(left, kSleepSlice));
  }
}

Clock::TimePoint FakeClock::now() {
  std::lock_guard<std::mutex> lock(mutex_);
  return now_;
}

void FakeClock::sleep(Duration d) {
  std::lock_guard<std::mutex> lock(mutex_);
  sleeps_.push_back(d.count());
  if (d.count() > 0) now_ += d;
}

std::vector<double> FakeClock::sleeps() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return sleeps_;
}

void FakeClock::clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  sleeps_.clear();
}

Clock& process_clock() {
  static ScaledClock clock;
  return clock;
}

void set_time_scale(double factor) {
  if (!(factor > 0) || !std::isfinite(factor))
    throw std::invalid_argument("time scale must be a positive finite number");
  virtual_time().advance();  // close the interval at the old factor
  g_scale.store(factor);
}

double time_scale() { return g_scale.load(); }

void set_sleep_check(SleepCheck check) { g_sleep_check.store(check); }

void run_sleep_check() {
  if (SleepCheck check = g_sleep_check.load()) check();
}

}  // namespace webdriver
