#include "webdriver/detail/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <thread>

#include "webdriver/errors.h"

namespace webdriver {
namespace {

// PR_SET_PDEATHSIG fires when the *thread* that forked the child ends, not the process.
// Browsers started from a short-lived thread (a Python worker thread, say) would die
// with that thread, so every child is forked by one thread that lives as long as the
// process: children then end with the process and with nothing else.
class Spawner {
 public:
  static Spawner& instance() {
    // Never destroyed: the thread must outlive static destructors that end sessions.
    static Spawner* spawner = new Spawner;
    return *spawner;
  }

  // Runs `fork_child` on the spawner's thread; returns its pid and errno.
  std::pair<pid_t, int> run(const std::function<pid_t()>& fork_child) {
    Job job{&fork_child};
    std::unique_lock<std::mutex> lock(mutex_);
    jobs_.push_back(&job);
    wake_.notify_all();
    done_.wait(lock, [&] { return job.finished; });
    return {job.pid, job.error};
  }

 private:
  struct Job {
    const std::function<pid_t()>* fork_child;
    pid_t pid = -1;
    int error = 0;
    bool finished = false;
  };

  Spawner() { std::thread([this] { loop(); }).detach(); }

  void loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
      wake_.wait(lock, [&] { return !jobs_.empty(); });
      Job* job = jobs_.front();
      jobs_.pop_front();
      job->pid = (*job->fork_child)();
      job->error = errno;
      job->finished = true;
      done_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_, done_;
  std::deque<Job*> jobs_;
};

}  // namespace

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

  // Only async-signal-safe calls between fork and exec: the parent has other threads.
  auto [pid, error] = Spawner::instance().run([&]() -> pid_t {
    pid_t child = ::fork();
    if (child != 0) return child;
    ::setpgid(0, 0);  // its own group, so that its helper processes end with it
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // a harness that dies takes its browsers along
    if (::getppid() != parent) ::_exit(127);
    int fd = ::open(out.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    int null_in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
      ::dup2(fd, 1);
      ::dup2(fd, 2);
    }
    if (null_in >= 0) ::dup2(null_in, 0);
    // A harness's own descriptors (sockets, files opened without close-on-exec) must not
    // live on in a browser that outlives them; close_range is a plain system call.
    if (::syscall(SYS_close_range, 3U, ~0U, 0U) != 0)
      for (int k = 3; k < 4096; ++k) ::close(k);
    ::execve(program.c_str(), args.data(), envp.data());
    ::_exit(127);
  });
  if (pid < 0) throw SessionNotCreatedException(std::string("fork failed: ") + std::strerror(error));
  pid_ = pid;
  ::setpgid(pid_, pid_);  // also from here: whichever runs first, the group exists before any kill
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
