#include "webdriver/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "webdriver/errors.h"

namespace webdriver {

std::string find_executable(const std::vector<std::string>& names) {
  for (const auto& name : names) {
    if (name.empty()) continue;
    if (name.find('/') != std::string::npos) {
      if (::access(name.c_str(), X_OK) == 0) return name;
      continue;
    }
    const char* path = std::getenv("PATH");
    std::string p = path ? path : "/usr/local/bin:/usr/bin:/bin";
    size_t start = 0;
    while (start <= p.size()) {
      size_t end = p.find(':', start);
      std::string dir = p.substr(start, end == std::string::npos ? std::string::npos : end - start);
      std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
      if (::access(candidate.c_str(), X_OK) == 0) return candidate;
      if (end == std::string::npos) break;
      start = end + 1;
    }
  }
  return "";
}

ChildProcess::ChildProcess(const std::vector<std::string>& argv, const std::map<std::string, std::string>& env,
                           const std::string& log_path) {
  if (argv.empty()) throw InvalidArgumentException("no program to start", "invalid argument");
  std::string program = find_executable({argv[0]});
  if (program.empty()) throw SessionNotCreatedException("cannot find the program " + argv[0], "session not created");
  std::vector<std::string> env_strings;
  for (char** e = environ; *e; ++e) {
    std::string s(*e);
    auto eq = s.find('=');
    if (eq != std::string::npos && env.count(s.substr(0, eq))) continue;
    env_strings.push_back(s);
  }
  for (const auto& [k, v] : env) env_strings.push_back(k + "=" + v);
  std::vector<char*> args, envp;
  for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  for (auto& e : env_strings) envp.push_back(e.data());
  envp.push_back(nullptr);
  std::string out = log_path.empty() ? "/dev/null" : log_path;
  pid_t parent = ::getpid();

  pid_ = ::fork();
  if (pid_ < 0) throw SessionNotCreatedException(std::string("fork failed: ") + std::strerror(errno));
  if (pid_ == 0) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // a harness that dies takes its browsers along
    if (::getppid() != parent) ::_exit(127);
    int fd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    int null_in = ::open("/dev/null", O_RDONLY);
    if (fd >= 0) {
      ::dup2(fd, 1);
      ::dup2(fd, 2);
    }
    if (null_in >= 0) ::dup2(null_in, 0);
    ::execve(program.c_str(), args.data(), envp.data());
    ::_exit(127);
  }
  ::setpgid(pid_, pid_);
}

ChildProcess::~ChildProcess() { stop(std::chrono::milliseconds(0)); }

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : pid_(other.pid_) { other.pid_ = -1; }

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
  if (this != &other) {
    stop(std::chrono::milliseconds(0));
    pid_ = other.pid_;
    other.pid_ = -1;
  }
  return *this;
}

bool ChildProcess::running() noexcept {
  if (pid_ <= 0) return false;
  int status = 0;
  pid_t r = ::waitpid(pid_, &status, WNOHANG);
  if (r == pid_ || (r < 0 && errno == ECHILD)) {
    ::kill(-pid_, SIGKILL);  // helpers left in its group
    pid_ = -1;
    return false;
  }
  return true;
}

bool ChildProcess::wait_for(std::chrono::milliseconds d) noexcept {
  auto end = std::chrono::steady_clock::now() + d;
  while (running()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

void ChildProcess::stop(std::chrono::milliseconds grace) noexcept {
  if (!running()) return;
  if (grace.count() > 0 && wait_for(grace)) return;
  pid_t pid = pid_;
  ::kill(-pid, SIGTERM);
  ::kill(pid, SIGTERM);
  if (wait_for(std::chrono::milliseconds(5000))) return;
  kill_now();
}

void ChildProcess::kill_now() noexcept {
  if (pid_ <= 0) return;
  ::kill(-pid_, SIGKILL);
  ::kill(pid_, SIGKILL);
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
}

}  // namespace webdriver
