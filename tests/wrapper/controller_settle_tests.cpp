// A settle whose length is the controller's ends on the operation's own sign, never on the
// page's quiet, and never later than its length.
#include "marlet/wrapper/gui/web/vorna/vornav1/controller_settle.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using vorna::SettlePolicy;

TEST_F(WrapperTest, AControllerSettleEndsOnlyOnItsSignAndNeverPastItsLength) {
  login_page();
  w.browser = w.openFirefox();
  vorna::SettleStats stats;
  const double poll = vorna::adaptive_timing().poll;
  auto since = [this](marlet::Clock::TimePoint t) { return (clock.now() - t).count(); };

  int asked = 0;
  auto began = clock.now();
  vorna::settle_until_sign(w, 300, SettlePolicy::Fixed, [&] { return ++asked > 0; }, stats);
  EXPECT_EQ(asked, 0);  // fixed: the whole length, no question asked
  EXPECT_DOUBLE_EQ(since(began), 300);

  // Adaptive: a sign that raises (the page being replaced) is "not yet"; the settle ends
  // at the first poll that sees it.
  began = clock.now();
  vorna::settle_until_sign(w, 300, SettlePolicy::Adaptive, [&] {
    if (since(began) < 1) throw webdriver::StaleElementReferenceException("the page went");
    return since(began) >= 5;
  }, stats);
  EXPECT_GE(since(began), 5);
  EXPECT_LE(since(began), 5 + poll + 1e-9);
  EXPECT_EQ(stats.early, 1);
  EXPECT_GE(stats.failed_polls, 1);

  // A sign that never shows keeps the whole length, exactly.
  began = clock.now();
  vorna::settle_until_sign(w, 300, SettlePolicy::Adaptive, [] { return false; }, stats);
  EXPECT_DOUBLE_EQ(since(began), 300);

  // A browser that is gone raises as the next command would.
  EXPECT_THROW(vorna::settle_until_sign(w, 300, SettlePolicy::Adaptive,
                                        []() -> bool { throw webdriver::ConnectionException("lost"); }, stats),
               webdriver::ConnectionException);
}
