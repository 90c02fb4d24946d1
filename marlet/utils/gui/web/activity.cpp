#include "marlet/utils/gui/web/activity.h"

#include <algorithm>
#include <utility>

namespace marlet {

std::optional<ActivitySnapshot> Activity::snapshot(Clock& clock) const {
  std::optional<State> state;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    state = current_;
  }
  if (!state) return std::nullopt;
  // The clock is read outside the lock: a real clock takes its own lock to advance.
  double left = std::max(0.0, (state->deadline - clock.now()).count());
  return ActivitySnapshot{state->kind, state->operation, state->what, state->seconds, left};
}

ActivityScope::ActivityScope(Activity& activity, std::string kind, double seconds, Clock& clock,
                             std::string operation, std::string what)
    : activity_(activity) {
  Activity::State state{std::move(kind), std::move(operation), std::move(what), seconds,
                        clock.now() + Clock::Duration(std::max(0.0, seconds))};
  std::lock_guard<std::mutex> lock(activity_.mutex_);
  previous_ = std::exchange(activity_.current_, std::move(state));
}

ActivityScope::~ActivityScope() {
  std::lock_guard<std::mutex> lock(activity_.mutex_);
  activity_.current_ = std::move(previous_);
}

}  // namespace marlet
