// The alarm page, the login error label, and the walks over the two paged log tables.
#include <ctime>
#include <functional>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/logs/logs.h"
#include "tests/wrapper/wrapper_fixture.h"
#include "webdriver/errors.h"

using marlet::Json;
using marlet::LogLevel;

namespace {

std::string numbered(const char* fmt, int n) {
  std::string s(fmt);
  return s.replace(s.find("%s"), 2, std::to_string(n));
}

class HealthTests : public WrapperTest {
 protected:
  void SetUp() override {
    logged_in();
    fb->add("id:menu_ALARMS");
  }
};

TEST_F(HealthTests, OnlyTheExactAllClearSentencesAreHealthy) {
  const std::pair<const char*, bool> cases[] = {
      {"No current alarms.", true}, {"当前没有告警信息.", true}, {"当前没有告警信息。", false}};
  for (const auto& [text, healthy] : cases) {
    fb->add("id:currentAlarmTable").text = text;
    fb->events.clear();
    log->lines.clear();
    EXPECT_EQ(check_health(w), healthy) << text;
    EXPECT_EQ(fb->events, (std::vector<std::string>{"click id:menu_ALARMS", "frame id:rightMid", "default content"}));
    EXPECT_EQ(log->texts().front(), "[warningInfo] start...");
    EXPECT_EQ(lines_at(LogLevel::Error),
              healthy ? std::vector<std::string>{} : std::vector<std::string>{std::string("current alarms: ") + text});
  }
  EXPECT_TRUE(clock.sleeps().empty()) << "no settle of its own";
}

TEST_F(HealthTests, TheLoginErrorIsShownForTheReadingAndHiddenAgain) {
  auto& label = fb->add("id:lblLoginError");
  label.text = "Invalid user name or password.";
  label.displayed = false;
  // The console's `$` does nothing for an id that is not on the page.
  fb->on_script = [&](const std::string& script) {
    auto* e = fb->find("id:lblLoginError");
    if (!e) return;
    if (script.find("display: block;") != std::string::npos) e->displayed = true;
    if (script.find("display: None;") != std::string::npos) e->displayed = false;
  };
  fb->events.clear();
  EXPECT_EQ(web_get_error_warning(w), "Invalid user name or password.");
  EXPECT_EQ(fb->scripts, (std::vector<std::string>{R"($("#lblLoginError").attr("style","display: block;"))",
                                                   R"($("#lblLoginError").attr("style","display: None;"))"}));
  EXPECT_FALSE(fb->find("id:lblLoginError")->displayed);
  EXPECT_EQ(std::count(fb->events.begin(), fb->events.end(), "default content"), 0) << "no navigation";
}

// The operation log: six pager links; each click shows the next of `pages`.
class OperationLogTests : public WrapperTest {
 protected:
  static constexpr const char* kLink = "/html/body/div[1]/div[1]/div[2]/div[2]/div/div[2]/div/div/div[2]/div[1]/a[%s]";
  static constexpr const char* kRow = "/html/body/div[1]/div[1]/div[2]/div[2]/div/div[2]/table/tbody/tr[%s]/td[6]";
  void SetUp() override {
    logged_in();
    for (auto id : {"id:menu_SYSTEM_MANAGE", "id:menu_OPER_LOG"}) fb->add(id);
    for (int n = 2; n <= 5; ++n)
      fb->add("xpath:" + numbered(kLink, n)).on_click = [this] { show(++shown); };
    for (int p = 1; p <= 6; ++p) {
      std::vector<std::string> rows;
      for (int r = 1; r <= 10; ++r) rows.push_back("p" + std::to_string(p) + "r" + std::to_string(r));
      pages.push_back(rows);
    }
  }
  void show(int page) {
    for (int r = 1; r <= 10; ++r) {
      if (page <= static_cast<int>(pages.size()) && r <= static_cast<int>(pages[page - 1].size()))
        fb->add("xpath:" + numbered(kRow, r)).text = pages[page - 1][r - 1];
      else
        fb->remove("xpath:" + numbered(kRow, r));
    }
  }
  std::vector<std::string> clicks() const {
    std::vector<std::string> out;
    for (const auto& e : fb->events)
      if (e.rfind("click xpath:", 0) == 0) out.push_back(e.substr(e.size() - 5));
    return out;
  }
  std::vector<std::vector<std::string>> pages;
  int shown = 0;
};

TEST_F(OperationLogTests, SixPagesByLinksTwoToFiveAndTheRowsLoggedAsAList) {
  EXPECT_TRUE(web_check_bmc_log(w, {{"check_list", Json::array()}}));
  EXPECT_EQ(clicks(), (std::vector<std::string>{"/a[2]", "/a[3]", "/a[4]", "/a[5]", "/a[5]", "/a[5]"}));
  EXPECT_EQ(shown, 6);
  EXPECT_EQ(fb->events.front(), "click id:menu_SYSTEM_MANAGE");
  EXPECT_EQ(fb->events.back(), "default content");
  ASSERT_EQ(log->texts().size(), 2u);
  EXPECT_EQ(log->texts()[0], "[checkBmcLog] check bmc log.");
  std::string listed = log->texts()[1];
  EXPECT_EQ(listed.substr(0, 30), "['p1r1', 'p1r2', 'p1r3', 'p1r4");
  EXPECT_EQ(listed.substr(listed.size() - 16), "'p6r9', 'p6r10']");
  EXPECT_TRUE(clock.sleeps().empty()) << "no settle between clicks and reads";
}

TEST_F(OperationLogTests, SentencesMayRunOverTwoRowsAndTheFirstMissingOneEndsTheCheck) {
  pages[0][9] = "Set location info";
  pages[1][0] = "to (xian) successfully";
  pages[5][9] = "username (Test) successfully";
  pages[3][4] = "Set power restore policy to (previous) successfully";
  EXPECT_TRUE(web_check_bmc_log(w, Json::object())) << "the default sentences, one across pages 1 and 2";
  EXPECT_TRUE(lines_at(LogLevel::Error).empty());

  shown = 0;
  log->lines.clear();
  EXPECT_FALSE(web_check_bmc_log(w, {{"check_list", {"p2r3", "not there", "missing too", "p1r1"}}}));
  EXPECT_EQ(lines_at(LogLevel::Error), std::vector<std::string>{"(not there) is not found."});
}

// The system events: 20 rows a page, newest first, the first page shown on opening; the
// pager element goes one page on, or stays on the last (as the console's next arrow
// does), unless `pager` says otherwise.
class EventLogTests : public WrapperTest {
 protected:
  static constexpr const char* kPager = "/html/body/div[1]/ul/li[2]/div/div[2]/div/div/div[2]/div[1]/a[8]/i";
  static constexpr const char* kTime = "/html/body/div[1]/ul/li[2]/div/div[2]/table/tbody/tr[%s]/td[5]";
  static constexpr const char* kText = "/html/body/div[1]/ul/li[2]/div/div[2]/table/tbody/tr[%s]/td[4]";
  static constexpr const char* kId = "/html/body/div[1]/ul/li[2]/div/div[2]/table/tbody/tr[%s]/td[2]";
  struct Event {
    std::string time, text, id;
  };
  void SetUp() override {
    logged_in();
    for (auto id : {"id:menu_ALARMS", "id:menu_ALARMS_DETAIL", "class:rightMid"}) fb->add(id);
    // Opening the page shows its first page again.
    fb->find("id:menu_ALARMS_DETAIL")->on_click = [this] { show(1); };
    fb->add("xpath:" + std::string(kPager)).on_click = [this] { show(pager(page)); };
    pager = [this](int p) { return std::min(p + 1, static_cast<int>(events.size() + 19) / 20); };
  }
  static std::string stamp(std::time_t t) {
    char buf[32];
    std::tm tm{};
    localtime_r(&t, &tm);
    std::strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm);
    return buf;
  }
  // `count` events a minute apart, the newest at `base`, each reading "event <n>".
  void fill(int count) {
    events.clear();
    for (int i = 0; i < count; ++i)
      events.push_back({stamp(base - 60 * i), "event " + std::to_string(i), std::to_string(1000 - i)});
    show(1);
  }
  void show(int p) {
    page = p;
    for (int r = 1; r <= 20; ++r) {
      size_t i = (p - 1) * 20 + (r - 1);
      for (auto [fmt, field] : {std::pair{kTime, &Event::time}, {kText, &Event::text}, {kId, &Event::id}}) {
        if (i < events.size())
          fb->add("xpath:" + numbered(fmt, r)).text = events[i].*field;
        else
          fb->remove("xpath:" + numbered(fmt, r));
      }
    }
  }
  int pager_clicks() const {
    return static_cast<int>(std::count(fb->events.begin(), fb->events.end(), "click xpath:" + std::string(kPager)));
  }
  std::time_t base = std::time(nullptr) - 3600;
  std::vector<Event> events;
  int page = 0;
  std::function<int(int)> pager;
};

TEST_F(EventLogTests, TheTimeLimitComesBeforeTheKeywords) {
  fill(60);
  events[31].text = "Fan 3 failed";  // 31 minutes before base
  events[45].text = "Fan 3 failed";  // 45 minutes before base
  // The limit 30 minutes back: row 31 (page 2, row 12) is older, so its keyword is not seen.
  EXPECT_FALSE(check_keyword_in_system_log(w, {"Fan 3"}, base - 30 * 60));
  EXPECT_EQ(page, 2) << "the first click leads past the first page";
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_TRUE(lines_at(LogLevel::Error).empty());
  EXPECT_EQ(log->texts(), std::vector<std::string>{"[checkKeywordInSystemLog] check keyword in system log"});

  // A row exactly at the limit still counts.
  fb->events.clear();
  events[31].text = "event 31";
  EXPECT_TRUE(check_keyword_in_system_log(w, {"Fan 3"}, base - 45 * 60));
  EXPECT_EQ(fb->events.back(), "click xpath:" + std::string(kPager)) << "true stays inside the frame";
  EXPECT_EQ(lines_at(LogLevel::Error), std::vector<std::string>{"关键字Fan 3出现在系统日志Fan 3 failed中，事件ID为955"});
}

TEST_F(EventLogTests, KeywordsInListOrderAndTheFirstFoundEndsTheSearch) {
  fill(80);
  events[25].text = "PSU 2 lost input; Fan 1 slow";
  EXPECT_TRUE(check_keyword_in_system_log(w, {"nothing", "Fan 1", "PSU 2"}, base - 3600 * 24));
  EXPECT_EQ(lines_at(LogLevel::Error),
            std::vector<std::string>{"关键字Fan 1出现在系统日志PSU 2 lost input; Fan 1 slow中，事件ID为975"});
  EXPECT_EQ(fb->events.front(), "click id:menu_ALARMS");
  EXPECT_EQ(pager_clicks(), 1);
}

TEST_F(EventLogTests, AScanThatNeverReachesTheLimitEndsWhenThePagerShowsNothingNew) {
  fill(60);  // three full pages, all newer than the limit
  EXPECT_FALSE(check_keyword_in_system_log(w, {"absent"}, 0));
  EXPECT_EQ(pager_clicks(), 3) << "pages 2 and 3, then a click that leaves page 3 as it is";
  EXPECT_EQ(fb->events.back(), "default content");
  EXPECT_EQ(lines_at(LogLevel::Warn).size(), 1u);
}

}  // namespace
