// What the browser tells about a session's pages over its WebDriver BiDi channel, kept
// for the wrapper: the requests, navigations and preload-script messages that adaptive
// settles end on (a QuietTracker), and what the console says (its errors and warnings,
// failed requests and answers of status 400 and up) for the log and for failures.
//
// Attached once per session, right after it opens: it subscribes to the events it
// needs; the preload script (settle_events.js, compiled in) is added then too when
// adaptive settles are asked for, else at the first adaptive settle. Events arrive on
// the channel's own thread and only touch this object's state: nothing is logged from
// there (a log line may need the interpreter's lock); the wrapper takes the lines from
// its own thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "marlet/log/logger.h"
#include "marlet/utils/time.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/quiet_tracker.h"
#include "webdriver/bidi.h"

namespace vorna {

// One thing the console said, as text: "console error: ...", "console warning: ...",
// "javascript error: ...", "request failed: GET <url> (<reason>)", "HTTP 404 Not
// Found: GET <url>".
struct ConsoleLine {
  marlet::LogLevel level;
  std::string text;
};

class PageEvents {
 public:
  // Subscribes to `channel` (a session's). ConnectionException, TimeoutException or the
  // browser's refusal when it cannot.
  static std::shared_ptr<PageEvents> attach(std::shared_ptr<webdriver::BidiChannel> channel, marlet::Clock& clock);
  ~PageEvents();  // stops listening; never throws
  PageEvents(const PageEvents&) = delete;
  PageEvents& operator=(const PageEvents&) = delete;

  // False once the channel is closed or lost: settles then fall back to the page watcher.
  bool usable() const noexcept;
  // Adds the preload script once; true when it is in place. Documents already there are
  // not seen whole: the tracker holds quiet off for `unseen` seconds of the clock.
  bool ensure_preload(double unseen);
  bool preloaded() const noexcept { return preloaded_; }
  // Why the events cannot serve a settle (the channel lost, the preload script refused).
  std::string why() const;
  const QuietTracker& tracker() const;

  // The console's lines not yet taken, oldest first.
  std::vector<ConsoleLine> take_lines();
  // How many lines have come so far; the last (up to kKeptLines) texts since `mark`.
  std::uint64_t mark() const;
  std::vector<std::string> texts_since(std::uint64_t mark) const;

  static constexpr size_t kKeptLines = 10;
  static constexpr size_t kMaxUntaken = 1000;  // beyond it the oldest untaken lines go
  static constexpr const char* kChannel = "vorna.settle";

  struct State;  // shared with the channel's subscriber

 private:
  PageEvents() = default;
  std::shared_ptr<webdriver::BidiChannel> channel_;
  std::shared_ptr<State> state_;
  webdriver::BidiChannel::Token token_ = 0;
  marlet::Clock* clock_ = nullptr;
  bool preloaded_ = false;
  std::string preload_failed_;
};

struct PageEvents::State {
  QuietTracker tracker;
  marlet::Clock* clock;
  mutable std::mutex mutex;
  std::deque<ConsoleLine> untaken;
  std::deque<std::string> recent;  // the last kKeptLines texts
  std::uint64_t count = 0;

  // A failed request is held this long before it is said: the browser cancels a
  // document's requests (and the document's own) when its frame navigates again or goes
  // away, and names the cause NS_BINDING_ABORTED only most of the time.
  static constexpr double kSupersededWindow = 1.0;
  struct Failure {
    std::string context, navigation, text;
    marlet::Clock::TimePoint at;
  };
  std::deque<Failure> held;  // guarded by mutex
  struct Navigated {
    std::string navigation;  // "" once the context is gone
    marlet::Clock::TimePoint at;
  };
  std::map<std::string, Navigated> navigated;  // per context, its latest (channel thread only)

  void on_event(const std::string& method, const webdriver::Json& params);
  void said(marlet::LogLevel level, std::string text);
  // Says the held failures older than the window (all of them with `all`); mutex held.
  void release_held(bool all);
};

}  // namespace vorna
