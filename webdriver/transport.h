// A transport moves one command to the browser and brings back its result. Commands are
// named as Firefox's remote protocol names them ("WebDriver:FindElement") with W3C
// parameters; the HTTP transport maps each name to its method and path. Marionette and
// HTTP differ only below this interface.
#pragma once

#include <string_view>

#include "webdriver/json.h"

namespace webdriver {

class Transport {
 public:
  virtual ~Transport() = default;
  // Sends one command and returns its result. A primitive or an element result is
  // unwrapped from its {"value": ...} envelope; arrays and objects come as they are.
  // Errors are thrown as WebDriverException subclasses. "WebDriver:NewSession" starts
  // the session (the transport keeps its id); "WebDriver:DeleteSession" ends it.
  virtual Json execute(std::string_view command, const Json& params) = 0;
  // True once the connection can carry no more commands (lost, or out of step after a
  // broken reply); safe to ask from any thread.
  virtual bool broken() const noexcept { return false; }
};

}  // namespace webdriver
