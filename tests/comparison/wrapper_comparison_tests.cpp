// The wrapper's comparisons are its members: same results, its own logger.
#include <gtest/gtest.h>

#include "marlet/exception/exceptions.h"
#include "marlet/log/logger.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

using marlet::Json;

TEST(WrapperComparisons, MembersRunTheComparisonsWithTheWrappersLogger) {
  auto log = std::make_shared<marlet::RecordingLogger>();
  vorna::VornaWebWrapper w(Json::object(), log);
  Json absent = Json::array({{{"Status", "Not Detected"}, {"Name", "PSU1"}}});
  w.compare_power(absent, nullptr);
  w.compare_storage(Json::object(), Json::object(), Json::object(), Json::object());
  EXPECT_EQ(log->texts(), (std::vector<std::string>{"电源PSU1不在位", "对比RAID信息", "对比物理盘信息"}));

  struct Case {
    const char* name;
    std::function<void()> call;
    const char* message;
  } cases[] = {
      {"pcie", [&] { w.compare_pcie(Json::array(), Json::object()); }, "web获取PCIE卡信息失败"},
      {"back board", [&] { w.compare_back_board(nullptr, Json::object()); }, "web获取硬盘背板信息失败"},
      {"riser", [&] { w.compare_riser(Json::array(), Json::object()); }, "web获取Raiser卡信息失败"},
      {"raid", [&] { w.compare_raid(Json::array(), Json::object()); }, "web获取Raid卡信息失败"},
      {"memory", [&] { w.compare_memory(Json::array(), Json::object()); }, "web获取内存信息失败:[]"},
  };
  for (const auto& c : cases) {
    try {
      c.call();
      ADD_FAILURE() << c.name;
    } catch (const marlet::WebElementException& e) {
      EXPECT_STREQ(e.what(), c.message) << c.name;
    }
  }
}
