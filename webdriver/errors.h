// The browser client's failures: one root, one type per W3C error code, and one table
// (errors.cpp) that maps a wire error to its type. The root derives from the platform's
// MarletException, so every browser-level failure is a MarletException.
#pragma once

#include <string>

#include "marlet/exception/exceptions.h"

namespace webdriver {

#define WEBDRIVER_PY "marlet.exception.webdriverexception"

class WebDriverException : public marlet::MarletException {
 public:
  explicit WebDriverException(const std::string& message, std::string error_code = "unknown error",
                              std::exception_ptr cause = nullptr)
      : marlet::MarletException(message, std::move(cause)), error_code_(std::move(error_code)) {}
  // The W3C error code ("no such element", ...) or a client-side code ("protocol error").
  const std::string& error_code() const noexcept { return error_code_; }
  const char* python_class() const noexcept override { return WEBDRIVER_PY ":WebDriverException"; }

 private:
  std::string error_code_;
};

#define WEBDRIVER_ERROR(Name)                                                             \
  class Name : public WebDriverException {                                                \
   public:                                                                                \
    using WebDriverException::WebDriverException;                                         \
    const char* python_class() const noexcept override { return WEBDRIVER_PY ":" #Name; } \
  };

WEBDRIVER_ERROR(NoSuchElementException)
WEBDRIVER_ERROR(StaleElementReferenceException)
WEBDRIVER_ERROR(TimeoutException)
WEBDRIVER_ERROR(NoSuchFrameException)
WEBDRIVER_ERROR(NoSuchWindowException)
WEBDRIVER_ERROR(InvalidArgumentException)
WEBDRIVER_ERROR(InvalidSessionIdException)
WEBDRIVER_ERROR(SessionNotCreatedException)
WEBDRIVER_ERROR(JavascriptException)
WEBDRIVER_ERROR(InvalidSelectorException)
WEBDRIVER_ERROR(ElementNotInteractableException)
WEBDRIVER_ERROR(ElementClickInterceptedException)
WEBDRIVER_ERROR(NoAlertPresentException)
WEBDRIVER_ERROR(UnexpectedAlertPresentException)
WEBDRIVER_ERROR(UnexpectedTagNameException)
// The peer broke the protocol: malformed JSON, a truncated frame, a bad greeting.
WEBDRIVER_ERROR(ProtocolException)
// The connection to the browser or driver failed or was lost (browser died, refused).
WEBDRIVER_ERROR(ConnectionException)
// A file the browser saved is on the browser's machine (a Selenium Grid node), out of
// this process's reach.
WEBDRIVER_ERROR(RemoteFileException)

#undef WEBDRIVER_ERROR

// Throws the type that matches a W3C error code; "unknown error" and codes without a
// type of their own throw WebDriverException. The message is the driver's own.
[[noreturn]] void throw_w3c_error(const std::string& error_code, const std::string& message);

}  // namespace webdriver
