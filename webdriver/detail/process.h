// A child process we started, in its own process group so that its helpers (content
// processes) end with it. Ended only by its id, never by name. Move-only; the
// destructor ends it if still running and never throws.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace webdriver {

class ChildProcess {
 public:
  // Starts argv[0] (searched on PATH) with `env` added to the environment; stdout and
  // stderr go to `log_path` (or /dev/null). The child dies with its parent.
  ChildProcess(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env = {},
               const std::string& log_path = "");
  ~ChildProcess();
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess& operator=(ChildProcess&& other) noexcept;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const noexcept { return pid_; }
  bool running() noexcept;  // reaps it when it has exited
  // Waits up to `grace` for it to exit by itself, then SIGTERM, then SIGKILL.
  void stop(std::chrono::milliseconds grace) noexcept;
  void kill_now() noexcept;

 private:
  bool wait_for(std::chrono::milliseconds d) noexcept;
  pid_t pid_ = -1;
};

// The first executable of `names` on PATH (or the name itself when it holds a '/').
std::string find_executable(const std::vector<std::string>& names);

}  // namespace webdriver
