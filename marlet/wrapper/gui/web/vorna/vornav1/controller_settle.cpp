#include "marlet/wrapper/gui/web/vorna/vornav1/controller_settle.h"

#include <algorithm>

#include "marlet/wrapper/gui/web/vorna/vornav1/console_pages.h"
#include "webdriver/errors.h"

namespace vorna {
using webdriver::Json;

namespace {

bool browser_gone(const webdriver::WebDriverException& e) {
  return dynamic_cast<const webdriver::ConnectionException*>(&e) ||
         dynamic_cast<const webdriver::InvalidSessionIdException*>(&e) ||
         dynamic_cast<const webdriver::ProtocolException*>(&e);
}

// Run from whichever document the operation is in: both signs look from the top window.
constexpr const char* kShownScript = R"(
var el = window.top.document.getElementById(arguments[0]);
return !!el && el.getClientRects().length > 0 && getComputedStyle(el).visibility !== "hidden";)";

constexpr const char* kRingGoneScript = R"(
var top = window.top.document, ring = top.getElementById(arguments[0]);
if (ring && ring.getClientRects().length > 0 && getComputedStyle(ring).visibility !== "hidden") return false;
var frame = top.getElementById(arguments[2]), doc = frame && frame.contentDocument;
var result = doc && doc.getElementById(arguments[1]);
return !!result && result.textContent.trim() !== "";)";

}  // namespace

void settle_until_sign(marlet::WebBase& web, double seconds, SettlePolicy policy, const std::function<bool()>& sign,
                       SettleStats& stats) {
  marlet::Clock& clock = web.clock();
  if (policy == SettlePolicy::Fixed || seconds <= 0 || web.isClosed()) {
    clock.sleep_seconds(seconds);
    return;
  }
  ++stats.settles;
  const double poll = adaptive_timing().poll;
  const auto deadline = clock.now() + marlet::Clock::Duration(seconds);
  for (;;) {
    bool shown = false;
    try {
      ++stats.polls;
      shown = sign();
    } catch (const webdriver::WebDriverException& e) {
      if (browser_gone(e)) throw;
      ++stats.failed_polls;
    }
    const double left = std::chrono::duration<double>(deadline - clock.now()).count();
    if (shown) {
      ++stats.early;
      stats.saved += std::max(0.0, left);
      return;
    }
    if (left <= 0) return;
    clock.sleep_seconds(std::min(poll, left));
  }
}

bool top_element_shown(marlet::WebBase& web, const char* id) {
  return web.session().execute_script(kShownScript, Json::array({id})) == true;
}

bool ring_gone_and_result_written(marlet::WebBase& web, const char* ring_id, const char* result_id) {
  return web.session().execute_script(kRingGoneScript, Json::array({ring_id, result_id, kContentFrame})) == true;
}

}  // namespace vorna
