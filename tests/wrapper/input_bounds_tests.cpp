// Pauses and waits given by the caller are bounded: a value that could never end (NaN,
// an infinity, centuries) is refused before the browser is touched.
#include <cmath>
#include <limits>

#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

class InputBoundsTests : public WrapperTest {
 protected:
  void SetUp() override {
    w.openFirefox();
    fb->events.clear();
  }
};

TEST_F(InputBoundsTests, ARetryDelayThatNeverEndsIsRefusedBeforeTheFirstLookup) {
  fb->add("id:menu_INFO");
  for (double delay : {std::numeric_limits<double>::infinity(), std::nan(""), 1e300})
    EXPECT_THROW(w.locateElementById("menu_INFO", {.retry = 2, .delay = delay}), webdriver::InvalidArgumentException)
        << delay;
  EXPECT_TRUE(fb->events.empty());
  EXPECT_TRUE(clock.sleeps().empty());
  // One attempt never pauses, so its delay is never read.
  w.locateElementById("menu_INFO", {.retry = 1, .delay = std::nan("")});
  EXPECT_EQ(fb->events.back(), "click id:menu_INFO");
}

TEST_F(InputBoundsTests, AWaitThatNeverEndsIsRefusedAndAFiniteOneTimesOut) {
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_THROW(w.waitElement("id", "gone", inf, 1), webdriver::InvalidArgumentException);
  EXPECT_THROW(w.waitElement("id", "gone", std::nan(""), 1), webdriver::InvalidArgumentException);
  EXPECT_THROW(w.waitElement("id", "gone", 1, inf), webdriver::InvalidArgumentException);
  EXPECT_TRUE(clock.sleeps().empty());
  EXPECT_THROW(w.waitElement("id", "gone", 2, 1), webdriver::TimeoutException);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{1, 1, 1}));
}
