// Framing, encoding, decoding and error mapping, against scripted byte streams.
#include <gtest/gtest.h>

#include <deque>

#include "webdriver/errors.h"
#include "webdriver/frame_codec.h"
#include "webdriver/http_transport.h"
#include "webdriver/marionette_transport.h"

using namespace webdriver;

namespace {

// Hands out scripted chunks of bytes and records what was written.
class ScriptedStream final : public ByteStream {
 public:
  explicit ScriptedStream(std::deque<std::string> chunks) : chunks_(std::move(chunks)) {}
  void write_all(std::string_view bytes) override { written->append(bytes); }
  std::string read_some(std::chrono::milliseconds) override {
    if (chunks_.empty()) throw ConnectionException("the browser closed the connection", "connection error");
    std::string c = chunks_.front();
    chunks_.pop_front();
    return c;
  }
  std::shared_ptr<std::string> written = std::make_shared<std::string>();

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
  EXPECT_THROW(bad(Json::array()), ProtocolException);
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
  try {
    t->execute("WebDriver:FindElement", Json::object());
    FAIL();
  } catch (const NoSuchElementException& e) {
    EXPECT_STREQ(e.what(), "Unable to locate element: #x");
    EXPECT_EQ(e.error_code(), "no such element");
  }
}

TEST(MarionetteTransportTests, ADeadPeerOrBrokenReplyLeavesATypedErrorAndAClosedTransport) {
  auto t = transport({});
  EXPECT_THROW(t->execute("WebDriver:GetTitle", Json::object()), ConnectionException);
  EXPECT_THROW(t->execute("WebDriver:GetTitle", Json::object()), ConnectionException) << "no reuse after a loss";
  auto u = transport({"5:[1,1,"});
  EXPECT_THROW(u->execute("WebDriver:GetTitle", Json::object()), ProtocolException);
}

TEST(MarionetteTransportTests, DeletingTheSessionAsksFirefoxToQuit) {
  std::shared_ptr<std::string> written;
  auto t = transport({reply(1, nullptr, {{"cause", "shutdown"}})}, &written);
  t->execute("WebDriver:DeleteSession", Json::object());
  EXPECT_NE(written->find("Marionette:Quit"), std::string::npos);
  EXPECT_NE(written->find("eForceQuit"), std::string::npos);
}

TEST(ErrorMappingTests, EveryW3cCodeHasItsType) {
  auto code_of = [](const std::string& code) -> std::string {
    try {
      throw_w3c_error(code, "m");
    } catch (const NoSuchElementException&) {
      return "NoSuchElement";
    } catch (const StaleElementReferenceException&) {
      return "Stale";
    } catch (const TimeoutException&) {
      return "Timeout";
    } catch (const NoSuchFrameException&) {
      return "NoSuchFrame";
    } catch (const NoSuchWindowException&) {
      return "NoSuchWindow";
    } catch (const InvalidArgumentException&) {
      return "InvalidArgument";
    } catch (const InvalidSessionIdException&) {
      return "InvalidSessionId";
    } catch (const SessionNotCreatedException&) {
      return "SessionNotCreated";
    } catch (const JavascriptException&) {
      return "Javascript";
    } catch (const WebDriverException& e) {
      return "WebDriver:" + e.error_code();
    }
    return "none";
  };
  const std::pair<const char*, const char*> rows[] = {
      {"no such element", "NoSuchElement"},     {"stale element reference", "Stale"},
      {"timeout", "Timeout"},                   {"script timeout", "Timeout"},
      {"no such frame", "NoSuchFrame"},         {"no such window", "NoSuchWindow"},
      {"invalid argument", "InvalidArgument"},  {"invalid session id", "InvalidSessionId"},
      {"session not created", "SessionNotCreated"}, {"javascript error", "Javascript"},
      {"unknown error", "WebDriver:unknown error"}, {"unsupported operation", "WebDriver:unsupported operation"},
  };
  for (const auto& [code, type] : rows) EXPECT_EQ(code_of(code), type) << code;
  // Every browser failure is a MarletException.
  EXPECT_THROW(throw_w3c_error("no such element", ""), marlet::MarletException);
}

TEST(HttpRouteTests, CommandsMapToMethodsPathsAndBodies) {
  auto r = HttpTransport::route("WebDriver:FindElement", {{"using", "xpath"}, {"value", "//a"}, {"element", "e1"}}, "s1");
  EXPECT_STREQ(r.method, "POST");
  EXPECT_EQ(r.path, "/session/s1/element/e1/element");
  EXPECT_EQ(r.body, (Json{{"using", "xpath"}, {"value", "//a"}}));
  r = HttpTransport::route("WebDriver:SwitchToFrame", {{"element", "f1"}}, "s1");
  EXPECT_EQ(r.body, (Json{{"id", {{kElementKey, "f1"}}}}));
  r = HttpTransport::route("WebDriver:SwitchToFrame", {{"id", nullptr}}, "s1");
  EXPECT_EQ(r.body, (Json{{"id", nullptr}}));
  r = HttpTransport::route("WebDriver:GetElementText", {{"id", "e2"}}, "s1");
  EXPECT_STREQ(r.method, "GET");
  EXPECT_EQ(r.path, "/session/s1/element/e2/text");
  EXPECT_TRUE(r.body.is_null());
  r = HttpTransport::route("WebDriver:NewSession", {{"acceptInsecureCerts", true}}, "");
  EXPECT_EQ(r.body, (Json{{"capabilities", {{"alwaysMatch", {{"acceptInsecureCerts", true}}}}}}));
  EXPECT_THROW(HttpTransport::route("WebDriver:Teleport", Json::object(), "s1"), InvalidArgumentException);
}
