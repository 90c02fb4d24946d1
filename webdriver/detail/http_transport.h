// W3C WebDriver over HTTP (chromedriver, geckodriver, a Selenium Grid): one kept-alive
// libcurl handle per session, a table from command name to method and path template,
// and W3C error bodies turned into typed errors (throw_w3c_error).
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
  // ConnectionException when the driver cannot be reached or does not answer in time;
  // ProtocolException when the answer is not a W3C JSON reply.
  Json execute(std::string_view command, const Json& params) override;

  struct Route {
    const char* method;
    std::string path;  // relative to the base URL
    Json body;         // null for GET and DELETE
  };
  // The method, path and body of a command (public for tests). Parameters named in the
  // path template ($id, $name, ...) move into the path; the rest form the body.
  // InvalidArgumentException for a command the table does not hold or a missing parameter.
  static Route route(std::string_view command, const Json& params, const std::string& session_id);

  // The longest the driver may take to end a session (it closes the browser).
  static constexpr std::chrono::milliseconds kQuitTimeout{30000};

 private:
  Json request(const Route& route, std::chrono::milliseconds timeout);
  std::string base_;
  std::chrono::milliseconds timeout_;
  void* curl_;  // CURL*, kept out of the header
  void* headers_;  // curl_slist*
  std::string session_id_;
};

}  // namespace webdriver
