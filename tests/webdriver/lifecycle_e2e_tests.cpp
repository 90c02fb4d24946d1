// Starting and ending real browsers: quitting, dropping the last reference, a browser
// or driver killed in the middle of a command. Each must end within a bound (with a
// typed error where a command was cut) and leave no process or profile behind.
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

#include "tests/webdriver/e2e_fixture.h"

using namespace webdriver;
using namespace webdriver::testing;
namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;
using SteadyClock = std::chrono::steady_clock;

namespace {

// Live processes whose command line mentions `text` (zombies are already gone).
std::vector<pid_t> processes_mentioning(const std::string& text) {
  std::vector<pid_t> found;
  for (const auto& e : fs::directory_iterator("/proc")) {
    std::string name = e.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream cmd(e.path() / "cmdline");
    std::string all((std::istreambuf_iterator<char>(cmd)), std::istreambuf_iterator<char>());
    if (all.find(text) == std::string::npos) continue;
    std::ifstream stat(e.path() / "stat");
    std::string line;
    std::getline(stat, line);
    auto close = line.rfind(')');
    if (close != std::string::npos && line.size() > close + 2 && line[close + 2] == 'Z') continue;
    found.push_back(std::stoi(name));
  }
  return found;
}

// Our own children whose command line mentions `text`.
std::vector<pid_t> children_named(const std::string& text) {
  std::vector<pid_t> found;
  for (pid_t pid : processes_mentioning(text)) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    std::istringstream rest(line.substr(line.rfind(')') + 2));
    std::string state;
    pid_t ppid = 0;
    rest >> state >> ppid;
    if (ppid == ::getpid()) found.push_back(pid);
  }
  return found;
}

// The temporary folder the launcher made for the browser of `session`: Firefox's
// profile, or the folder that holds Chromium's user data and the driver's log.
std::string browser_folder(const Session& session) {
  const Json& caps = session.capabilities();
  if (caps.contains("moz:profile")) return caps["moz:profile"].get<std::string>();
  return fs::path(caps.at("chrome").at("userDataDir").get<std::string>()).parent_path().string();
}

// Waits a little for helper processes that end on their own after their browser.
bool nothing_left(const std::string& folder) {
  auto end = SteadyClock::now() + seconds(5);
  while (!processes_mentioning(folder).empty()) {
    if (SteadyClock::now() > end) return false;
    std::this_thread::sleep_for(milliseconds(100));
  }
  return !fs::exists(folder);
}

// Our own process to kill: Firefox itself, or the driver that stands for Chromium.
pid_t process_to_kill(const Session& session) {
  const Json& caps = session.capabilities();
  if (caps.contains("moz:processID")) return caps["moz:processID"].get<pid_t>();
  return children_named("chromedriver").at(0);
}

}  // namespace

template <class B>
class LifecycleTest : public ::testing::Test {};
TYPED_TEST_SUITE(LifecycleTest, Browsers, BrowserNames);

TYPED_TEST(LifecycleTest, QuitAndTheLastReferenceEachEndTheBrowserAndRemoveItsProfile) {
  auto session = launch(TypeParam::options());
  std::string folder = browser_folder(*session);
  ASSERT_TRUE(fs::exists(folder));
  EXPECT_EQ(fs::status(folder).permissions() & fs::perms::all, fs::perms::owner_all)
      << "the temporary folder is private";
  EXPECT_FALSE(processes_mentioning(folder).empty());
  EXPECT_EQ(session->capabilities().value("acceptInsecureCerts", false), true);
  auto started = SteadyClock::now();
  session->quit();
  EXPECT_LT(SteadyClock::now() - started, seconds(15));
  EXPECT_TRUE(nothing_left(folder));
  EXPECT_THROW(session->title(), InvalidSessionIdException);

  // No quit at all: the session ends with its last reference (an element holds one).
  std::optional<Element> element;
  {
    auto other = launch(TypeParam::options());
    folder = browser_folder(*other);
    other->get("about:blank");
    element = other->find_element(By::tag_name("body"));
  }
  EXPECT_FALSE(processes_mentioning(folder).empty()) << "the element keeps its session alive";
  element.reset();
  EXPECT_TRUE(nothing_left(folder));
}

TYPED_TEST(LifecycleTest, ABrowserKilledMidCommandGivesATypedErrorInTime) {
  auto session = launch(TypeParam::options());
  std::string folder = browser_folder(*session);
  pid_t victim = process_to_kill(*session);
  auto killer = std::async(std::launch::async, [victim] {
    std::this_thread::sleep_for(milliseconds(1000));
    ::kill(victim, SIGKILL);
  });
  auto started = SteadyClock::now();
  EXPECT_THROW(session->execute_script("return new Promise(function (r) { setTimeout(r, 20000); });"),
               ConnectionException);
  EXPECT_LT(SteadyClock::now() - started, seconds(10));
  killer.get();
  EXPECT_THROW(session->title(), ConnectionException) << "a lost browser stays lost";
  started = SteadyClock::now();
  session->quit();
  EXPECT_LT(SteadyClock::now() - started, seconds(10));
  EXPECT_TRUE(nothing_left(folder));
}
