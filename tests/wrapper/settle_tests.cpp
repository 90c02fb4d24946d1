#include <functional>

#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
using vorna::SettlePolicy;

namespace {

// Puts the process policy and time scale back after each test.
struct ProcessSettleGuard {
  ~ProcessSettleGuard() {
    vorna::set_process_settle_policy(SettlePolicy::Fixed);
    marlet::set_time_scale(1.0);
  }
};

Json reading(long long seq, bool loading = false, int inflight = 0, int timers = 0, bool young = false) {
  return Json{{"seq", seq},     {"loading", loading}, {"inflight", inflight},   {"timers", timers},
              {"young", young}, {"documents", 2},     {"ms_since_change", 0}};
}

}  // namespace

class SettleTests : public WrapperTest {
 protected:
  ProcessSettleGuard guard;
  vorna::VornaWebWrapper adaptive{Json{{"settle", "adaptive"}}, log, &clock, factory};

  // The console as the watcher reports it: `page(n, t)` answers poll n (from 0) at time t
  // (seconds since the settle began, on the fake clock). Records which script came.
  std::function<Json(int, double)> page;
  std::vector<std::string> kinds;  // "install" or "poll", one per command
  std::vector<Json> arguments;     // the arguments of each command
  marlet::Clock::TimePoint began;

  void SetUp() override {
    fb->answer_script = [this](const std::string& script, const Json& args) -> Json {
      EXPECT_EQ(args.at(0), "vorna.settle.watcher");
      arguments.push_back(args);
      kinds.push_back(script.find("MutationObserver") != std::string::npos ? "install" : "poll");
      return page(static_cast<int>(kinds.size()) - 1, (clock.now() - began).count());
    };
  }

  void open(vorna::VornaWebWrapper& w) {
    login_page();
    w.browser = w.openFirefox();
    fb->events.clear();
    fb->commands = 0;
    clock.clear();
    began = clock.now();
  }
};

TEST_F(SettleTests, FixedSleepsTheWholeSettleAndSendsNothing) {
  open(w);
  w.settle(45);
  w.page_settle();
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{45, 10}));
  EXPECT_EQ(fb->commands, 0);
  // An object's own "fixed" wins over an adaptive process.
  vorna::set_process_settle_policy(SettlePolicy::Adaptive);
  vorna::VornaWebWrapper fixed(Json{{"settle", "fixed"}}, log, &clock, factory);
  open(fixed);
  fixed.settle(45);
  EXPECT_EQ(clock.sleeps(), std::vector<double>{45});
  EXPECT_EQ(fb->commands, 0);
}

TEST_F(SettleTests, EndsOnceTheConsoleStaysQuietForTheWindow) {
  open(adaptive);
  // Loading for the first 0.3 s, then quiet with no further change.
  page = [](int, double t) { return t < 0.3 - 1e-9 ? reading(3, true, 1) : reading(7); };
  adaptive.settle(45);
  double window = vorna::adaptive_timing().quiet_window;
  EXPECT_GE(slept(), 0.3 + window - 1e-6);
  EXPECT_LE(slept(), 0.3 + window + 0.1 + 1e-6);
  ASSERT_FALSE(kinds.empty());
  EXPECT_EQ(kinds.front(), "install");
  for (size_t i = 1; i < kinds.size(); ++i) EXPECT_EQ(kinds[i], "poll") << i;
  // One script per poll, nothing else, and the driver is not moved between frames.
  EXPECT_EQ(fb->commands, static_cast<int>(kinds.size()));
  for (const auto& e : fb->events) EXPECT_EQ(e, "script");
  EXPECT_EQ(adaptive.settle_stats().early, 1);
  EXPECT_NEAR(adaptive.settle_stats().saved, 45 - slept(), 1e-6);
}

TEST_F(SettleTests, NeverLastsLongerThanTheFixedSettle) {
  open(adaptive);
  // A chatty page: the DOM changes between every two polls.
  page = [](int n, double) { return reading(n); };
  adaptive.settle(45);
  EXPECT_NEAR(slept(), 45, 1e-9);
  // A request that never ends, and a document that never finishes loading.
  clock.clear();
  began = clock.now();
  page = [](int, double) { return reading(1, false, 1); };
  adaptive.settle(12);
  EXPECT_NEAR(slept(), 12, 1e-9);
  clock.clear();
  page = [](int, double) { return reading(1, true, 0); };
  adaptive.page_settle();
  EXPECT_NEAR(slept(), 10, 1e-9);
  EXPECT_EQ(adaptive.settle_stats().early, 0);
  EXPECT_EQ(adaptive.settle_stats().settles, 3);
}

TEST_F(SettleTests, AQuietSpellShorterThanTheWindowDoesNotEndTheSettle) {
  open(adaptive);
  // A page that looks quiet for less than the window, then starts a request (from
  // something the watcher cannot count) that answers at 2.5 s and fills the page: the
  // settle waits for the data.
  double spell = vorna::adaptive_timing().quiet_window * 0.6;
  page = [spell](int, double t) {
    if (t < spell - 1e-9) return reading(4);
    if (t < 2.5 - 1e-9) return reading(5, false, 1);
    return reading(9);
  };
  adaptive.settle(20);
  EXPECT_GE(slept(), 2.5 + vorna::adaptive_timing().quiet_window - 1e-6);
  EXPECT_LT(slept(), 5);
  EXPECT_EQ(adaptive.settle_stats().early, 1);
}

TEST_F(SettleTests, FailedPollsCountAsBusyAndTheWatcherIsInstalledAgain) {
  open(adaptive);
  // A navigation under way: the first five polls raise, then the page is quiet.
  page = [](int n, double) -> Json {
    if (n < 5) throw webdriver::JavascriptException("Document was unloaded");
    return reading(2);
  };
  adaptive.settle(30);
  EXPECT_LT(slept(), 30);
  EXPECT_EQ(adaptive.settle_stats().failed_polls, 5);
  EXPECT_EQ(adaptive.settle_stats().early, 1);
  // After every failure the next command brings the watcher along again.
  ASSERT_GE(kinds.size(), 7u);
  for (int i = 0; i <= 5; ++i) EXPECT_EQ(kinds[i], "install") << i;
  EXPECT_EQ(kinds[6], "poll");

  // A page whose watcher is gone (the top document was replaced) answers null: the next
  // command installs it; a reply of the wrong shape counts as busy.
  kinds.clear();
  clock.clear();
  began = clock.now();
  page = [](int n, double) -> Json { return n == 1 ? Json(nullptr) : n == 2 ? Json("odd") : reading(3); };
  adaptive.settle(30);
  ASSERT_GE(kinds.size(), 3u);
  EXPECT_EQ(kinds[0], "install");
  EXPECT_EQ(kinds[1], "poll");
  EXPECT_EQ(kinds[2], "install");
  EXPECT_LT(slept(), 30);

  // Errors to the end: the settle lasts its fixed length and raises nothing.
  clock.clear();
  page = [](int, double) -> Json { throw webdriver::NoSuchFrameException("frame gone"); };
  EXPECT_NO_THROW(adaptive.settle(8));
  EXPECT_NEAR(slept(), 8, 1e-9);
}

TEST_F(SettleTests, ABrowserThatIsGoneRaisesAsTheNextCommandWould) {
  open(adaptive);
  page = [](int, double) { return reading(1); };
  fb->fail_everything = true;
  EXPECT_THROW(adaptive.settle(30), webdriver::ConnectionException);
  fb->fail_everything = false;
  page = [](int, double) -> Json { throw webdriver::InvalidSessionIdException("session ended"); };
  EXPECT_THROW(adaptive.settle(30), webdriver::InvalidSessionIdException);
}

TEST_F(SettleTests, ShortSettlesAndClosedBrowsersAreFixedSleeps) {
  // No browser: nothing to watch, and none is opened for it.
  adaptive.settle(30);
  EXPECT_EQ(clock.sleeps(), std::vector<double>{30});
  EXPECT_EQ(factory->opened, 0);
  open(adaptive);
  page = [](int, double) { return reading(1); };
  // A settle no longer than the quiet window could not end early anyway.
  double window = vorna::adaptive_timing().quiet_window;
  adaptive.settle(window);
  adaptive.settle(window / 2);
  adaptive.settle(0);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{window, window / 2, 0}));
  EXPECT_EQ(fb->commands, 0);
}

TEST_F(SettleTests, AnObjectWithoutTheKeyFollowsTheProcessAtEachSettle) {
  open(w);
  page = [](int, double) { return reading(1); };
  EXPECT_FALSE(w.settle_policy().has_value());
  w.settle(20);
  EXPECT_EQ(fb->commands, 0);
  vorna::set_process_settle_policy(SettlePolicy::Adaptive);
  clock.clear();
  w.settle(20);
  EXPECT_GT(fb->commands, 0);
  EXPECT_LT(slept(), 5);
  int after = fb->commands;
  vorna::set_process_settle_policy(SettlePolicy::Fixed);
  w.settle(20);
  EXPECT_EQ(fb->commands, after);
}

TEST_F(SettleTests, TheTimingCountsTheConsolesShortTimersAndOutlastsTheMachinesJitter) {
  // The console starts some requests from a timer half a second after a click or a load,
  // and polls one page every 2 s for ever; a loaded machine delays work by tens of
  // milliseconds, whatever the time scale.
  for (double scale : {1.0, 0.5, 0.2, 0.1, 0.05, 0.01}) {
    marlet::set_time_scale(scale);
    auto t = vorna::adaptive_timing();
    EXPECT_GE(t.timer_limit, 0.5) << scale;                     // the half-second timer holds
    EXPECT_LT(t.timer_limit, 2.0) << scale;                     // the 2 s poll does not
    EXPECT_GE(t.young_window, t.timer_limit) << scale;          // unseen timers have fired
    EXPECT_GE((t.young_window - 0.5) * scale, 0.1) << scale;    // with a margin in real seconds
    EXPECT_GE(t.quiet_window * scale, 0.2) << scale;            // jitter of the page's own work
    EXPECT_GE(t.poll * scale, 0.02) << scale;                   // not a busy loop
    EXPECT_LE(t.poll, t.quiet_window / 4) << scale;             // several polls per window
  }
}

TEST_F(SettleTests, APendingShortTimerOrAYoungDocumentHoldsTheSettleLikeARequest) {
  open(adaptive);
  // Quiet in every other way, a timer pending until 0.8 s, which then starts a request
  // answered at 1.5 s.
  page = [](int, double t) {
    if (t < 0.8 - 1e-9) return reading(4, false, 0, 1);
    if (t < 1.5 - 1e-9) return reading(5, false, 1, 0);
    return reading(6);
  };
  adaptive.settle(20);
  double window = vorna::adaptive_timing().quiet_window;
  EXPECT_GE(slept(), 1.5 + window - 1e-6);
  EXPECT_LT(slept(), 1.5 + window + 0.2);
  EXPECT_EQ(adaptive.settle_stats().early, 1);
  // A document the watcher has just met, quiet otherwise, until 0.9 s.
  clock.clear();
  began = clock.now();
  page = [](int, double t) { return t < 0.9 - 1e-9 ? reading(8, false, 0, 0, true) : reading(8); };
  adaptive.settle(20);
  EXPECT_GE(slept(), 0.9 + window - 1e-6);
  EXPECT_LT(slept(), 0.9 + window + 0.2);
  // A timer that never fires holds the settle to its bound, and no longer.
  clock.clear();
  began = clock.now();
  page = [](int, double) { return reading(9, false, 0, 1); };
  adaptive.settle(7);
  EXPECT_NEAR(slept(), 7, 1e-9);
  EXPECT_EQ(adaptive.settle_stats().early, 2);
}

TEST_F(SettleTests, TheWatcherGetsItsLimitsInThePagesMilliseconds) {
  // The page's timers run on real time: the limits go to it scaled.
  for (double scale : {1.0, 0.1}) {
    marlet::set_time_scale(scale);
    open(adaptive);
    arguments.clear();
    page = [](int, double) { return reading(1); };
    adaptive.settle(100);
    auto t = vorna::adaptive_timing();
    ASSERT_FALSE(arguments.empty());
    for (const auto& a : arguments) {
      ASSERT_EQ(a.size(), 3u);
      EXPECT_NEAR(a[1].get<double>(), t.timer_limit * scale * 1000, 1e-6) << scale;
      EXPECT_NEAR(a[2].get<double>(), t.young_window * scale * 1000, 1e-6) << scale;
    }
  }
}

TEST(SettlePolicyTests, TheKeyAndTheProcessPolicyTakeTwoNamesOnly) {
  ProcessSettleGuard guard;
  auto log = std::make_shared<marlet::RecordingLogger>();
  EXPECT_EQ(vorna::VornaWebWrapper(Json{{"settle", "adaptive"}}, log).settle_policy(), SettlePolicy::Adaptive);
  EXPECT_EQ(vorna::VornaWebWrapper(Json{{"settle", "fixed"}}, log).settle_policy(), SettlePolicy::Fixed);
  EXPECT_FALSE(vorna::VornaWebWrapper(Json{{"settle", nullptr}}, log).settle_policy().has_value());
  for (const char* bad : {"Adaptive", "", "fast", "fixed "})
    EXPECT_THROW(vorna::VornaWebWrapper(Json{{"settle", bad}}, log), marlet::ValueError) << bad;
  for (const Json& bad : {Json(1), Json(true), Json::array({"adaptive"}), Json::object()})
    EXPECT_THROW(vorna::VornaWebWrapper(Json{{"settle", bad}}, log), marlet::TypeError) << bad.dump();
  try {
    vorna::parse_settle_policy("slow", "params['settle']");
    FAIL();
  } catch (const marlet::ValueError& e) {
    EXPECT_STREQ(e.what(), "params['settle'] must be 'fixed' or 'adaptive', not 'slow'");
  }
  try {
    vorna::parse_settle_policy(Json(2), "the settle policy");
    FAIL();
  } catch (const marlet::TypeError& e) {
    EXPECT_STREQ(e.what(), "the settle policy must be a text, not 2");
  }
  EXPECT_EQ(vorna::process_settle_policy(), SettlePolicy::Fixed);
}
