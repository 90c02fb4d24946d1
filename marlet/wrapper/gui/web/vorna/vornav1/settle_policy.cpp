#include "marlet/wrapper/gui/web/vorna/vornav1/settle_policy.h"

#include <algorithm>
#include <atomic>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/utils/time.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settle_watcher_js.h"
#include "webdriver/errors.h"

namespace vorna {
namespace py = marlet::py;
using webdriver::Json;

namespace {

std::atomic<SettlePolicy> g_policy{SettlePolicy::Fixed};

// The console's own timers are watched: a short timer (up to kTimerLimit of the pace, a
// single setTimeout) that is pending holds the settle like a request in flight, so a page
// that starts its request from a timer half a second after a click is waited for without
// a long quiet window. Longer timers and setInterval are the page's background (the
// alarms page asks every 2 s for ever) and hold nothing. A document the watcher first saw
// less than kYoungWindow ago may have set timers before the watcher came, which it cannot
// see: it holds the settle until those would have fired.
//
// What is left for the quiet window is the work the watcher cannot count (layout,
// animation frames, a script that rewrites the page in pieces): a quarter second of the
// pace, never less than 0.25 s of real time, which keeps the margin the window always had
// over a loaded machine's scheduling delays when the console is driven faster than its
// real pace. At the real pace against the simulator's realistic console every settle of
// the demo's tour ends early with it (bench/settle_bench.py) and reads what the fixed
// settles read.
constexpr double kQuietWindow = 0.25;
constexpr double kQuietWindowFloorReal = 0.25;
constexpr double kTimerLimit = 1.0;
constexpr double kYoungWindow = 1.0;
constexpr double kYoungWindowFloorReal = 0.25;
// One script command every 0.05 s of the console's pace, never more often than every
// 25 ms of real time.
constexpr double kPoll = 0.05;
constexpr double kPollFloorReal = 0.025;

// The symbol (Symbol.for) under which the watcher lives on the top window: not
// enumerable, not an element, not an attribute; a second install finds it and stops.
constexpr const char* kWatcherKey = "vorna.settle.watcher";

// The watcher, settle_watcher.js beside this file (compiled in, see CMakeLists.txt): it
// installs itself into the top document unless it is there, then answers one poll.
// It runs from whichever frame the driver is in; everything it keeps is reached through
// window.top and built from the top window's own constructors, so it outlives a frame
// document that goes away.
//
// Per document it counts the requests in flight (fetch and XMLHttpRequest, wrapped once
// per window: the wrapper returns the page's own promise or result untouched; a fetch's
// body read by json()/text()/... counts too, so the step from the answer to its
// rendering leaves no gap) and the short timers pending (setTimeout with a delay up to
// the limit the poll passes, wrapped once per window: the page gets its own timer id
// back, clearTimeout and clearInterval drop the count), and notes every DOM change (a
// MutationObserver), every change of readyState and every request or timer that ends in
// `seq`. Each document remembers when the watcher first saw it ("young" until the poll's
// second limit has passed). New documents of frames are found by a scan every 50 ms, at
// each poll, on every frame load, and -- when a frame's document is hidden for a
// navigation -- by a quick chase (MessageChannel turns, no timer clamping, for at most
// 2 s) that reaches the new document while it still loads, before most of its scripts
// have run.
constexpr const char* kWatcherScript = kSettleWatcherScript;

// One poll when the watcher is in place; null when it is not (the top document changed).
constexpr const char* kPollScript = R"JS(
var api = window.top[Symbol.for(arguments[0])];
return api ? api.poll(arguments[1], arguments[2]) : null;
)JS";

struct Reading {
  bool idle = false;
  long long seq = 0;
};

std::optional<Reading> read_reply(const Json& reply) {
  if (!reply.is_object() || !reply.contains("seq") || !reply["seq"].is_number()) return std::nullopt;
  Reading r;
  r.seq = reply["seq"].get<long long>();
  bool loaded = reply.contains("loading") && reply["loading"].is_boolean() && !reply["loading"].get<bool>();
  bool none_in_flight = reply.contains("inflight") && reply["inflight"].is_number() && reply["inflight"] == 0;
  // A watcher that does not report timers or youth (none pending, none young) reads as before.
  bool no_timers = !reply.contains("timers") || reply["timers"] == 0;
  bool settled_in = !reply.contains("young") || reply["young"] == false;
  r.idle = loaded && none_in_flight && no_timers && settled_in;
  return r;
}

// Failures that mean the browser is gone: raise them as the next command would. Anything
// else a poll raises (a document unloaded under the script, a frame gone, a script error,
// a script time-out) only means the console is not quiet yet.
bool browser_gone(const webdriver::WebDriverException& e) {
  return dynamic_cast<const webdriver::ConnectionException*>(&e) ||
         dynamic_cast<const webdriver::InvalidSessionIdException*>(&e) ||
         dynamic_cast<const webdriver::ProtocolException*>(&e);
}

}  // namespace

SettlePolicy parse_settle_policy(const Json& value, const std::string& what) {
  if (!value.is_string()) throw marlet::TypeError(what + " must be a text, not " + py::repr(value));
  const auto& name = value.get_ref<const std::string&>();
  if (name == "fixed") return SettlePolicy::Fixed;
  if (name == "adaptive") return SettlePolicy::Adaptive;
  throw marlet::ValueError(what + " must be 'fixed' or 'adaptive', not " + py::repr_text(name));
}

const char* settle_policy_name(SettlePolicy policy) { return policy == SettlePolicy::Fixed ? "fixed" : "adaptive"; }

void set_process_settle_policy(SettlePolicy policy) { g_policy.store(policy); }
SettlePolicy process_settle_policy() { return g_policy.load(); }

SettleTiming adaptive_timing() {
  double scale = marlet::time_scale();
  return {std::max(kQuietWindow, kQuietWindowFloorReal / scale), std::max(kPoll, kPollFloorReal / scale), kTimerLimit,
          std::max(kYoungWindow, kYoungWindowFloorReal / scale)};
}

namespace {

// The settle from the browser's events: nothing is sent to the browser while it waits,
// it only looks at what the tracker has seen. False when the channel was lost before
// the settle could end: the caller goes on with the watcher until `deadline`.
bool settle_by_events(marlet::Clock& clock, const PageEvents& events, double seconds, const SettleTiming& timing,
                      marlet::Clock::TimePoint deadline, SettleStats& stats) {
  const auto start = clock.now();
  const double timer_limit_ms = timing.timer_limit * marlet::time_scale() * 1000;
  for (;;) {
    auto now = clock.now();
    // Quiet from the start of this settle at the earliest: what the click before it
    // started may still be on its way to the channel.
    if (auto since = events.tracker().quiet_since(now, seconds, timer_limit_ms)) {
      auto from = std::max(*since, start);
      if (now - from >= marlet::Clock::Duration(timing.quiet_window)) {
        ++stats.early;
        stats.saved += std::max(0.0, (deadline - now).count());
        return true;
      }
    }
    if (now >= deadline) return true;
    clock.sleep_seconds(std::min(timing.poll, (deadline - now).count()));
    if (clock.now() >= deadline) return true;
    if (!events.usable()) return false;
  }
}

}  // namespace

void settle_for(marlet::WebBase& web, double seconds, SettlePolicy policy, SettleStats& stats, PageEvents* events) {
  marlet::Clock& clock = web.clock();
  SettleTiming timing = adaptive_timing();
  // A settle no longer than the window can never end early: it is the fixed sleep.
  if (policy == SettlePolicy::Fixed || seconds <= timing.quiet_window || web.isClosed()) {
    clock.sleep_seconds(seconds);
    return;
  }
  ++stats.settles;
  const auto start = clock.now();
  const auto deadline = start + marlet::Clock::Duration(seconds);
  if (events && events->usable() && events->ensure_preload(timing.young_window)) {
    ++stats.by_events;
    stats.source = "events";
    if (settle_by_events(clock, *events, seconds, timing, deadline, stats)) return;
    ++stats.by_watcher;  // the channel was lost: the watcher has the rest
    stats.source = "watcher";
  } else {
    ++stats.by_watcher;
    stats.source = "watcher";
  }
  std::shared_ptr<webdriver::Session> session = web.browser;
  bool quiet = false;  // since quiet_since, with quiet_seq unchanged
  marlet::Clock::TimePoint quiet_since{};
  long long quiet_seq = 0;
  bool install = true;  // the first poll of each settle makes sure the watcher is there
  // The watcher's limits are the page's own milliseconds (real time).
  const double scale = marlet::time_scale();
  const Json args = Json::array({kWatcherKey, timing.timer_limit * scale * 1000, timing.young_window * scale * 1000});
  for (;;) {
    std::optional<Reading> reading;
    try {
      ++stats.polls;
      Json reply = session->execute_script(install ? kWatcherScript : kPollScript, args);
      install = reply.is_null();  // no watcher: the top document was replaced
      reading = read_reply(reply);
    } catch (const webdriver::WebDriverException& e) {
      if (browser_gone(e)) throw;
      ++stats.failed_polls;
      install = true;
    }
    auto now = clock.now();
    if (!reading || !reading->idle) {
      quiet = false;
    } else if (!quiet || reading->seq != quiet_seq) {
      quiet = true;  // quiet from here on, as far as this settle has seen
      quiet_since = now;
      quiet_seq = reading->seq;
    } else if (now - quiet_since >= marlet::Clock::Duration(timing.quiet_window)) {
      ++stats.early;
      stats.saved += std::max(0.0, (deadline - now).count());
      return;
    }
    if (now >= deadline) return;
    clock.sleep_seconds(std::min(timing.poll, (deadline - now).count()));
    if (clock.now() >= deadline) return;
  }
}

}  // namespace vorna
