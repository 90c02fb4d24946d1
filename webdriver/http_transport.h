// W3C WebDriver over HTTP (chromedriver, geckodriver, a Selenium Grid): one kept-alive
// libcurl handle per session, a table from command name to method and path, and W3C
// error bodies turned into typed errors.
#pragma once

#include <chrono>
#include <string>

#include "webdriver/transport.h"

namespace webdriver {

class HttpTransport final : public Transport {
 public:
  HttpTransport(std::string base_url, std::chrono::milliseconds command_timeout);
  ~HttpTransport() override;
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;
  Json execute(std::string_view command, const Json& params) override;

  struct Route {
    const char* method;
    std::string path;  // relative to the base URL
    Json body;         // null for GET and DELETE
  };
  // The method, path and body of a command (public for tests).
  static Route route(std::string_view command, const Json& params, const std::string& session_id);

 private:
  Json request(const Route& route);
  std::string base_;
  std::chrono::milliseconds timeout_;
  void* curl_;
  std::string session_id_;
};

}  // namespace webdriver
