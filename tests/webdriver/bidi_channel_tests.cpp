// The BiDi channel against a scripted WebSocket peer on loopback: answers matched to
// their commands, messages in fragments and of megabytes, an event storm handed to
// subscribers in order on the channel's thread, and every way a channel ends (a cut, a
// close from either side, a time-out) failing the waiting commands at once.
#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <set>
#include <thread>

#include "webdriver/bidi.h"
#include "webdriver/detail/websocket_client.h"
#include "webdriver/errors.h"
#include "webdriver/session.h"
#include "tests/webdriver/ws_fixture_server.h"

using namespace webdriver;
using webdriver::testing::WsFixtureServer;
using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;
using ::testing::Property;
using ::testing::Throws;

namespace {

// Waits for a condition (bounded) while another thread makes it true.
template <class F>
bool eventually(F f, std::chrono::milliseconds bound = 20s) {
  auto deadline = SteadyClock::now() + bound;
  while (!f()) {
    if (SteadyClock::now() > deadline) return false;
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

int entries(const char* dir) {
  int n = 0;
  if (DIR* d = opendir(dir)) {
    while (readdir(d)) ++n;
    closedir(d);
  }
  return n;
}

}  // namespace

TEST(BidiChannelTests, AnswersMatchTheirCommandsAndErrorsKeepTheirCode) {
  WsFixtureServer server;
  auto channel = BidiChannel::open(server.url());
  EXPECT_TRUE(channel->connected());
  EXPECT_EQ(channel->url(), server.url());
  EXPECT_EQ(channel->command("echo", {{"a", 1}}), Json({{"a", 1}}));

  // Answers come back to the thread that asked, however the commands interleave.
  std::vector<std::future<Json>> asks;
  for (int i = 0; i < 8; ++i)
    asks.push_back(std::async(std::launch::async, [&, i] { return channel->command("echo", {{"i", i}}); }));
  for (int i = 0; i < 8; ++i) EXPECT_EQ(asks[i].get(), Json({{"i", i}}));

  EXPECT_THAT([&] { channel->command("fail", {{"error", "invalid argument"}}); },
              Throws<InvalidArgumentException>(::testing::AllOf(Property(&WebDriverException::error_code, "invalid argument"),
                                                                Property(&std::exception::what, ::testing::HasSubstr("refused")))));
  EXPECT_THAT([&] { channel->command("fail", {{"error", "no such intercept"}}); },
              Throws<WebDriverException>(Property(&WebDriverException::error_code, "no such intercept")));
  EXPECT_THROW(channel->command("silent", Json::object(), 200ms), TimeoutException);
  EXPECT_TRUE(channel->connected()) << "a command that times out leaves the channel as it is";
  EXPECT_EQ(channel->command("echo", {{"after", true}}), Json({{"after", true}}));

  // The browser refuses a handshake with an Origin it was not told to allow.
  EXPECT_FALSE(server.saw_origin());
  EXPECT_EQ(server.last_host(), "127.0.0.1:" + std::to_string(server.port()));
}

TEST(BidiChannelTests, FragmentedAndLargeMessagesArriveWhole) {
  WsFixtureServer server;
  auto channel = BidiChannel::open(server.url());
  Json r = channel->command("fragments", {{"bytes", 300000}, {"piece", 1000}});
  EXPECT_EQ(r["text"].get<std::string>(), std::string(300000, 'x'));
  r = channel->command("fragments", {{"bytes", 10}, {"piece", 1}});
  EXPECT_EQ(r["text"], "xxxxxxxxxx");
  // Megabytes each way, in one frame.
  std::string big(6u << 20, 'y');
  r = channel->command("echo", {{"big", big}});
  EXPECT_EQ(r["big"].get<std::string>().size(), big.size());
  EXPECT_EQ(r["big"], big);
}

TEST(BidiChannelTests, AnEventStormReachesSubscribersInOrderOnTheChannelThread) {
  WsFixtureServer server;
  auto channel = BidiChannel::open(server.url());
  std::mutex m;
  std::vector<int> seen;
  std::set<std::thread::id> threads;
  int network = 0;
  auto logs = channel->add_subscriber(
      [&](const std::string& method, const Json& params) {
        std::lock_guard<std::mutex> lock(m);
        EXPECT_EQ(method, "log.entryAdded");
        seen.push_back(params["n"].get<int>());
        threads.insert(std::this_thread::get_id());
      },
      {"log"});
  channel->add_subscriber([&](const std::string&, const Json&) { ++network; }, {"network.beforeRequestSent"});
  // One that throws spoils nothing for the others.
  channel->add_subscriber([](const std::string&, const Json&) { throw std::runtime_error("subscriber fault"); });
  // One that asks the channel from within its call gets its answer (no deadlock).
  std::atomic<int> asked{0};
  auto asking = channel->add_subscriber([&](const std::string&, const Json& params) {
    if (params["n"] == 0) asked = channel->command("echo", {{"x", 7}})["x"].get<int>();
  });

  const int kEvents = 20000;
  EXPECT_EQ(channel->command("storm", {{"count", kEvents}})["count"], kEvents);
  ASSERT_TRUE(eventually([&] {
    std::lock_guard<std::mutex> lock(m);
    return static_cast<int>(seen.size()) == kEvents;
  }));
  for (int i = 0; i < kEvents; ++i) ASSERT_EQ(seen[i], i);
  EXPECT_EQ(threads.size(), 1u);
  EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
  EXPECT_EQ(network, 0);
  EXPECT_EQ(asked, 7);
  EXPECT_EQ(channel->events_dropped(), 0u);

  // Once removed, a subscriber hears nothing more.
  channel->remove_subscriber(logs);
  channel->remove_subscriber(asking);
  channel->command("storm", {{"count", 100}});
  channel->command("echo");
  std::this_thread::sleep_for(50ms);  // room for a wrong delivery to show; passes either way when right
  std::lock_guard<std::mutex> lock(m);
  EXPECT_EQ(static_cast<int>(seen.size()), kEvents);
}

TEST(BidiChannelTests, ALostOrClosedChannelFailsEveryWaitingCommandAtOnce) {
  {  // The connection is cut while one command waits and another is sent.
    WsFixtureServer server;
    auto channel = BidiChannel::open(server.url());
    auto waiting = std::async(std::launch::async, [&] { return channel->command("silent", Json::object(), 120s); });
    std::this_thread::sleep_for(50ms);
    auto start = SteadyClock::now();
    EXPECT_THROW(channel->command("cut", Json::object(), 120s), ConnectionException);
    EXPECT_THROW(waiting.get(), ConnectionException);
    EXPECT_LT(SteadyClock::now() - start, 10s);
    EXPECT_FALSE(channel->connected());
    EXPECT_EQ(channel->why(), "the connection was lost");
    EXPECT_THROW(channel->command("echo"), ConnectionException);
  }
  {  // The peer closes the channel.
    WsFixtureServer server;
    auto channel = BidiChannel::open(server.url());
    EXPECT_THROW(channel->command("close", Json::object(), 120s), ConnectionException);
    EXPECT_NE(channel->why().find("code 1001"), std::string::npos) << channel->why();
  }
  {  // We close it, from another thread and then from a subscriber of its own.
    WsFixtureServer server;
    auto channel = BidiChannel::open(server.url());
    auto waiting = std::async(std::launch::async, [&] { return channel->command("silent", Json::object(), 120s); });
    std::this_thread::sleep_for(50ms);
    auto start = SteadyClock::now();
    channel->close();
    EXPECT_THROW(waiting.get(), ConnectionException);
    EXPECT_LT(SteadyClock::now() - start, 5s);
    EXPECT_EQ(channel->why(), "the channel was closed");
    channel->close();

    auto again = BidiChannel::open(server.url());
    std::atomic<bool> closed{false};
    again->add_subscriber([&](const std::string&, const Json&) {
      again->close();
      closed = true;
    });
    try {  // answered, or failed by the close, whichever comes first
      again->command("storm", {{"count", 3}});
    } catch (const ConnectionException&) {
    }
    EXPECT_TRUE(eventually([&] { return closed.load(); }));
    EXPECT_FALSE(again->connected());
  }
  // Nobody listening: refused at once, as a typed failure.
  int port;
  {
    WsFixtureServer gone;
    port = gone.port();
  }
  auto start = SteadyClock::now();
  EXPECT_THROW(BidiChannel::open("ws://127.0.0.1:" + std::to_string(port) + "/session/x", 5s), ConnectionException);
  EXPECT_LT(SteadyClock::now() - start, 5s);
}

TEST(BidiChannelTests, OpenAndCloseLeaveNoThreadOrDescriptor) {
  WsFixtureServer server;
  BidiChannel::open(server.url())->command("echo");  // the library's one-time set-up
  int threads = entries("/proc/self/task"), fds = entries("/proc/self/fd");
  for (int i = 0; i < 10; ++i) {
    auto channel = BidiChannel::open(server.url());
    channel->subscribe({"log.entryAdded"});
    channel->command("storm", {{"count", 10}});
    if (i % 2) channel->close();  // else the destructor closes it
  }
  // The fixture's side of each connection lives in this process too and ends a moment
  // after ours (the first one's may still be open when the counts are taken).
  EXPECT_TRUE(eventually([&] { return entries("/proc/self/task") <= threads; }, 5s)) << entries("/proc/self/task");
  EXPECT_TRUE(eventually([&] { return entries("/proc/self/fd") <= fds; }, 5s)) << entries("/proc/self/fd");
}

TEST(BidiChannelTests, WebSocketAddresses) {
  auto a = detail::parse_ws_url("ws://127.0.0.1:9222/session/abc?x=1");
  EXPECT_EQ(a.host, "127.0.0.1");
  EXPECT_EQ(a.port, 9222);
  EXPECT_EQ(a.path, "/session/abc?x=1");
  a = detail::parse_ws_url("ws://[::1]:4444");
  EXPECT_EQ(a.host, "::1");
  EXPECT_EQ(a.port, 4444);
  EXPECT_EQ(a.path, "/");
  EXPECT_EQ(detail::parse_ws_url("ws://grid.example/se/bidi").port, 80);
  EXPECT_THROW(detail::parse_ws_url("wss://127.0.0.1:1/"), InvalidArgumentException);
  EXPECT_THROW(detail::parse_ws_url("ws://127.0.0.1:99999/"), InvalidArgumentException);
}

namespace {

// Starts a session whose browser answers this webSocketUrl (none when null).
class OfferingTransport final : public Transport {
 public:
  explicit OfferingTransport(Json url) : url_(std::move(url)) {}
  Json execute(std::string_view command, const Json&) override {
    if (command != "WebDriver:NewSession") return nullptr;
    Json caps = {{"browserName", "x"}};
    if (!url_.is_null()) caps["webSocketUrl"] = url_;
    return Json{{"sessionId", "s"}, {"capabilities", caps}};
  }

 private:
  Json url_;
};

}  // namespace

TEST(BidiChannelTests, ASessionOpensTheChannelItIsOfferedOrGoesOnWithoutOne) {
  WsFixtureServer server;
  auto session = Session::create(std::make_unique<OfferingTransport>(server.url()), Json::object());
  auto channel = session->bidi();
  ASSERT_TRUE(channel);
  EXPECT_EQ(session->bidi_status(), "WebDriver BiDi channel open at " + server.url());
  EXPECT_EQ(channel->command("echo", {{"k", 1}}), Json({{"k", 1}}));
  session->quit();
  EXPECT_FALSE(session->bidi());
  EXPECT_FALSE(channel->connected());

  const std::string without = "; the classic protocol alone serves this session";
  session = Session::create(std::make_unique<OfferingTransport>(nullptr), Json::object());
  EXPECT_FALSE(session->bidi());
  EXPECT_EQ(session->bidi_status(), "no WebDriver BiDi channel: the browser offered none" + without);
  int port = server.port();
  { WsFixtureServer gone; port = gone.port(); }
  std::string dead = "ws://127.0.0.1:" + std::to_string(port) + "/session/s";
  session = Session::create(std::make_unique<OfferingTransport>(dead), Json::object());
  EXPECT_FALSE(session->bidi());
  EXPECT_EQ(session->bidi_status().rfind("no WebDriver BiDi channel: cannot open " + dead, 0), 0u)
      << session->bidi_status();
}
