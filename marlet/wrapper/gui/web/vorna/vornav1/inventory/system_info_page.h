// How the tab-loop readers open the system information page: each menu click and the
// frame followed by a settle of 5, so the page has loaded before its tab is clicked.
#pragma once

#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {

inline void open_system_info_settled(VornaWebWrapper& w) {
  w.locateElementById("menu_INFO");
  w.settle(5);
  w.locateElementById("menu_SYSTEM_INFO");
  w.settle(5);
  enter_content_frame(w);
  w.settle(5);
}

}  // namespace vorna
