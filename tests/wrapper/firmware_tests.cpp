// Firmware upgrades and the diagnostics export against a scripted console.
#include <filesystem>
#include <fstream>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/detail/file_upload.h"
#include "webdriver/detail/zip.h"
#include "webdriver/errors.h"

using marlet::Json;
namespace fs = std::filesystem;

namespace {

constexpr const char* kStart = R"(//*[@id="systemUpgradeBtn"]/span/button/div/span)";

// A scratch folder of the test's own, removed afterwards.
struct Scratch {
  fs::path dir;
  Scratch() {
    dir = fs::temp_directory_path() / ("vorna-fw-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                                       "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  ~Scratch() {
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
  std::string file(const std::string& name, const std::string& content = "image") const {
    std::ofstream(dir / name, std::ios::binary) << content;
    return (dir / name).string();
  }
};

// The upgrade page of a console whose upgrade is over at once: no progress ring, the
// result text already there.
class FirmwareTests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    for (auto id : {"id:menu_SYSTEM_MANAGE", "id:menu_FIRM_UPGRADE", "id:btnDialogOK", "xpath://button[@type='button']",
                    R"(xpath://*[@id="btnDialogOK"])", kStart})
      fb->add(id[0] == '/' ? std::string("xpath:") + id : id);
    for (auto key : {"id:file_upload", R"(xpath://*[@id="file_upload"])"}) {
      auto& input = fb->add(key);
      input.tag = "input";
      input.attributes["type"] = "file";
    }
    fb->add("id:upgrade_result").text = "The upgrade is complete.";
  }
  std::string result(const std::string& text) { return fb->find("id:upgrade_result")->text = text; }
};

TEST_F(FirmwareTests, BothSuccessTestsOnTheSameResultTexts) {
  Scratch s;
  std::string image = s.file("fw.bin");
  // (text, set_firmware_upgrade, update_fw)
  const std::tuple<const char*, bool, bool> cases[] = {
      {"The upgrade is complete.", true, true},
      {"Note: The upgrade is complete. Restart the BMC.", true, false},
      {"the upgrade is complete.", false, false},
  };
  for (const auto& [text, first, second] : cases) {
    result(text);
    log->lines.clear();
    EXPECT_EQ(set_firmware_upgrade(w, image), first) << text;
    EXPECT_EQ(log->texts().back(), first ? std::string("[setFirmwareUpgrade] upgrade success")
                                         : std::string("[setFirmwareUpgrade] upgrade fail: ") + text);
    EXPECT_EQ(log->lines.back().level, first ? marlet::LogLevel::Info : marlet::LogLevel::Warn);
    vorna::leave_content_frame(w);
    log->lines.clear();
    EXPECT_EQ(update_fw(w, image), Json(second)) << text;
    EXPECT_EQ(log->texts(), std::vector<std::string>{second ? std::string(text) : std::string("upgrade failed: ") + text});
    EXPECT_EQ(log->lines.back().level, second ? marlet::LogLevel::Info : marlet::LogLevel::Error);
    vorna::leave_content_frame(w);
  }
}

TEST_F(FirmwareTests, SetFirmwareUpgradeWaitsForTheRingInTheTopDocumentAndLeavesTheFrame) {
  Scratch s;
  std::string image = s.file("fw.bin");
  EXPECT_TRUE(set_firmware_upgrade(w, image));
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_SYSTEM_MANAGE", "click id:menu_FIRM_UPGRADE",
                                                  "frame id:rightMid", "keys id:file_upload " + image,
                                                  "click xpath://button[@type='button']", "default content",
                                                  "click id:btnDialogOK", "frame id:rightMid", "default content"}));
  // No ring at all: straight on after the settle, no poll period.
  EXPECT_EQ(clock.sleeps(), std::vector<double>{10});
  EXPECT_EQ(log->texts().front(), "[setFirmwareUpgrade] filepath:" + image);
}

// A clock whose sleeps move the ring along.
class RingClock final : public marlet::Clock {
 public:
  TimePoint now() override { return inner.now(); }
  void sleep(Duration d) override {
    inner.sleep(d);
    if (on_sleep) on_sleep();
  }
  marlet::FakeClock inner;
  std::function<void()> on_sleep;
};

class FirmwareRingTests : public ::testing::Test {
 protected:
  std::shared_ptr<fake::FakeBrowser> fb = std::make_shared<fake::FakeBrowser>();
  std::shared_ptr<marlet::RecordingLogger> log = std::make_shared<marlet::RecordingLogger>();
  RingClock clock;
  vorna::VornaWebWrapper w{Json::object(), log, &clock, std::make_shared<fake::FakeFactory>(fb)};
  int left = 0;
  void SetUp() override {
    for (auto id : {"id:menu_SYSTEM_MANAGE", "id:menu_FIRM_UPGRADE", "id:btnDialogOK", "xpath://button[@type='button']"})
      fb->add(id);
    auto& input = fb->add("id:file_upload");
    input.tag = "input";
    input.attributes["type"] = "file";
    fb->add("id:upgrade_result").text = "The upgrade is complete.";
    w.openFirefox();
    clock.on_sleep = [this] {
      if (left > 0 && --left == 0) fb->find("id:processcir")->displayed = false;
    };
  }
  void ring(int sleeps) {
    fb->add("id:processcir").displayed = true;
    left = sleeps;
  }
};

TEST_F(FirmwareRingTests, TheRingIsPolledEverySixtySecondsUpToTwentyMinutes) {
  Scratch s;
  std::string image = s.file("fw.bin");
  ring(3);  // the settle and two polls
  EXPECT_TRUE(set_firmware_upgrade(w, image));
  EXPECT_EQ(clock.inner.sleeps(), (std::vector<double>{10, 60, 60}));

  clock.inner.clear();
  fb->events.clear();
  ring(1000);  // never goes
  EXPECT_THROW(set_firmware_upgrade(w, image), webdriver::TimeoutException);
  auto sleeps = clock.inner.sleeps();
  ASSERT_FALSE(sleeps.empty());
  EXPECT_EQ(sleeps.front(), 10);
  // Selenium's loop: a check, a poll, then the deadline test, which passes at 1200 s.
  EXPECT_EQ(std::accumulate(sleeps.begin(), sleeps.end(), 0.0), 10 + 21 * 60);
  EXPECT_EQ(fb->events.back(), "click id:btnDialogOK") << "the time-out leaves the wrapper outside the frame";
}

TEST_F(FirmwareTests, UpdateFwTestsThePathAfterTheMenuAndStaysInTheFrame) {
  Scratch s;
  std::string missing = (s.dir / "no-such.bin").string();
  fb->events.clear();
  EXPECT_EQ(update_fw(w, missing), Json(nullptr));
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_SYSTEM_MANAGE", "click id:menu_FIRM_UPGRADE"}));
  EXPECT_EQ(log->texts(), std::vector<std::string>{"param must absolute path"});
  EXPECT_TRUE(clock.sleeps().empty());

  // A relative path that exists passes; the browser gets it made absolute.
  std::string image = s.file("fw.bin");
  fs::path cwd = fs::current_path();
  fs::current_path(s.dir);
  fb->events.clear();
  clock.clear();
  Json done = update_fw(w, "fw.bin");
  fs::current_path(cwd);
  EXPECT_EQ(done, Json(true));
  EXPECT_EQ(fb->events,
            (std::vector<std::string>{"click id:menu_SYSTEM_MANAGE", "click id:menu_FIRM_UPGRADE", "frame id:rightMid",
                                      R"(keys xpath://*[@id="file_upload"] )" + image,
                                      std::string("click xpath:") + kStart, "default content",
                                      R"(click xpath://*[@id="btnDialogOK"])", "frame id:rightMid"}));
  EXPECT_EQ(clock.sleeps(), std::vector<double>{300}) << "a fixed wait, no poll";
}

// The overview's one-button collection and the operation log download.
class DiagnosticsTests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    for (auto id : {"id:menu_INFO", "id:lnkOneBtnCollect", "id:menu_SYSTEM_MANAGE", "id:download_ope"}) fb->add(id);
  }
};

TEST_F(DiagnosticsTests, CollectionRemovesAnOldFileOnlyAndReturnsItsPath) {
  Scratch s;
  w.download_dir = s.dir.string();
  std::string path = s.file("dump_info.tar.gz", "old");
  EXPECT_EQ(set_info_collection(w, 600), path);
  EXPECT_FALSE(fs::exists(path)) << "the old file is removed before the clicks";
  EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_INFO", "frame id:rightMid",
                                                  "click id:lnkOneBtnCollect", "default content"}));
  EXPECT_EQ(clock.sleeps(), std::vector<double>{10}) << "no progress box: no poll";
  EXPECT_EQ(log->texts(), std::vector<std::string>{"[setInfoCollection]"});
}

TEST_F(DiagnosticsTests, TheProgressBoxIsPolledEveryThirtySecondsUpToTheTimeout) {
  Scratch s;
  w.download_dir = s.dir.string();
  std::string path = s.file("dump_info.tar.gz", "old");
  fb->add("id:diaginfoProgress").displayed = true;
  EXPECT_THROW(set_info_collection(w, 90), webdriver::TimeoutException);
  EXPECT_FALSE(fs::exists(path)) << "the old file is already gone when the wait fails";
  auto sleeps = clock.sleeps();
  EXPECT_EQ(sleeps, (std::vector<double>{10, 30, 30, 30, 30}));
}

// A browser on a Grid node saves onto that node. A node without managed downloads: both
// operations refuse, naming the node and the option, before a click, and an older file
// here is left alone. A node with them: the new finished file is fetched into
// download_dir once the operation's clicks are done.
class RemoteDownloadTests : public ::testing::Test {
 protected:
  std::shared_ptr<fake::FakeBrowser> fb = std::make_shared<fake::FakeBrowser>();
  marlet::FakeClock clock;
  std::shared_ptr<marlet::RecordingLogger> log = std::make_shared<marlet::RecordingLogger>();
  vorna::VornaWebWrapper w{
      Json{{"browser", {{"name", "chromium"}, {"driver", "remote"}, {"remote_url", "http://127.0.0.1:4444"}}}}, log,
      &clock, std::make_shared<fake::FakeFactory>(fb)};
  Scratch s;
  void open(bool managed) {
    if (managed) fb->capabilities["se:downloadsEnabled"] = true;
    w.download_dir = s.dir.string();
    w.openFirefox();
    for (auto id : {"id:menu_INFO", "id:lnkOneBtnCollect", "id:menu_SYSTEM_MANAGE", "id:download_ope"}) fb->add(id);
    fb->events.clear();
  }
};

TEST_F(RemoteDownloadTests, TheNewFinishedFileIsFetchedIntoTheDownloadFolder) {
  open(true);
  // The node's folder: an earlier export, then the collection under way, then finished.
  std::vector<std::vector<std::string>> listings = {
      {"operate_log.csv"}, {"operate_log.csv", "dump_info.tar.gz.crdownload"}, {"operate_log.csv", "dump_info.tar.gz"}};
  size_t listed = 0;
  fb->grid = [&](const std::string& cmd, const Json& params) -> Json {
    if (cmd == "Grid:ListDownloads") {
      auto names = listings[std::min(listed++, listings.size() - 1)];
      return Json{{"names", names}};
    }
    std::string name = params["name"];
    return Json{{"filename", name}, {"contents", webdriver::base64_encode(webdriver::stored_zip(name, "tar of " + name))}};
  };
  std::string path = set_info_collection(w, 600);
  EXPECT_EQ(path, (s.dir / "dump_info.tar.gz").string());
  std::ifstream in(path, std::ios::binary);
  EXPECT_EQ(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()),
            "tar of dump_info.tar.gz");
  EXPECT_EQ(fb->events, (std::vector<std::string>{"Grid:ListDownloads", "click id:menu_INFO", "frame id:rightMid",
                                                  "click id:lnkOneBtnCollect", "default content", "Grid:ListDownloads",
                                                  "Grid:ListDownloads", "Grid:FetchDownload dump_info.tar.gz"}));
  EXPECT_EQ(clock.sleeps(), (std::vector<double>{10, 1})) << "one poll while the file was still partial";
}

}  // namespace
