// The root of every failure the browser client raises, and the root that the layers
// above build their own failures on: the platform's MarletException is this class, so
// that one catch takes a browser's failure and a console's alike. It keeps the failure
// that was being handled when it was raised (a cause, as Python's __cause__).
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace webdriver {

class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message, std::exception_ptr cause = nullptr)
      : std::runtime_error(message), cause_(std::move(cause)) {}
  // The failure that was caught when this one was raised, or null.
  const std::exception_ptr& cause() const noexcept { return cause_; }

 private:
  std::exception_ptr cause_;
};

}  // namespace webdriver
