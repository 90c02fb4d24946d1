#include <gtest/gtest.h>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/utils/time.h"
#include "marlet/utils/units.h"
#include "webdriver/errors.h"

using marlet::Units;

TEST(UnitsTests, ConvertsWithBinaryFactorsToPythonFloatText) {
  EXPECT_EQ(Units::convert("1024MB", "GB"), "1.0GB");
  EXPECT_EQ(Units::convert("1.819TB", "GB"), "1862.656GB");
  EXPECT_EQ(Units::convert("512GiB", "GB"), "512.0GB");
  EXPECT_EQ(Units::convert("300gb", "GB"), "300.0GB");
  // Whatever it gives reads back as a float once "GB" is cut off.
  std::string out = Units::convert("745.211GB", "GB");
  EXPECT_DOUBLE_EQ(marlet::py::to_float(out.substr(0, out.size() - 2)), 745.211);
}

TEST(UnitsTests, RefusesTextsThatAreNoSize) {
  for (const char* bad : {"GB", "12", "12 GB", "12XB", "", "1.2.3GB"})
    EXPECT_THROW(Units::convert(bad, "GB"), marlet::ValueError) << bad;
  EXPECT_THROW(Units::convert("1GB", "parsec"), marlet::ValueError);
}

TEST(ClockTests, FakeClockRecordsSleepsAndMovesOnlyByThem) {
  marlet::FakeClock clock;
  auto start = clock.now();
  clock.sleep_seconds(10);
  clock.sleep_seconds(0.5);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{10, 0.5}));
  EXPECT_DOUBLE_EQ((clock.now() - start).count(), 10.5);
}

TEST(ClockTests, TimeScaleShrinksSleepsAndDeadlinesTogether) {
  marlet::set_time_scale(0.001);
  auto& clock = marlet::process_clock();
  auto start = clock.now();
  auto real_start = std::chrono::steady_clock::now();
  clock.sleep_seconds(20);  // 20 ms of real time
  double real = std::chrono::duration<double>(std::chrono::steady_clock::now() - real_start).count();
  double virtual_elapsed = (clock.now() - start).count();
  marlet::set_time_scale(1.0);
  EXPECT_LT(real, 2.0);
  EXPECT_GE(virtual_elapsed, 20.0);  // the clock saw the full 20 "seconds" pass
  EXPECT_THROW(marlet::set_time_scale(0), marlet::ValueError);
  EXPECT_THROW(marlet::set_time_scale(-1), marlet::ValueError);
}

// The platform adapts the browser client's clock and error root rather than wrapping them:
// one process clock for both layers, and the browser's failures caught as MarletException
// while the console's own failures stay out of a catch of the browser's.
TEST(PlatformLayerTests, TheBrowserClientsClockAndErrorRootAreThePlatforms) {
  static_assert(std::is_same_v<marlet::Clock, webdriver::Clock>);
  EXPECT_EQ(&marlet::process_clock(), &webdriver::process_clock());
  EXPECT_THROW(webdriver::throw_w3c_error("no such element", ""), marlet::MarletException);
  try {
    throw marlet::WebElementException("no table", std::make_exception_ptr(webdriver::TimeoutException("late")));
  } catch (const webdriver::WebDriverException&) {
    ADD_FAILURE() << "a console failure caught as a browser failure";
  } catch (const marlet::MarletException& e) {
    EXPECT_STREQ(e.what(), "no table");
    EXPECT_THROW(std::rethrow_exception(e.cause()), webdriver::TimeoutException);
  }
}
