#include <functional>

#include "tests/webdriver/ws_fixture_server.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/bidi.h"
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
  EXPECT_THROW(vorna::VornaWebWrapper(Json{{"settle", "Adaptive"}}, log), marlet::ValueError);
  EXPECT_THROW(vorna::VornaWebWrapper(Json{{"settle", true}}, log), marlet::TypeError);
  try {
    vorna::parse_settle_policy("slow", "params['settle']");
    FAIL();
  } catch (const marlet::ValueError& e) {
    EXPECT_STREQ(e.what(), "params['settle'] must be 'fixed' or 'adaptive', not 'slow'");
  }
  EXPECT_EQ(vorna::process_settle_policy(), SettlePolicy::Fixed);
}

TEST_F(SettleTests, SettlesReadTheEventsWhileTheChannelLastsAndTheWatcherAfter) {
  webdriver::testing::WsFixtureServer server;
  auto channel = webdriver::BidiChannel::open(server.url());
  auto events = vorna::PageEvents::attach(channel, clock);
  open(adaptive);
  page = [](int, double) { return reading(1); };
  vorna::SettleStats stats;
  // Nothing in flight: the settle ends after the quiet window, with no command sent; the
  // preload script came with it, so the documents already there are held for the young
  // window first (their timers were not seen).
  const auto timing = vorna::adaptive_timing();
  vorna::settle_for(adaptive, 30, SettlePolicy::Adaptive, stats, events.get());
  EXPECT_TRUE(events->preloaded());
  EXPECT_EQ(fb->commands, 0);
  EXPECT_EQ(stats.by_events, 1);
  EXPECT_EQ(stats.early, 1);
  EXPECT_NEAR(slept(), timing.young_window + timing.quiet_window, timing.poll + 1e-6);
  clock.clear();
  vorna::settle_for(adaptive, 30, SettlePolicy::Adaptive, stats, events.get());
  EXPECT_NEAR(slept(), timing.quiet_window, timing.poll + 1e-6);  // quiet from the settle's start
  EXPECT_EQ(fb->commands, 0);
  // The channel is lost: the next settle polls the watcher, ends early all the same, and
  // says so.
  EXPECT_THROW(channel->command("cut", Json::object(), std::chrono::milliseconds(5000)),
               webdriver::ConnectionException);
  EXPECT_FALSE(events->usable());
  clock.clear();
  vorna::settle_for(adaptive, 30, SettlePolicy::Adaptive, stats, events.get());
  EXPECT_GT(fb->commands, 0);
  EXPECT_EQ(stats.by_watcher, 1);
  EXPECT_EQ(std::string(stats.source), "watcher");
  EXPECT_EQ(stats.early, 3);
  EXPECT_LT(slept(), 5);
}

// ---- settles from the browser's events: the tracker against a scripted stream ----

namespace {

struct EventStream {
  vorna::QuietTracker tracker;
  webdriver::FakeClock clock;
  EventStream() { tracker.set_channel("vorna.settle"); }
  void at(double t, const std::string& method, Json params) {
    while ((clock.now() - marlet::Clock::TimePoint{}).count() < t - 1e-12)
      clock.sleep_seconds(t - (clock.now() - marlet::Clock::TimePoint{}).count());
    tracker.on_event(method, params, clock.now());
  }
  static Json request(const std::string& id, const std::string& context = "top", int hop = 0) {
    return {{"context", context}, {"redirectCount", hop}, {"request", {{"request", id}, {"url", "/x"}}}};
  }
  static Json said(const std::string& text, const std::string& context = "frame") {
    return {{"channel", "vorna.settle"}, {"data", {{"type", "string"}, {"value", text}}}, {"source", {{"context", context}}}};
  }
  // Quiet since (seconds from 0) at time t for a settle of `settle` seconds; -1 when busy.
  double since(double t, double settle = 10, double timer_limit_ms = 1000) {
    auto q = tracker.quiet_since(marlet::Clock::TimePoint{} + marlet::Clock::Duration(t), settle, timer_limit_ms);
    return q ? (*q - marlet::Clock::TimePoint{}).count() : -1;
  }
};

}  // namespace

TEST(QuietTrackerTests, RequestsNavigationsAndTheirEndsMoveTheQuietStart) {
  EventStream s;
  s.at(1, "network.beforeRequestSent", EventStream::request("a"));
  s.at(1.5, "network.beforeRequestSent", EventStream::request("b", "frame"));
  EXPECT_EQ(s.since(2), -1);
  s.at(2, "network.responseCompleted", EventStream::request("a"));
  EXPECT_EQ(s.since(2.5), -1);  // the frame's request is still out
  s.at(3, "network.fetchError", EventStream::request("b", "frame"));
  EXPECT_DOUBLE_EQ(s.since(3.5), 3);
  // A redirect: the same request id, hop by hop.
  s.at(4, "network.beforeRequestSent", EventStream::request("c"));
  s.at(4.1, "network.beforeRequestSent", EventStream::request("c", "top", 1));
  s.at(4.2, "network.responseCompleted", EventStream::request("c"));
  EXPECT_EQ(s.since(4.3), -1);
  s.at(4.4, "network.responseCompleted", EventStream::request("c", "top", 1));
  EXPECT_DOUBLE_EQ(s.since(5), 4.4);
  // A frame on its way to a new document holds until its load; a destroyed frame's
  // requests and navigation go with it.
  s.at(6, "browsingContext.navigationStarted", Json{{"context", "frame"}});
  EXPECT_EQ(s.since(7), -1);
  s.at(7, "browsingContext.load", Json{{"context", "frame"}});
  EXPECT_DOUBLE_EQ(s.since(7.2), 7);
  s.at(8, "browsingContext.navigationStarted", Json{{"context", "frame2"}});
  s.at(8, "network.beforeRequestSent", EventStream::request("d", "frame2"));
  s.at(8.5, "browsingContext.contextDestroyed", Json{{"context", "frame2"}});
  EXPECT_DOUBLE_EQ(s.since(9), 8.5);
  EXPECT_EQ(s.tracker.requests_open(), 0u);
}

TEST(QuietTrackerTests, WhatIsOpenLongerThanTheSettleHoldsNothing) {
  EventStream s;
  // A long poll and a navigation that never ends: they hold a settle of 5 s until they
  // are 5 s old, and nothing after; a shorter settle lets go of them sooner.
  s.at(1, "network.beforeRequestSent", EventStream::request("poll"));
  s.at(2, "browsingContext.navigationStarted", Json{{"context", "frame"}});
  EXPECT_EQ(s.since(6.9, 5), -1);
  EXPECT_DOUBLE_EQ(s.since(7.1, 5), 2);
  EXPECT_DOUBLE_EQ(s.since(4, 1.5), 2);
  EXPECT_EQ(s.since(4, 30), -1);
}

TEST(QuietTrackerTests, ThePreloadScriptsTimersAndChangesCountOnItsChannelOnly) {
  EventStream s;
  s.at(1, "script.message", EventStream::said("r"));
  s.at(1, "script.message", EventStream::said("t+7 500"));   // short: holds
  s.at(1, "script.message", EventStream::said("t+8 2000"));  // the page's background
  EXPECT_EQ(s.since(1.2), -1);
  EXPECT_EQ(s.tracker.timers_pending(), 2u);
  s.at(1.5, "script.message", EventStream::said("t-7"));
  EXPECT_DOUBLE_EQ(s.since(1.6), 1.5);
  // A longer limit (a slower pace) holds the 2 s timer too.
  EXPECT_EQ(s.since(1.6, 10, 3000), -1);
  // DOM changes move the start; a message on another channel is not ours.
  s.at(2, "script.message", EventStream::said("d"));
  EXPECT_DOUBLE_EQ(s.since(2.1), 2);
  Json other = EventStream::said("t+9 10");
  other["channel"] = "someone.else";
  s.at(3, "script.message", other);
  EXPECT_DOUBLE_EQ(s.since(3.1), 2);
  // A new document (its ready message, or the frame's navigation) drops the old one's timers.
  s.at(4, "script.message", EventStream::said("t+10 100"));
  s.at(4.1, "browsingContext.navigationStarted", Json{{"context", "frame"}});
  s.at(4.2, "browsingContext.load", Json{{"context", "frame"}});
  EXPECT_DOUBLE_EQ(s.since(4.3), 4.2);
  // Documents there before the preload script: nothing is quiet before the time given.
  s.tracker.unseen_until(marlet::Clock::TimePoint{} + marlet::Clock::Duration(6));
  EXPECT_DOUBLE_EQ(s.since(5), 6);  // in the future: the settle's window cannot have passed
}

std::vector<std::string> texts_of(const vorna::PageEvents::State& state) {
  std::vector<std::string> texts;
  for (const auto& line : state.untaken) texts.push_back(line.text);
  return texts;
}

// The browser cancels a document's requests when its frame navigates again or goes away,
// under names other than NS_BINDING_ABORTED too: such a failure is no failure of the console.
TEST(QuietTrackerTests, RequestsCancelledByTheirFrameMovingOnAreNotFailures) {
  webdriver::FakeClock clock;
  vorna::PageEvents::State state;
  state.clock = &clock;
  auto failed = [&](const std::string& id, const std::string& navigation = "") {
    Json r = EventStream::request(id, "frame");
    r["request"]["method"] = "GET";
    r["errorText"] = "NS_ERROR_FAILURE";
    if (!navigation.empty()) r["navigation"] = navigation;
    state.on_event("network.fetchError", r);
  };
  auto navigate = [&](const std::string& navigation) {
    state.on_event("browsingContext.navigationStarted", Json{{"context", "frame"}, {"navigation", navigation}});
  };
  auto step = [&] { clock.sleep(std::chrono::milliseconds(10)); };
  navigate("A");
  state.on_event("network.beforeRequestSent", EventStream::request("doc-a", "frame"));
  step();
  state.on_event("network.beforeRequestSent", EventStream::request("css-a", "frame"));
  step();
  failed("css-a");  // before the navigation that cancels it
  step();
  navigate("B");
  step();
  failed("doc-a", "A");  // after it
  state.on_event("network.beforeRequestSent", EventStream::request("css-b", "frame"));
  step();
  failed("css-b");  // the new document's own: a failure, once its frame stayed a second
  clock.sleep(std::chrono::seconds(1));
  state.said(marlet::LogLevel::Warn, "later");
  state.on_event("network.beforeRequestSent", EventStream::request("css-b2", "frame"));
  step();
  failed("css-b2");
  state.on_event("browsingContext.contextDestroyed", Json{{"context", "frame"}});  // takes css-b2 with it
  clock.sleep(std::chrono::seconds(1));
  state.said(marlet::LogLevel::Warn, "last");
  EXPECT_EQ(texts_of(state), (std::vector<std::string>{"request failed: GET /x (NS_ERROR_FAILURE)", "later", "last"}));
}

TEST(QuietTrackerTests, TheConsoleLinesOfTheEvents) {
  webdriver::FakeClock clock;
  vorna::PageEvents::State state;
  state.clock = &clock;
  state.on_event("log.entryAdded", Json{{"level", "error"}, {"type", "console"}, {"text", "boom"}});
  state.on_event("log.entryAdded", Json{{"level", "warn"}, {"type", "console"}, {"text", "careful"}});
  state.on_event("log.entryAdded", Json{{"level", "error"}, {"type", "javascript"}, {"text", "TypeError: x"}});
  state.on_event("log.entryAdded", Json{{"level", "info"}, {"type", "console"}, {"text", "chatter"}});
  Json failed = EventStream::request("r");
  failed["request"]["method"] = "GET";
  failed["errorText"] = "NS_ERROR_CONNECTION_REFUSED";
  state.on_event("network.fetchError", failed);
  Json dropped = failed;  // by the browser, for a navigation
  dropped["errorText"] = "NS_BINDING_ABORTED";
  state.on_event("network.fetchError", dropped);
  Json answered = failed;
  answered["response"] = {{"status", 404}, {"statusText", "Not Found"}};
  state.on_event("network.responseCompleted", answered);
  answered["response"]["status"] = 200;
  state.on_event("network.responseCompleted", answered);
  answered["response"]["status"] = 404;
  answered["request"]["url"] = "https://bmc/favicon.ico";
  state.on_event("network.responseCompleted", answered);
  clock.sleep(std::chrono::seconds(1));  // a failed request is said once its frame has not moved on
  state.said(marlet::LogLevel::Warn, "later");
  EXPECT_EQ(texts_of(state), (std::vector<std::string>{"console error: boom", "console warning: careful",
                                                       "javascript error: TypeError: x", "HTTP 404 Not Found: GET /x",
                                                       "request failed: GET /x (NS_ERROR_CONNECTION_REFUSED)", "later"}));
  EXPECT_EQ(state.untaken[1].level, marlet::LogLevel::Warn);
  // Only the last ten are kept for a failure.
  for (int i = 0; i < 12; ++i) state.said(marlet::LogLevel::Error, "line " + std::to_string(i));
  EXPECT_EQ(state.count, 18u);
  EXPECT_EQ(state.recent.size(), vorna::PageEvents::kKeptLines);
  EXPECT_EQ(state.recent.back(), "line 11");
}
