// The browser client's failures: one root, one type per W3C error code, and one table
// (errors.cpp) that maps a wire error to its type. The root derives from the client's
// error root (error_root.h), which the platform's MarletException is, so every
// browser-level failure is a MarletException.
#pragma once

#include <string>

#include "webdriver/error_root.h"

namespace webdriver {

class WebDriverException : public Error {
 public:
  explicit WebDriverException(const std::string& message, std::string error_code = "unknown error",
                              std::exception_ptr cause = nullptr)
      : Error(message, std::move(cause)), error_code_(std::move(error_code)) {}
  // The W3C error code ("no such element", ...) or a client-side code ("protocol error").
  const std::string& error_code() const noexcept { return error_code_; }

 private:
  std::string error_code_;
};

// Every type below WebDriverException, once, by name: the declarations below expand it,
// and so does any table that must name each of them (the Python binding's classes).
// ProtocolException: the peer broke the protocol (malformed JSON, a truncated frame, a
// bad greeting). ConnectionException: the connection to the browser or driver failed or
// was lost (browser died, refused). RemoteFileException: a file the browser saved is on
// the browser's machine (a Selenium Grid node), out of this process's reach.
#define WEBDRIVER_ERROR_TYPES(X)        \
  X(NoSuchElementException)             \
  X(StaleElementReferenceException)     \
  X(TimeoutException)                   \
  X(NoSuchFrameException)               \
  X(NoSuchWindowException)              \
  X(InvalidArgumentException)           \
  X(InvalidSessionIdException)          \
  X(SessionNotCreatedException)         \
  X(JavascriptException)                \
  X(InvalidSelectorException)           \
  X(ElementNotInteractableException)    \
  X(ElementClickInterceptedException)   \
  X(NoAlertPresentException)            \
  X(UnexpectedAlertPresentException)    \
  X(UnexpectedTagNameException)         \
  X(ProtocolException)                  \
  X(ConnectionException)                \
  X(RemoteFileException)

#define WEBDRIVER_DECLARE_ERROR(Name)             \
  class Name : public WebDriverException {        \
   public:                                        \
    using WebDriverException::WebDriverException; \
  };
WEBDRIVER_ERROR_TYPES(WEBDRIVER_DECLARE_ERROR)
#undef WEBDRIVER_DECLARE_ERROR

// Throws the type that matches a W3C error code; "unknown error" and codes without a
// type of their own throw WebDriverException. The message is the driver's own.
[[noreturn]] void throw_w3c_error(const std::string& error_code, const std::string& message);

}  // namespace webdriver
