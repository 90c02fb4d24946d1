// Browsers and drivers that never come up: a typed error within the bound, and nothing
// of ours left behind (no process, no temporary profile).
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "webdriver/detail/process.h"
#include "webdriver/errors.h"
#include "webdriver/launcher.h"

#include <thread>

using namespace webdriver;
namespace fs = std::filesystem;

namespace {

std::string script(const std::string& name, const std::string& body) {
  std::string path = (fs::temp_directory_path() / ("vorna-test-" + std::to_string(::getpid()) + "-" + name)).string();
  std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
  ::chmod(path.c_str(), 0755);
  return path;
}

int our_children() {
  int n = 0;
  for (const auto& e : fs::directory_iterator("/proc")) {
    std::ifstream stat(e.path() / "stat");
    std::string line;
    if (!std::getline(stat, line)) continue;
    auto close = line.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream rest(line.substr(close + 2));
    std::string state;
    int ppid = 0;
    rest >> state >> ppid;
    if (ppid == ::getpid() && state != "Z") ++n;
  }
  return n;
}

// The folder given after "-profile" on the command line a browser script wrote to `args`
// ("" when none): the one this launch made, whoever else launches browsers meanwhile.
std::string profile_of(const std::string& args) {
  std::ifstream in(args);
  std::string word;
  while (in >> word)
    if (word == "-profile" && in >> word) return word;
  return "";
}

}  // namespace

TEST(LauncherFaultTests, ABrowserThatNeverOpensItsPortFailsWithinTheBound) {
  LaunchOptions o;
  std::string args = script("silent-browser-args", "");
  o.binary = script("silent-browser", "echo \"$@\" > " + args + "\nsleep 30");
  o.startup_timeout = std::chrono::seconds(2);
  auto started = std::chrono::steady_clock::now();
  EXPECT_THROW(launch(o), SessionNotCreatedException);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
  EXPECT_EQ(our_children(), 0);
  std::string profile = profile_of(args);
  EXPECT_FALSE(profile.empty());
  EXPECT_FALSE(fs::exists(profile)) << profile;
  fs::remove(o.binary);
  fs::remove(args);
}

TEST(LauncherFaultTests, ABrowserThatExitsAtOnceOrADriverThatDiesIsReportedQuickly) {
  LaunchOptions o;
  o.binary = script("dying-browser", "exit 3");
  auto started = std::chrono::steady_clock::now();
  EXPECT_THROW(launch(o), SessionNotCreatedException);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));

  LaunchOptions d;
  d.browser = "chromium";
  d.driver = "chromedriver";
  d.driver_path = script("dying-driver", "exit 1");
  d.startup_timeout = std::chrono::seconds(5);
  EXPECT_THROW(launch(d), SessionNotCreatedException);
  EXPECT_EQ(our_children(), 0);
  fs::remove(o.binary);
  fs::remove(d.driver_path);
}

TEST(LauncherFaultTests, UnknownPairingsAreRefusedBeforeAnythingStarts) {
  LaunchOptions o;
  o.browser = "chromium";  // cannot be driven through Firefox's protocol
  EXPECT_THROW(launch(o), InvalidArgumentException);
  o.driver = "remote";
  EXPECT_THROW(launch(o), InvalidArgumentException);  // no remote_url
  EXPECT_EQ(our_children(), 0);
}

TEST(ChildProcessTests, OutlivesTheThreadThatStartedItAndStopsWithinTheBound) {
  // A browser started from a worker thread that then ends must keep running (the death
  // signal of its parent follows the forking thread, not the process).
  std::optional<ChildProcess> child;
  std::thread([&] { child.emplace(std::vector<std::string>{"sleep", "30"}); }).join();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(child->running());
  ChildProcess moved = std::move(*child);
  EXPECT_FALSE(child->running()) << "the moved-from handle owns nothing";
  auto started = std::chrono::steady_clock::now();
  moved.stop(std::chrono::milliseconds(100));  // sleep ignores nothing: SIGTERM ends it
  EXPECT_FALSE(moved.running());
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
  EXPECT_EQ(our_children(), 0);

  // One that ignores SIGTERM is killed after the bound.
  ChildProcess stubborn({"sh", "-c", "trap '' TERM; sleep 30"});
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  started = std::chrono::steady_clock::now();
  stubborn.stop(std::chrono::milliseconds(0));
  EXPECT_FALSE(stubborn.running());
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(8));
  EXPECT_EQ(our_children(), 0);
}

TEST(ChildProcessTests, InheritsNoDescriptorOfTheHarness) {
  // A descriptor opened without close-on-exec, as a harness's own files may be.
  // Numbered high, apart from the one ls opens for the folder it lists.
  int opened = ::open("/dev/null", O_RDONLY);
  int inherited = ::fcntl(opened, F_DUPFD, 50);
  ::close(opened);
  ASSERT_GE(inherited, 50);
  std::string log = std::filesystem::temp_directory_path() / ("fds-" + std::to_string(::getpid()) + ".log");
  {
    ChildProcess lister({"ls", "/proc/self/fd"}, {}, log);
    for (int i = 0; i < 100 && lister.running(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ::close(inherited);
  std::ifstream in(log);
  std::vector<std::string> fds;
  for (std::string fd; in >> fd;) fds.push_back(fd);
  std::filesystem::remove(log);
  // 0, 1, 2, and the one ls opens to read the folder.
  EXPECT_EQ(std::count(fds.begin(), fds.end(), std::to_string(inherited)), 0) << "fds: " << fds.size();
  EXPECT_LE(fds.size(), 4u);
}

TEST(LauncherFaultTests, FirefoxPrefsQuoteTheDownloadFolder) {
  LaunchOptions o;
  o.download_dir = "/tmp/a \"quoted\" \\dir";
  std::string prefs = firefox_prefs(o);
  EXPECT_NE(prefs.find("user_pref(\"browser.download.dir\", \"/tmp/a \\\"quoted\\\" \\\\dir\");"), std::string::npos);
  EXPECT_NE(prefs.find("user_pref(\"marionette.port\", 0);"), std::string::npos);
}
