#include "webdriver/errors.h"

#include <map>

namespace webdriver {

namespace {
using Thrower = void (*)(const std::string& code, const std::string& message);
template <class E>
[[noreturn]] void raise(const std::string& code, const std::string& message) {
  throw E(message, code);
}
}  // namespace

// The one table from a W3C error code to its type.
void throw_w3c_error(const std::string& code, const std::string& message) {
  static const std::map<std::string, Thrower> table = {
      {"no such element", &raise<NoSuchElementException>},
      {"stale element reference", &raise<StaleElementReferenceException>},
      {"timeout", &raise<TimeoutException>},
      {"script timeout", &raise<TimeoutException>},
      {"no such frame", &raise<NoSuchFrameException>},
      {"no such window", &raise<NoSuchWindowException>},
      {"invalid argument", &raise<InvalidArgumentException>},
      {"invalid session id", &raise<InvalidSessionIdException>},
      {"session not created", &raise<SessionNotCreatedException>},
      {"javascript error", &raise<JavascriptException>},
      {"invalid selector", &raise<InvalidSelectorException>},
      {"element not interactable", &raise<ElementNotInteractableException>},
      {"element click intercepted", &raise<ElementClickInterceptedException>},
      {"no such alert", &raise<NoAlertPresentException>},
      {"unexpected alert open", &raise<UnexpectedAlertPresentException>},
  };
  auto it = table.find(code);
  if (it != table.end()) it->second(code, message);
  throw WebDriverException(message, code);
}

}  // namespace webdriver
