// Settles whose length is the controller's, not the page's: a firmware upgrade running, a
// diagnostics collection starting. A console page can be perfectly quiet while its
// controller works (no request, no DOM change: one page timer, then the outcome), so the
// page's quiet says nothing about the machine. Under "adaptive" such a settle ends only on
// the sign the operation reads next (the progress ring gone and the result written); else
// it lasts its whole length, as under "fixed".
#pragma once

#include <functional>

#include "marlet/utils/gui/web/web_base.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settle_policy.h"

namespace vorna {

// Fixed: one sleep of `seconds`. Adaptive: asks `sign` once per poll of the adaptive timing
// and ends at the first true answer, never later than `seconds`. A sign that raises counts
// as "not yet", except when the browser is gone, which raises as the next command would.
void settle_until_sign(marlet::WebBase& web, double seconds, SettlePolicy policy, const std::function<bool()>& sign,
                       SettleStats& stats);

// Signs read in the top document by one script command each.
// The element `id` of the top document is displayed.
bool top_element_shown(marlet::WebBase& web, const char* id);
// The progress ring `ring_id` of the top document is not displayed, and the element
// `result_id` of the content frame's document holds text.
bool ring_gone_and_result_written(marlet::WebBase& web, const char* ring_id, const char* result_id);

}  // namespace vorna
