// Activity: what an operation is waiting on at this moment (a settle or a bounded wait),
// so that another thread can show it, e.g. a progress line of the command line.
//
// The operation's thread opens an ActivityScope around each settle and wait; any thread
// may take a snapshot at any time. Scopes nest: when an inner one ends, the outer one is
// shown again with its own deadline. Times are the Clock's seconds (before any time scale).
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "marlet/utils/time.h"

namespace marlet {

// A copy of the current activity, taken under the record's lock.
struct ActivitySnapshot {
  std::string kind;       // "settle" or "wait"
  std::string operation;  // the operation's tag; empty when the caller named none
  std::string what;       // what a wait waits for (a locator); empty for a settle
  double seconds = 0;     // the bound the activity was given
  double left = 0;        // seconds to its deadline on the clock, never below 0
};

class Activity {
 public:
  Activity() = default;
  Activity(const Activity&) = delete;
  Activity& operator=(const Activity&) = delete;

  // Nothing when no settle or wait is under way. `clock` must be the one the activity
  // was started on.
  std::optional<ActivitySnapshot> snapshot(Clock& clock) const;

 private:
  friend class ActivityScope;
  struct State {
    std::string kind, operation, what;
    double seconds = 0;
    Clock::TimePoint deadline{};
  };
  mutable std::mutex mutex_;
  std::optional<State> current_;
};

// Publishes one activity for the lifetime of the scope, then restores what was there.
class ActivityScope {
 public:
  ActivityScope(Activity& activity, std::string kind, double seconds, Clock& clock, std::string operation,
                std::string what = {});
  ~ActivityScope();
  ActivityScope(const ActivityScope&) = delete;
  ActivityScope& operator=(const ActivityScope&) = delete;

 private:
  Activity& activity_;
  std::optional<Activity::State> previous_;
};

}  // namespace marlet
