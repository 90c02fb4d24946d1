// The trace of a browser session: what goes in (operations, commands with their
// locators, settles with their policy, log lines, pictures), what is masked, and which
// files are kept.
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/gui/web/trace.h"
#include "tests/wrapper/wrapper_fixture.h"

namespace fs = std::filesystem;
using marlet::Json;

namespace {

class TraceTests : public ::testing::Test {
 protected:
  fs::path dir = fs::temp_directory_path() / ("vorna-trace-tests-" + std::to_string(::getpid()));
  std::shared_ptr<fake::FakeBrowser> fb = std::make_shared<fake::FakeBrowser>();
  marlet::FakeClock clock;

  void TearDown() override { fs::remove_all(dir); }

  std::unique_ptr<vorna::VornaWebWrapper> wrapper(const Json& trace) {
    return std::make_unique<vorna::VornaWebWrapper>(Json{{"trace", trace}}, std::make_shared<marlet::RecordingLogger>(),
                                                    &clock, std::make_shared<fake::FakeFactory>(fb));
  }

  static std::vector<Json> records(const std::string& path) {
    std::vector<Json> out;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) out.push_back(Json::parse(line));
    return out;
  }
  static std::vector<Json> of_type(const std::vector<Json>& all, const std::string& type) {
    std::vector<Json> out;
    for (const auto& r : all)
      if (r["type"] == type) out.push_back(r);
    return out;
  }
};

}  // namespace

TEST_F(TraceTests, AnOperationsCommandsSettlesLogLinesAndPicturesGoInWithEveryPasswordMasked) {
  auto w = wrapper({{"dir", dir.string()}, {"mode", "on"}});
  w->password = "Admin@9000";
  w->openFirefox();
  std::string path = w->trace_path();
  ASSERT_FALSE(path.empty());
  fb->add("id:iptPassword").tag = "input";
  w->trace_operation_begin("web_add_user", Json::array({{{"name", "u1"}, {"new_pwd", "S3cret!x"}}}),
                           {"Admin@9000", "S3cret!x"});
  w->fillElementById("iptPassword", "S3cret!x");
  w->settle(2);
  w->logger().info("typed S3cret!x for u1 as admin/Admin@9000");
  w->trace_operation_end({{"complete", true}, {"echo", "S3cret!x"}});
  w->close();
  EXPECT_EQ(w->trace_path(), path) << "mode on keeps the trace";

  std::ifstream raw(path);
  std::string text((std::istreambuf_iterator<char>(raw)), {});
  EXPECT_EQ(text.find("S3cret!x"), std::string::npos);
  EXPECT_EQ(text.find("Admin@9000"), std::string::npos);

  auto all = records(path);
  ASSERT_GE(all.size(), 2u);
  EXPECT_EQ(all.front()["type"], "trace");
  EXPECT_EQ(all.front()["mode"], "on");
  EXPECT_EQ(all.back()["type"], "closed");
  auto op = of_type(all, "operation");
  ASSERT_EQ(op.size(), 1u);
  EXPECT_EQ(op[0]["args"][0]["new_pwd"], "********");
  EXPECT_EQ(op[0]["args"][0]["name"], "u1");
  bool found_lookup = false, typed_masked = false;
  for (const auto& c : of_type(all, "command")) {
    EXPECT_EQ(c["op"], op[0]["id"]);
    found_lookup |= c["name"] == "FindElement" && c["locator"] == "css selector=[id=\"iptPassword\"]";
    typed_masked |= c["name"] == "ElementSendKeys" && c["text"] == "********";
  }
  EXPECT_TRUE(found_lookup);
  EXPECT_TRUE(typed_masked);
  auto settles = of_type(all, "settle");
  ASSERT_EQ(settles.size(), 1u);
  EXPECT_EQ(settles[0]["asked"], 2);
  EXPECT_EQ(settles[0]["taken"], 2);
  EXPECT_EQ(settles[0]["policy"], "fixed");
  auto logs = of_type(all, "log");
  ASSERT_EQ(logs.size(), 1u);
  EXPECT_EQ(logs[0]["line"], "typed ******** for u1 as admin/********");
  auto pictures = of_type(all, "picture");
  ASSERT_EQ(pictures.size(), 1u) << "mode on: a picture after the operation";
  EXPECT_EQ(pictures[0]["png"], "iVBORw0KGgo=");
  auto end = of_type(all, "end");
  ASSERT_EQ(end.size(), 1u);
  EXPECT_EQ(end[0]["result"]["echo"], "********");
}

TEST_F(TraceTests, RetainOnFailureKeepsOnlyASessionWithAFailureAndItsPicture) {
  auto w = wrapper({{"dir", dir.string()}, {"mode", "retain-on-failure"}});
  w->openFirefox();
  std::string quiet = w->trace_path();
  w->trace_operation_begin("get_guid", Json::array(), {});
  w->trace_operation_end("0000");
  w->close();
  EXPECT_FALSE(fs::exists(quiet));
  EXPECT_EQ(w->trace_path(), "");

  // A failure whose operation also ends the browser: the trace stays open until the
  // operation's end is in it, and is kept.
  w->openFirefox();
  std::string failed = w->trace_path();
  w->trace_operation_begin("web_login", Json::array(), {});
  w->_screenshot("web_login_failed");
  w->close();
  w->trace_operation_end(nullptr, "WebLoginException", "Login failed");
  ASSERT_TRUE(fs::exists(failed));
  EXPECT_EQ(w->trace_path(), failed);
  auto all = records(failed);
  auto pictures = of_type(all, "picture");
  ASSERT_EQ(pictures.size(), 1u) << "no picture after operations in retain-on-failure";
  EXPECT_EQ(pictures[0]["label"], "web_login_failed");
  auto end = of_type(all, "end");
  ASSERT_EQ(end.size(), 1u);
  EXPECT_EQ(end[0]["error"], Json({{"type", "WebLoginException"}, {"message", "Login failed"}}));
  EXPECT_EQ(all.back()["failed"], true);
}

TEST_F(TraceTests, TheSettingIsAFolderOrAMapAndTheObjectsKeyWinsOverTheProcess) {
  using marlet::parse_trace_settings;
  EXPECT_EQ(parse_trace_settings("/tmp/t", "t").mode, marlet::TraceMode::On);
  EXPECT_EQ(parse_trace_settings({{"dir", "/tmp/t"}, {"mode", "retain-on-failure"}}, "t").mode,
            marlet::TraceMode::RetainOnFailure);
  EXPECT_THROW(parse_trace_settings(3, "t"), marlet::TypeError);
  EXPECT_THROW(parse_trace_settings({{"dir", "/tmp/t"}, {"mode", "always"}}, "t"), marlet::ValueError);
  EXPECT_THROW(wrapper(Json::object({{"mode", "on"}})), marlet::ValueError);

  marlet::set_process_trace(marlet::TraceSettings{(dir / "process").string(), marlet::TraceMode::On});
  auto own = wrapper((dir / "own").string());
  own->openFirefox();
  vorna::VornaWebWrapper plain{Json::object(), std::make_shared<marlet::RecordingLogger>(), &clock,
                               std::make_shared<fake::FakeFactory>(fb)};
  plain.openFirefox();
  marlet::set_process_trace(std::nullopt);
  EXPECT_EQ(fs::path(own->trace_path()).parent_path(), dir / "own");
  EXPECT_EQ(fs::path(plain.trace_path()).parent_path(), dir / "process");
  plain.close();
  own->close();
}

TEST(TraceMaskTests, EveryOccurrenceOfEverySecretIsMasked) {
  EXPECT_EQ(marlet::mask("a pw b pw", {"pw"}), "a ******** b ********");
  EXPECT_EQ(marlet::mask("pwpw", {"pw", ""}), "****************");
  EXPECT_EQ(marlet::mask("nothing", {}), "nothing");
  EXPECT_EQ(marlet::mask("***", {"*"}), std::string(24, '*')) << "a secret inside the mask ends";
}
