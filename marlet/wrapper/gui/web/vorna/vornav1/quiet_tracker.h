// Turns the browser's own account of a session's pages (WebDriver BiDi events and the
// messages of the settle's preload script) into one answer: since when the console has
// been quiet, if it is quiet now. No browser in here: the caller hands in each event
// with the time it came, so the rules can be tried on a scripted stream.
//
// Quiet means: no request of a page in flight (from network.beforeRequestSent to its
// network.responseCompleted or network.fetchError), no browsing context on its way to a
// new document (browsingContext.navigationStarted to its load, failure or abort), no
// short timer of a page pending, and nothing seen since: every event moves the quiet
// start to the time it came. A request, navigation or timer that has been open longer
// than the settle it is asked about (a long poll, an event stream, a download) holds
// nothing: it is the page's background, and no settle waits longer than fixed anyway.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "marlet/utils/time.h"
#include "webdriver/json.h"

namespace vorna {

class QuietTracker {
 public:
  using TimePoint = marlet::Clock::TimePoint;

  // One event of the channel (its method and params) as it came at `now`. Events of no
  // interest change nothing; a preload script message counts only on `channel`.
  void on_event(const std::string& method, const webdriver::Json& params, TimePoint now);
  // The messages of the preload script come on this channel (script.message).
  void set_channel(std::string channel);
  // Documents that were there before the preload script came are not seen whole (their
  // timers): nothing is quiet before `t`.
  void unseen_until(TimePoint t);

  // When the console became quiet, or nullopt when something holds it now. `hold_limit`:
  // seconds after which an open request, navigation or timer holds nothing;
  // `timer_limit_ms`: a timer of the page's (real) milliseconds up to this holds.
  std::optional<TimePoint> quiet_since(TimePoint now, double hold_limit, double timer_limit_ms) const;

  // When the request of a network event (this hop of it) was sent, while it is open.
  std::optional<TimePoint> sent_at(const webdriver::Json& params) const;

  // For diagnostics and tests.
  size_t requests_open() const;
  size_t timers_pending() const;

 private:
  struct Timer {
    double delay_ms;
    TimePoint since;
  };
  struct Context {
    std::optional<TimePoint> navigating;  // since
    std::map<std::string, Timer> timers;
  };
  struct Request {
    std::string context;
    TimePoint since;
  };
  void script_message(const std::string& context, const std::string& text, TimePoint now);

  mutable std::mutex mutex_;
  std::string channel_;
  std::map<std::string, Context> contexts_;
  std::map<std::string, Request> requests_;
  TimePoint last_change_{};
  TimePoint unseen_until_{};
};

}  // namespace vorna
