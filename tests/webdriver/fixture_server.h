// A tiny static HTTP server on 127.0.0.1 for the end-to-end tests: serves the files of
// one folder, each connection on its own thread, "Connection: close". Files under
// download/ are sent as attachments so that the browser saves them.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace webdriver::testing {

class FixtureServer {
 public:
  explicit FixtureServer(std::string root);
  ~FixtureServer();
  FixtureServer(const FixtureServer&) = delete;
  FixtureServer& operator=(const FixtureServer&) = delete;

  int port() const noexcept { return port_; }
  std::string url(const std::string& path) const;  // http://127.0.0.1:<port>/<path>

 private:
  void accept_loop();
  void serve(int fd);

  std::string root_;
  int listen_fd_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  std::thread acceptor_;
  std::mutex workers_mutex_;
  std::vector<std::thread> workers_;
};

}  // namespace webdriver::testing
