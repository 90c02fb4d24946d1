// All waiting goes through a Clock: settles, explicit waits and polls. The clock is the
// browser client's own, so that its waits and reads stop at the same pace and the same
// check as everything above it; the layers above name these same types.
//
// The process-wide clock is a real clock whose pace is set by set_time_scale(): with a
// factor f, sleep(s) sleeps s*f real seconds and now() advances 1/f times faster, so
// deadlines measured on it shrink together with the sleeps. Unit tests use FakeClock,
// which never waits and records every sleep.
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

namespace webdriver {

class Clock {
 public:
  using Duration = std::chrono::duration<double>;  // seconds
  using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;
  virtual ~Clock() = default;
  virtual TimePoint now() = 0;
  virtual void sleep(Duration d) = 0;
  void sleep_seconds(double s) { sleep(Duration(s)); }
};

// Real time, scaled by the process-wide factor.
class ScaledClock final : public Clock {
 public:
  TimePoint now() override;
  void sleep(Duration d) override;
};

// Never waits: now() moves only by sleep(). Records each sleep in seconds.
class FakeClock final : public Clock {
 public:
  TimePoint now() override;
  void sleep(Duration d) override;
  std::vector<double> sleeps() const;
  void clear();

 private:
  mutable std::mutex mutex_;
  TimePoint now_{};
  std::vector<double> sleeps_;
};

// The clock of the process (a ScaledClock).
Clock& process_clock();

// The process clock sleeps in slices of at most this much real time and, between
// slices, calls the sleep check (when one is set). The check may throw to end the sleep
// at once: the embedding program (the Python binding) sets one that raises a pending
// Ctrl-C, so that a settle of 45 s can be interrupted. The check runs on the sleeping
// thread, with no lock held.
inline constexpr std::chrono::milliseconds kSleepSlice{50};
using SleepCheck = void (*)();
void set_sleep_check(SleepCheck check);  // nullptr: none
// Runs the sleep check now, if one is set: for waits that do not sleep on the clock (a
// read of the browser's answer), so that they too end at a Ctrl-C.
void run_sleep_check();
void set_time_scale(double factor);  // factor > 0 and finite; std::invalid_argument otherwise
double time_scale();

}  // namespace webdriver
