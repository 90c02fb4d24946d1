// The process clock's sleep check: called between slices, able to end a sleep at once.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "marlet/utils/time.h"

namespace {

std::atomic<int> g_calls{0};
std::atomic<int> g_throw_after{-1};
std::atomic<std::thread::id> g_only_thread{};

struct Stop {};

void counting_check() {
  if (g_only_thread.load() != std::thread::id() && std::this_thread::get_id() != g_only_thread.load()) return;
  int n = ++g_calls;
  if (g_throw_after >= 0 && n > g_throw_after) throw Stop{};
}

// Sets the check for one test and always takes it away again.
class SleepCheckTests : public ::testing::Test {
 protected:
  void SetUp() override {
    g_calls = 0;
    g_throw_after = -1;
    g_only_thread = std::thread::id();
    marlet::set_time_scale(1.0);
    marlet::set_sleep_check(&counting_check);
  }
  void TearDown() override {
    marlet::set_sleep_check(nullptr);
    marlet::set_time_scale(1.0);
  }
};

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

TEST_F(SleepCheckTests, ALongSleepIsCheckedEverySliceAndStillLastsItsTime) {
  auto start = std::chrono::steady_clock::now();
  marlet::process_clock().sleep_seconds(0.3);
  double took = seconds_since(start);
  EXPECT_GE(took, 0.3);
  // One check before each slice of at most 50 ms: at least 0.3 / 0.05 of them unless a
  // loaded machine overslept a slice; never more than one per elapsed slice plus one.
  EXPECT_GE(g_calls.load(), 2);
  EXPECT_LE(g_calls.load(), static_cast<int>(took / 0.05) + 2);
}

TEST_F(SleepCheckTests, ACheckThatThrowsEndsTheSleepWithinASlice) {
  g_throw_after = 2;  // the third check throws: about 100 ms into a 30 s sleep
  auto start = std::chrono::steady_clock::now();
  EXPECT_THROW(marlet::process_clock().sleep_seconds(30), Stop);
  EXPECT_LT(seconds_since(start), 5.0) << "the sleep did not end at the check";
  EXPECT_EQ(g_calls.load(), 3);

  // Scaled: the slices are real time, so a scaled-down sleep is checked as often.
  g_calls = 0;
  g_throw_after = 0;
  marlet::set_time_scale(0.01);
  EXPECT_THROW(marlet::process_clock().sleep_seconds(1000), Stop);  // 10 s real
  EXPECT_EQ(g_calls.load(), 1) << "a pending stop ends the sleep before its first slice";
}

TEST_F(SleepCheckTests, OtherThreadsSleepOnWhenTheCheckStopsOneThread) {
  g_only_thread = std::this_thread::get_id();
  g_throw_after = 0;
  std::atomic<bool> other_finished{false};
  std::thread other([&] {
    marlet::process_clock().sleep_seconds(0.2);  // its checks return: it sleeps on
    other_finished = true;
  });
  EXPECT_THROW(marlet::process_clock().sleep_seconds(30), Stop);
  other.join();
  EXPECT_TRUE(other_finished.load());
}

TEST_F(SleepCheckTests, NothingIsCheckedForZeroOrFakeSleeps) {
  g_throw_after = 0;
  EXPECT_NO_THROW(marlet::process_clock().sleep_seconds(0));
  marlet::FakeClock fake;
  EXPECT_NO_THROW(fake.sleep_seconds(45));
  EXPECT_EQ(g_calls.load(), 0);
}
