// All waiting goes through a Clock: settles, explicit waits and polls.
//
// The process-wide clock is a real clock whose pace is set by set_time_scale(): with a
// factor f, sleep(s) sleeps s*f real seconds and now() advances 1/f times faster, so
// deadlines measured on it shrink together with the sleeps. Unit tests use FakeClock,
// which never waits and records every sleep.
#pragma once

#include <chrono>
#include <mutex>
#include <vector>

namespace marlet {

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
void set_time_scale(double factor);  // factor > 0; ValueError otherwise
double time_scale();

}  // namespace marlet
