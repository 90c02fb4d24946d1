// How a settle waits. "fixed" (the default) sleeps the operation's whole settle;
// "adaptive" ends it as soon as the console is quiet and never later than the fixed one.
//
// Where the session has the browser's event channel (WebDriver BiDi), quiet is read from
// the browser's own events (PageEvents: every request, navigation and load, and the
// messages of a preload script that runs in each document before the page's scripts),
// with no command sent while the settle waits. Where it has none, a watcher injected into
// the page, polled by script commands, stands in:
//
// The console fills its pages after they load (requests, timers, scripts that rewrite
// tables), so a quiet console is one whose top document and frames have finished
// loading, have no request of the page in flight and no short timer pending, and whose
// DOM has not changed for the quiet window. A small script (settle_watcher.js, compiled in)
// watches the page from inside: installed into the top document at the first adaptive
// settle, it follows every frame's new document, counts the page's fetch/XHR requests,
// its short timers and its DOM changes, and is read by one script command per poll. It
// adds nothing to the DOM and does not change what the page's own fetch, XHR and timer
// calls do.
#pragma once

#include <optional>
#include <string>

#include "marlet/utils/gui/web/web_base.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/page_events.h"
#include "webdriver/json.h"

namespace vorna {

enum class SettlePolicy { Fixed, Adaptive };

// "fixed" or "adaptive"; TypeError for a value that is not text, ValueError for any
// other text. `what` names the value in the message ("params['settle']").
SettlePolicy parse_settle_policy(const webdriver::Json& value, const std::string& what);
const char* settle_policy_name(SettlePolicy policy);

// The policy of the process, followed at each settle by every object whose params had no
// "settle" key. Default "fixed".
void set_process_settle_policy(SettlePolicy policy);
SettlePolicy process_settle_policy();

// The timing of adaptive settles, in seconds of the wrapper's clock (the console's pace).
// The windows and the poll have a floor in real time, since a loaded machine's scheduling
// delays do not shrink with the time scale.
struct SettleTiming {
  double quiet_window;  // how long the console must stay quiet to end the settle
  double poll;          // one look at the events, or one poll of the watcher, this often
  double timer_limit;   // a page timer (setTimeout) this short or shorter holds the settle
  double young_window;  // a document seen for less than this holds the settle (its timers
                        // set before the watcher came are not seen); >= timer_limit
};
SettleTiming adaptive_timing();

// What the adaptive settles of one object did, for diagnostics and tests.
struct SettleStats {
  long settles = 0;         // settles run under "adaptive" (after the trivial cases)
  long early = 0;           // of those, ended because the console was quiet
  long by_events = 0;       // of those, read from the browser's events
  long by_watcher = 0;      // of those, read from the injected watcher (no channel, or lost)
  const char* source = "";  // the last one's: "events" or "watcher"
  long polls = 0;           // script commands sent
  long failed_polls = 0;    // polls that raised (a navigation under way, a script error)
  double saved = 0;         // seconds of the clock not slept compared with "fixed"
};

// Waits `seconds` on web's clock under `policy`. Fixed: one sleep. Adaptive: watches
// `events` (when given and its channel is up), else polls the page's watcher, until the
// console has been quiet for the quiet window or `seconds` have passed; a channel lost
// on the way hands the rest of the settle to the watcher. A poll that fails counts as
// "not quiet"; a browser that is gone (connection lost, session ended) raises as the
// next command would.
void settle_for(marlet::WebBase& web, double seconds, SettlePolicy policy, SettleStats& stats,
                PageEvents* events = nullptr);

}  // namespace vorna
