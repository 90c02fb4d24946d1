// Session::alive(): a browser that died or a connection that was lost reads as closed,
// and the session's leftovers are ended on the spot.
#include <gtest/gtest.h>

#include <deque>

#include "webdriver/errors.h"
#include "webdriver/session.h"

using namespace webdriver;

namespace {

// A process stand-in: its pid, whether it still runs, and what was done to it.
class FakeProcess final : public OwnedResource {
 public:
  FakeProcess(std::vector<std::string>* log, int pid, bool* running) : log_(log), pid_(pid), running_(running) {}
  void shutdown() noexcept override { log_->push_back("shutdown " + std::to_string(pid_)); }
  void kill() noexcept override { log_->push_back("kill " + std::to_string(pid_)); }
  int process_id() noexcept override { return pid_; }
  bool alive() noexcept override { return *running_; }

 private:
  std::vector<std::string>* log_;
  int pid_;
  bool* running_;
};

class Folder final : public OwnedResource {
 public:
  explicit Folder(std::vector<std::string>* log) : log_(log) {}
  void shutdown() noexcept override { log_->push_back("shutdown folder"); }
  void kill() noexcept override { log_->push_back("kill folder"); }

 private:
  std::vector<std::string>* log_;
};

// Answers the session's start, then fails every command with a ConnectionException, and
// says whether that left it broken (a lost socket) or not (an HTTP time-out).
class FailingTransport final : public Transport {
 public:
  explicit FailingTransport(bool breaks) : breaks_(breaks) {}
  Json execute(std::string_view command, const Json&) override {
    if (command == "WebDriver:NewSession") return Json{{"sessionId", "s"}};
    if (command == "WebDriver:DeleteSession") return nullptr;
    failed_ = true;
    throw ConnectionException("the browser closed the connection", "connection error");
  }
  bool broken() const noexcept override { return breaks_ && failed_; }

 private:
  bool breaks_;
  bool failed_ = false;
};

std::shared_ptr<Session> session(std::unique_ptr<Transport> t, std::vector<std::string>* log, bool* running) {
  std::vector<std::unique_ptr<OwnedResource>> resources;
  resources.push_back(std::make_unique<Folder>(log));
  resources.push_back(std::make_unique<FakeProcess>(log, 4242, running));
  return Session::create(std::move(t), Json::object(), std::move(resources));
}

}  // namespace

TEST(LivenessTests, ABrowserThatExitedReadsAsGoneAndItsLeftoversAreKilled) {
  std::vector<std::string> log;
  bool running = true;
  auto s = session(std::make_unique<FailingTransport>(false), &log, &running);
  EXPECT_EQ(s->process_id(), 4242);
  EXPECT_TRUE(s->alive());
  EXPECT_TRUE(log.empty());

  running = false;  // killed from outside
  EXPECT_FALSE(s->alive());
  EXPECT_TRUE(s->is_quit());
  EXPECT_EQ(log, (std::vector<std::string>{"kill 4242", "kill folder"})) << "at once, in reverse order";
  EXPECT_EQ(s->process_id(), -1);
  EXPECT_THROW(s->title(), InvalidSessionIdException);
  s->quit();
  EXPECT_EQ(log.size(), 2u) << "nothing is ended twice";
}

TEST(LivenessTests, ALostConnectionReadsAsGoneButAFailedCommandAloneDoesNot) {
  std::vector<std::string> log;
  bool running = true;
  auto http_like = session(std::make_unique<FailingTransport>(false), &log, &running);
  EXPECT_THROW(http_like->title(), ConnectionException);
  EXPECT_TRUE(http_like->alive()) << "a time-out over HTTP leaves the session usable";
  EXPECT_TRUE(log.empty());

  auto lost = session(std::make_unique<FailingTransport>(true), &log, &running);
  EXPECT_TRUE(lost->alive());
  EXPECT_THROW(lost->title(), ConnectionException);
  EXPECT_FALSE(lost->alive());
  EXPECT_EQ(log, (std::vector<std::string>{"kill 4242", "kill folder"}));
}
