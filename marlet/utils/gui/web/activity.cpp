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
    : activity_(activity), clock_(clock), started_(clock.now()), wall_started_(std::chrono::steady_clock::now()) {
  Activity::State state{std::move(kind), std::move(operation), std::move(what), seconds,
                        started_ + Clock::Duration(std::max(0.0, seconds))};
  {
    std::lock_guard<std::mutex> lock(activity_.mutex_);
    listener_ = activity_.listener_;
    if (listener_) state_kind_ = state.kind;
    previous_ = std::exchange(activity_.current_, std::move(state));
    ++activity_.depth_;
  }
  if (listener_) listener_->activity_started(state_kind_);
}

ActivityScope::~ActivityScope() {
  double taken = (clock_.now() - started_).count();
  double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_started_).count();
  std::optional<ActivityRecord> told;
  {
    std::lock_guard<std::mutex> lock(activity_.mutex_);
    --activity_.depth_;
    if ((activity_.journal_on_ || listener_) && activity_.current_) {
      const auto& s = *activity_.current_;
      ActivityRecord record{s.kind, s.operation, s.what, s.seconds, taken, activity_.depth_, wall};
      if (listener_) told = record;
      if (activity_.journal_on_) activity_.journal_.push_back(std::move(record));
    }
    activity_.current_ = std::move(previous_);
  }
  if (told) listener_->activity_ended(*told);
}

void Activity::set_listener(std::shared_ptr<ActivityListener> listener) {
  std::lock_guard<std::mutex> lock(mutex_);
  listener_ = std::move(listener);
}

void Activity::keep_journal(bool on) {
  std::lock_guard<std::mutex> lock(mutex_);
  journal_on_ = on;
  journal_.clear();
}

std::vector<ActivityRecord> Activity::take_journal() {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(journal_, {});
}

}  // namespace marlet
