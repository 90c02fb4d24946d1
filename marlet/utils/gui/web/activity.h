// Activity: what an operation is waiting on at this moment (a settle or a bounded wait),
// so that another thread can show it, e.g. a progress line of the command line.
//
// The operation's thread opens an ActivityScope around each settle and wait; any thread
// may take a snapshot at any time. Scopes nest: when an inner one ends, the outer one is
// shown again with its own deadline. Times are the Clock's seconds (before any time scale).
// On request the record also keeps a journal of the scopes that ended and how long each
// took (a benchmark's breakdown of where an operation's time went).
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

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

// One settle or wait that ended, as the journal keeps it.
struct ActivityRecord {
  std::string kind, operation, what;
  double seconds = 0;  // the bound it was given
  double taken = 0;    // seconds it lasted on the clock
  int depth = 0;       // 0 for a scope opened inside no other; 1 inside one, ...
  double wall = 0;     // real seconds it lasted (taken is on the clock, which may be scaled)
};

// Told of each scope as it starts and as it ends (a trace of the operation), on the
// operation's thread, with no lock of the record held.
class ActivityListener {
 public:
  virtual ~ActivityListener() = default;
  virtual void activity_started(const std::string& kind) noexcept = 0;
  virtual void activity_ended(const ActivityRecord& record) noexcept = 0;
};

class Activity {
 public:
  Activity() = default;
  Activity(const Activity&) = delete;
  Activity& operator=(const Activity&) = delete;

  // Nothing when no settle or wait is under way. `clock` must be the one the activity
  // was started on.
  std::optional<ActivitySnapshot> snapshot(Clock& clock) const;

  // Starts (true) or stops (false) keeping the journal; either way it is emptied.
  void keep_journal(bool on);
  // The records of the scopes ended since the last call (in the order they ended), taken
  // out of the journal.
  std::vector<ActivityRecord> take_journal();
  // One listener at a time; null: none.
  void set_listener(std::shared_ptr<ActivityListener> listener);

 private:
  friend class ActivityScope;
  struct State {
    std::string kind, operation, what;
    double seconds = 0;
    Clock::TimePoint deadline{};
  };
  mutable std::mutex mutex_;
  std::optional<State> current_;
  int depth_ = 0;
  bool journal_on_ = false;
  std::vector<ActivityRecord> journal_;
  std::shared_ptr<ActivityListener> listener_;
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
  Clock& clock_;
  Clock::TimePoint started_;
  std::chrono::steady_clock::time_point wall_started_;
  std::shared_ptr<ActivityListener> listener_;  // the record's, when the scope started
  std::string state_kind_;
};

}  // namespace marlet
