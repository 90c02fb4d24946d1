// Framing, encoding, decoding and error mapping, against scripted byte streams.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <typeindex>

#include "webdriver/detail/frame_codec.h"
#include "webdriver/detail/http_transport.h"
#include "webdriver/detail/marionette_transport.h"
#include "webdriver/errors.h"

using namespace webdriver;
using ::testing::Property;

namespace {

// Hands out scripted chunks of bytes and records what was written.
class ScriptedStream final : public ByteStream {
 public:
  explicit ScriptedStream(std::deque<std::string> chunks) : chunks_(std::move(chunks)) {}
  void write_all(std::string_view bytes) override { written->append(bytes); }
  std::string read_some(std::chrono::milliseconds timeout) override {
    timeouts->push_back(timeout);
    if (chunks_.empty()) throw ConnectionException("the browser closed the connection", "connection error");
    std::string c = chunks_.front();
    chunks_.pop_front();
    return c;
  }
  std::shared_ptr<std::string> written = std::make_shared<std::string>();
  std::shared_ptr<std::vector<std::chrono::milliseconds>> timeouts =
      std::make_shared<std::vector<std::chrono::milliseconds>>();

 private:
  std::deque<std::string> chunks_;
};

const std::string kGreeting = encode_frame(Json{{"applicationType", "gecko"}, {"marionetteProtocol", 3}});

std::unique_ptr<MarionetteTransport> transport(std::deque<std::string> replies,
                                               std::shared_ptr<std::string>* written = nullptr) {
  replies.push_front(kGreeting);
  auto stream = std::make_unique<ScriptedStream>(std::move(replies));
  if (written) *written = stream->written;
  return std::make_unique<MarionetteTransport>(std::move(stream), std::chrono::milliseconds(1000));
}

std::string reply(long long id, const Json& error, const Json& result) {
  return encode_frame(Json::array({1, id, error, result}));
}

}  // namespace

TEST(FrameCodecTests, LengthCountsBytesAndFramesSurviveAnySplit) {
  Json message = Json::array({0, 1, "WebDriver:Navigate", {{"url", "https://例え.jp/ü"}}});
  std::string frame = encode_frame(message);
  std::string body = frame.substr(frame.find(':') + 1);
  EXPECT_EQ(frame.substr(0, frame.find(':')), std::to_string(body.size()));
  EXPECT_GT(body.size(), message.dump().size() - 10);  // bytes, not characters
  // Fed one byte at a time, two frames come out whole and in order.
  FrameDecoder decoder;
  std::string two = frame + encode_frame(Json{{"value", 1}});
  std::vector<Json> out;
  for (char c : two) {
    decoder.feed(std::string_view(&c, 1));
    while (auto m = decoder.next()) out.push_back(*m);
  }
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0], message);
  EXPECT_EQ(out[1], (Json{{"value", 1}}));
  EXPECT_FALSE(decoder.has_partial());
}

TEST(FrameCodecTests, TruncatedAndMalformedFramesAreTyped) {
  FrameDecoder partial;
  partial.feed("20:[1,1,null");
  EXPECT_FALSE(partial.next().has_value()) << "a truncated frame waits for more";
  for (const char* bad : {"x1:{}", "3:{{{", ":{}", "99999999999999:{}"}) {
    FrameDecoder d;
    d.feed(bad);
    EXPECT_THROW(d.next(), ProtocolException) << bad;
  }
}

TEST(MarionetteTransportTests, ChecksTheGreeting) {
  auto bad = [](const Json& greeting) {
    auto s = std::make_unique<ScriptedStream>(std::deque<std::string>{encode_frame(greeting)});
    MarionetteTransport t(std::move(s), std::chrono::milliseconds(100));
  };
  EXPECT_THROW(bad(Json{{"applicationType", "gecko"}, {"marionetteProtocol", 2}}), ProtocolException);
  EXPECT_THROW(bad(Json{{"applicationType", "chrome"}, {"marionetteProtocol", 3}}), ProtocolException);
}

TEST(MarionetteTransportTests, SendsCommandsAndUnwrapsOnlyValueEnvelopes) {
  std::shared_ptr<std::string> written;
  auto t = transport({reply(1, nullptr, {{"value", "Title"}}), reply(2, nullptr, Json::array({"a", "b"})),
                      reply(3, nullptr, {{"sessionId", "s"}, {"capabilities", Json::object()}}),
                      reply(4, nullptr, {{"value", {{"value", 7}}}})},
                     &written);
  EXPECT_EQ(t->execute("WebDriver:GetTitle", Json::object()), "Title");
  EXPECT_EQ(t->execute("WebDriver:GetWindowHandles", Json::object()), Json::array({"a", "b"}));
  EXPECT_EQ(t->execute("WebDriver:NewSession", Json::object())["sessionId"], "s");
  EXPECT_EQ(t->execute("WebDriver:ExecuteScript", Json::object()), (Json{{"value", 7}})) << "unwrapped once";
  std::string first = encode_frame(Json::array({0, 1, "WebDriver:GetTitle", Json::object()}));
  EXPECT_EQ(written->substr(0, first.size()), first);
}

TEST(MarionetteTransportTests, SkipsRepliesToOtherIdsAndMapsErrors) {
  auto t = transport({reply(7, nullptr, {{"value", "late"}}), reply(1, nullptr, {{"value", "mine"}}),
                      reply(2, {{"error", "no such element"}, {"message", "Unable to locate element: #x"}}, nullptr)});
  EXPECT_EQ(t->execute("WebDriver:GetTitle", Json::object()), "mine");
  EXPECT_THAT([&] { t->execute("WebDriver:FindElement", Json::object()); },
              ::testing::Throws<NoSuchElementException>(
                  ::testing::AllOf(Property(&std::exception::what, ::testing::StrEq("Unable to locate element: #x")),
                                   Property(&WebDriverException::error_code, "no such element"))));
}

TEST(MarionetteTransportTests, ADeadPeerOrBrokenReplyLeavesATypedErrorAndAClosedTransport) {
  auto t = transport({});
  EXPECT_FALSE(t->broken());
  EXPECT_THROW(t->execute("WebDriver:GetTitle", Json::object()), ConnectionException);
  EXPECT_TRUE(t->broken()) << "the session reads it as a lost browser";
  EXPECT_THROW(t->execute("WebDriver:GetTitle", Json::object()), ConnectionException) << "no reuse after a loss";
  auto u = transport({"5:[1,1,"});
  EXPECT_THROW(u->execute("WebDriver:GetTitle", Json::object()), ProtocolException);
}

TEST(MarionetteTransportTests, ReadsAreBoundedByTheGreetingCommandAndQuitTimeouts) {
  auto stream = std::make_unique<ScriptedStream>(std::deque<std::string>{
      kGreeting, reply(1, nullptr, {{"value", "t"}}), reply(2, nullptr, {{"cause", "shutdown"}})});
  auto timeouts = stream->timeouts;
  MarionetteTransport t(std::move(stream), std::chrono::hours(1), std::chrono::seconds(7));
  t.execute("WebDriver:GetTitle", Json::object());
  t.execute("WebDriver:DeleteSession", Json::object());
  EXPECT_EQ(*timeouts, (std::vector<std::chrono::milliseconds>{std::chrono::seconds(7), std::chrono::hours(1),
                                                                MarionetteTransport::kQuitTimeout}));
}

TEST(MarionetteTransportTests, AReplyCutOffByAClosingPeerIsAConnectionError) {
  auto u = transport({reply(1, nullptr, {{"value", "abc"}}).substr(0, 12)});
  EXPECT_THROW(u->execute("WebDriver:GetTitle", Json::object()), ConnectionException);
}

TEST(MarionetteTransportTests, DeletingTheSessionQuitsFirefoxAndFallsBackToDeleting) {
  std::shared_ptr<std::string> written;
  auto t = transport({reply(1, nullptr, {{"cause", "shutdown"}, {"forced", false}})}, &written);
  t->execute("WebDriver:DeleteSession", Json::object());
  EXPECT_EQ(*written, encode_frame(Json::array({0, 1, "Marionette:Quit", {{"flags", Json::array({"eForceQuit"})}}})));
  EXPECT_THROW(t->execute("WebDriver:GetTitle", Json::object()), ConnectionException) << "the browser is gone";

  // A browser that refuses to quit still has its session deleted.
  auto u = transport({reply(1, {{"error", "unsupported operation"}, {"message", "no"}}, nullptr),
                      reply(2, nullptr, {{"value", nullptr}})},
                     &written);
  u->execute("WebDriver:DeleteSession", Json::object());
  EXPECT_NE(written->find("[0,2,\"WebDriver:DeleteSession\",{}]"), std::string::npos);
}

TEST(ErrorMappingTests, W3cCodesThrowTheirOwnTypes) {
  const std::pair<const char*, std::type_index> rows[] = {
      {"stale element reference", typeid(StaleElementReferenceException)},
      {"script timeout", typeid(TimeoutException)},  // two codes, one type
      {"no such window", typeid(NoSuchWindowException)},
      {"invalid session id", typeid(InvalidSessionIdException)},
      {"element click intercepted", typeid(ElementClickInterceptedException)},
      {"unexpected alert open", typeid(UnexpectedAlertPresentException)},
      {"unsupported operation", typeid(WebDriverException)},
      {"", typeid(WebDriverException)},
  };
  for (const auto& [code, type] : rows) {
    try {
      throw_w3c_error(code, "the driver's words");
      ADD_FAILURE() << "nothing thrown for " << code;
    } catch (const WebDriverException& e) {
      EXPECT_EQ(std::type_index(typeid(e)), type) << "code '" << code << "' gave " << typeid(e).name();
      EXPECT_EQ(e.error_code(), code);
      EXPECT_STREQ(e.what(), "the driver's words");
    }
  }
}

TEST(HttpRouteTests, CommandsMapToMethodsPathsAndBodies) {
  struct Row {
    const char* command;
    Json params;
    const char* method;
    const char* path;
    Json body;
  };
  const Json ref = {{kElementKey, "f1"}};
  const Row rows[] = {
      {"WebDriver:NewSession", {{"acceptInsecureCerts", true}}, "POST", "/session",
       {{"capabilities", {{"alwaysMatch", {{"acceptInsecureCerts", true}}}}}}},
      {"WebDriver:DeleteSession", Json::object(), "DELETE", "/session/s1", nullptr},
      {"WebDriver:FindElement", {{"using", "xpath"}, {"value", "//a"}, {"element", "e1"}}, "POST",
       "/session/s1/element/e1/element", {{"using", "xpath"}, {"value", "//a"}}},
      {"WebDriver:FindElements", {{"using", "css selector"}, {"value", "li"}, {"element", "e1"}}, "POST",
       "/session/s1/element/e1/elements", {{"using", "css selector"}, {"value", "li"}}},
      {"WebDriver:GetElementAttribute", {{"id", "e2"}, {"name", "data x/y"}}, "GET",
       "/session/s1/element/e2/attribute/data%20x%2Fy", nullptr},
      {"WebDriver:ElementClick", {{"id", "e2"}}, "POST", "/session/s1/element/e2/click", Json::object()},
      {"WebDriver:SwitchToFrame", {{"element", "f1"}}, "POST", "/session/s1/frame", {{"id", ref}}},
      {"WebDriver:SwitchToFrame", {{"id", 2}}, "POST", "/session/s1/frame", {{"id", 2}}},
      {"WebDriver:ExecuteScript", {{"script", "return 1"}, {"args", Json::array()}}, "POST",
       "/session/s1/execute/sync", {{"script", "return 1"}, {"args", Json::array()}}},
      {"WebDriver:TakeScreenshot", {{"full", false}, {"hash", false}}, "GET", "/session/s1/screenshot", nullptr},
  };
  for (const auto& row : rows) {
    auto r = HttpTransport::route(row.command, row.params, "s1");
    EXPECT_STREQ(r.method, row.method) << row.command;
    EXPECT_EQ(r.path, row.path) << row.command << " " << row.params.dump();
    EXPECT_EQ(r.body, row.body) << row.command << " " << row.params.dump();
  }
  EXPECT_THROW(HttpTransport::route("WebDriver:Teleport", Json::object(), "s1"), InvalidArgumentException);
  EXPECT_THROW(HttpTransport::route("WebDriver:GetElementText", Json::object(), "s1"), InvalidArgumentException)
      << "no element id";
}
