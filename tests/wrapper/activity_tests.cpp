// The activity record: what a settle or a bounded wait publishes while it runs, as a
// watcher on another thread would read it at each tick of the clock.
#include <atomic>
#include <thread>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/gui/web/activity.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::ActivitySnapshot;

namespace {

// A fake clock that takes a snapshot of the watched activity before each sleep: what a
// progress line drawn at that moment would show.
class ProbeClock final : public marlet::Clock {
 public:
  TimePoint now() override { return now_; }
  void sleep(Duration d) override {
    if (watched) seen.push_back(watched->snapshot(*this));
    if (d.count() > 0) now_ += d;
  }
  marlet::Activity* watched = nullptr;
  std::vector<std::optional<ActivitySnapshot>> seen;

 private:
  TimePoint now_{};
};

class ActivityTests : public ::testing::Test {
 protected:
  std::shared_ptr<fake::FakeBrowser> fb = std::make_shared<fake::FakeBrowser>();
  ProbeClock clock;
  vorna::VornaWebWrapper w{marlet::Json::object(), std::make_shared<marlet::RecordingLogger>(), &clock,
                           std::make_shared<fake::FakeFactory>(fb)};
  void SetUp() override {
    w.openFirefox();
    clock.watched = &w.activity;
  }
};

}  // namespace

TEST_F(ActivityTests, AWaitCountsDownItsDeadlineAndEndsEvenWhenItTimesOut) {
  w.current_operation = "web_login";
  fb->add("id:iptUserName").displayed = false;
  EXPECT_THROW(w.waitElement("id", "iptUserName", 5, 1), webdriver::TimeoutException);
  ASSERT_GE(clock.seen.size(), 4u);
  std::vector<double> left;
  for (auto& s : clock.seen) {
    ASSERT_TRUE(s);
    EXPECT_EQ(s->kind, "wait");
    EXPECT_EQ(s->what, "id=iptUserName");
    EXPECT_EQ(s->seconds, 5);
    left.push_back(s->left);
  }
  EXPECT_DOUBLE_EQ(left[0], 5);
  EXPECT_DOUBLE_EQ(left[1], 4);
  EXPECT_DOUBLE_EQ(left[2], 3);
  EXPECT_FALSE(w.activity.snapshot(clock)) << "the time-out must clear the record";
}

TEST_F(ActivityTests, AnInnerActivityHidesTheOuterOneUntilItEnds) {
  {
    marlet::ActivityScope outer(w.activity, "wait", 60, clock, "set_info_collection", "id=diaginfoProgress");
    clock.sleep(marlet::Clock::Duration(10));
    {
      marlet::ActivityScope inner(w.activity, "settle", 2, clock, "set_info_collection");
      auto s = w.activity.snapshot(clock);
      ASSERT_TRUE(s);
      EXPECT_EQ(s->kind, "settle");
      clock.sleep(marlet::Clock::Duration(5));  // past the inner deadline: left stops at 0
      EXPECT_DOUBLE_EQ(w.activity.snapshot(clock)->left, 0);
    }
    auto s = w.activity.snapshot(clock);
    ASSERT_TRUE(s);
    EXPECT_EQ(s->kind, "wait");
    EXPECT_EQ(s->what, "id=diaginfoProgress");
    EXPECT_DOUBLE_EQ(s->left, 45) << "the outer deadline is kept, not restarted";
  }
  EXPECT_FALSE(w.activity.snapshot(clock));
}

TEST_F(ActivityTests, TheJournalKeepsWhatEndedWithItsTimeOnlyWhileAsked) {
  { marlet::ActivityScope before(w.activity, "settle", 3, clock, "op"); }
  EXPECT_TRUE(w.activity.take_journal().empty()) << "nothing is kept unless asked";
  w.activity.keep_journal(true);
  {
    marlet::ActivityScope outer(w.activity, "wait", 60, clock, "set_info_collection", "id=diaginfoProgress");
    clock.sleep(marlet::Clock::Duration(4));
    {
      marlet::ActivityScope inner(w.activity, "settle", 2, clock, "set_info_collection");
      clock.sleep(marlet::Clock::Duration(1.5));
    }
    clock.sleep(marlet::Clock::Duration(1));
  }
  auto journal = w.activity.take_journal();
  ASSERT_EQ(journal.size(), 2u);
  EXPECT_EQ(journal[0].kind, "settle");  // in the order they ended
  EXPECT_DOUBLE_EQ(journal[0].taken, 1.5);
  EXPECT_EQ(journal[0].depth, 1);
  EXPECT_EQ(journal[1].kind, "wait");
  EXPECT_EQ(journal[1].what, "id=diaginfoProgress");
  EXPECT_DOUBLE_EQ(journal[1].taken, 6.5);
  EXPECT_EQ(journal[1].depth, 0);
  EXPECT_TRUE(w.activity.take_journal().empty()) << "taking empties it";
  w.activity.keep_journal(false);
  { marlet::ActivityScope after(w.activity, "settle", 3, clock, "op"); }
  EXPECT_TRUE(w.activity.take_journal().empty());
}

// A watcher thread reads while the operation's thread opens and closes scopes: every
// snapshot is whole (kind and bound of one scope, never a mix).
TEST_F(ActivityTests, SnapshotsFromAnotherThreadAreNeverTorn) {
  marlet::FakeClock still;
  std::atomic<bool> done{false};
  std::atomic<int> torn{0}, read{0};
  std::thread watcher([&] {
    while (!done) {
      if (auto s = w.activity.snapshot(still)) {
        ++read;
        bool ok = (s->kind == "settle" && s->seconds == 15 && s->what.empty()) ||
                  (s->kind == "wait" && s->seconds == 20 && s->what == "id=menu_INFO");
        if (!ok) ++torn;
      }
    }
  });
  for (int i = 0; i < 20000; ++i) {
    if (i % 2) {
      marlet::ActivityScope a(w.activity, "settle", 15, still, "op");
    } else {
      marlet::ActivityScope a(w.activity, "wait", 20, still, "op", "id=menu_INFO");
    }
    if (i % 1000 == 0) std::this_thread::yield();
  }
  done = true;
  watcher.join();
  EXPECT_EQ(torn, 0);
}
