#include <set>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;

class ElementLayerTests : public WrapperTest {
 protected:
  void SetUp() override {
    w.openFirefox();
    fb->events.clear();
  }
};

TEST_F(ElementLayerTests, AMissingElementIsRetriedThenRaisesNamingTheLocator) {
  EXPECT_THAT([&] { w.locateElementById("nowhere", {.retry = 3, .delay = 2}); },
              ThrowsMessage<webdriver::NoSuchElementException>(HasSubstr("id=nowhere")));
  // Each attempt polls for presence up to `timeout`; attempts are `delay` apart.
  auto sleeps = clock.sleeps();
  EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 2.0), 2);
  EXPECT_NEAR(slept(), 3 * w.timeout + 2 * 2, 3 * 0.5 + 1e-9);
}

// A page still loading drops clicks: the click waits for its document, within the bound.
TEST_F(ElementLayerTests, AClickWaitsForItsDocumentToLoadButNoLongerThanTheBound) {
  fb->add("id:tabStorage");
  std::vector<std::string> states = {"loading", "interactive", "complete"};
  size_t asked = 0;
  fb->document_state = [&] { return states[std::min(asked++, states.size() - 1)]; };
  w.locateElementById("tabStorage");
  EXPECT_EQ(asked, 3u);
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{0.1, 0.1}));
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:tabStorage"}));

  clock.clear();
  fb->events.clear();
  fb->document_state = [] { return std::string("loading"); };  // never loads: clicks at the bound
  w.locateElementById("tabStorage");
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:tabStorage"}));
  EXPECT_NEAR(slept(), w.timeout, 0.1 + 1e-9);
}

TEST_F(ElementLayerTests, FillLeavesTheValueAloneButNeverClearsAFileInput) {
  auto& field = fb->add("id:name");
  field.tag = "input";
  field.value = "old";
  w.fillElementById("name", "new");
  EXPECT_EQ(field.value, "new");
  auto& file = fb->add("xpath://input[@type='file']");
  file.tag = "input";
  file.attributes["type"] = "file";
  w.fillElementByXpath("//input[@type='file']", "/tmp/image.bin", false);
  EXPECT_EQ(fb->events.back(), "keys xpath://input[@type='file'] /tmp/image.bin");
  EXPECT_EQ(std::count(fb->events.begin(), fb->events.end(), "clear xpath://input[@type='file']"), 0);
}

TEST_F(ElementLayerTests, WaitElementByKindVisibleOrHidden) {
  auto& dialog = fb->add("class:dialog");
  EXPECT_TRUE(w.waitElement("class", "dialog", 5, 1).has_value());
  dialog.displayed = false;
  EXPECT_FALSE(w.waitElement("class", "dialog", 5, 1, /*visibility=*/false).has_value());
  EXPECT_THROW(w.waitElement("class", "dialog", 5, 1), webdriver::TimeoutException);
  EXPECT_THROW(w.waitElement("name", "dialog", 5, 1), marlet::ValueError);
}

// A failure that is no MarletException is not retried.
TEST_F(ElementLayerTests, PageRetryRetriesOnlyMarletExceptions) {
  int calls = 0;
  EXPECT_THROW(vorna::page_retry(w, [&]() -> int {
    ++calls;
    throw marlet::KeyError("x");
  }),
               marlet::KeyError);
  EXPECT_EQ(calls, 1);
}

TEST_F(ElementLayerTests, ScreenshotsAreBestEffort) {
  std::string path = w._screenshot("probe");
  ASSERT_FALSE(path.empty());
  EXPECT_NE(path.find("_probe.png"), std::string::npos);
  EXPECT_EQ(log->texts().back(), "[screenshot] " + path);
  std::filesystem::remove(path);
  fb->fail_everything = true;
  EXPECT_EQ(w._screenshot("broken"), "");
  EXPECT_EQ(log->lines.back().level, marlet::LogLevel::Warn);
}

// Wrappers of one process share the picture folder: pictures taken in the same
// millisecond under the same operation name must all survive.
TEST_F(ElementLayerTests, PicturesInTheSameMillisecondKeepApart) {
  std::set<std::string> paths;
  for (int i = 0; i < 30; ++i) {
    std::string path = w._screenshot("burst");
    ASSERT_FALSE(path.empty()) << log->texts().back();
    EXPECT_NE(path.find("_burst.png"), std::string::npos) << path;
    paths.insert(path);
  }
  EXPECT_EQ(paths.size(), 30u);
  for (const auto& p : paths) {
    EXPECT_TRUE(std::filesystem::exists(p)) << p;
    std::filesystem::remove(p);
  }
}
