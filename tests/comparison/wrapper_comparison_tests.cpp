// The comparisons on the wrapper: same results, the wrapper's own logger.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "marlet/exception/exceptions.h"
#include "marlet/log/logger.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/comparison/wrapper_comparisons.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

using marlet::Json;

TEST(WrapperComparisons, RunTheComparisonsWithTheWrappersLogger) {
  auto log = std::make_shared<marlet::RecordingLogger>();
  vorna::VornaWebWrapper w(Json::object(), log);
  Json absent = Json::array({{{"Status", "Not Detected"}, {"Name", "PSU1"}}});
  compare_power(w, absent, nullptr);
  compare_storage(w, Json::object(), Json::object(), Json::object(), Json::object());
  EXPECT_EQ(log->texts(), (std::vector<std::string>{"电源PSU1不在位", "对比RAID信息", "对比物理盘信息"}));

  struct Case {
    const char* name;
    std::function<void()> call;
    const char* message;
  } cases[] = {
      {"pcie", [&] { compare_pcie(w, Json::array(), Json::object()); }, "web获取PCIE卡信息失败"},
      {"back board", [&] { compare_back_board(w, nullptr, Json::object()); }, "web获取硬盘背板信息失败"},
      {"riser", [&] { compare_riser(w, Json::array(), Json::object()); }, "web获取Raiser卡信息失败"},
      {"raid", [&] { compare_raid(w, Json::array(), Json::object()); }, "web获取Raid卡信息失败"},
      {"memory", [&] { compare_memory(w, Json::array(), Json::object()); }, "web获取内存信息失败:[]"},
  };
  for (const auto& c : cases) EXPECT_THAT(c.call, testing::ThrowsMessage<marlet::WebElementException>(c.message)) << c.name;
}
