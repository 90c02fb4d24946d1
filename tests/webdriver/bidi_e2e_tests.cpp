// The browser's event channel beside a real session: opened by Firefox through its own
// protocol and by chromedriver, it reports what a page loaded through the classic
// protocol did (a console error, a request its first script sent).
#include <mutex>
#include <thread>

#include "tests/webdriver/e2e_fixture.h"
#include "webdriver/bidi.h"

using namespace webdriver;
using namespace webdriver::testing;
using SteadyClock = std::chrono::steady_clock;

namespace {

template <class F>
bool eventually(F f, std::chrono::seconds bound = std::chrono::seconds(30)) {
  auto deadline = SteadyClock::now() + bound;
  while (!f()) {
    if (SteadyClock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

}  // namespace

template <class Browser>
class BidiE2eTest : public BrowserTest<Browser> {};
TYPED_TEST_SUITE(BidiE2eTest, Browsers, BrowserNames);

TYPED_TEST(BidiE2eTest, TheChannelSeesWhatAPageLoadedThroughTheClassicProtocolDid) {
  auto channel = this->session()->bidi();
  ASSERT_TRUE(channel) << this->browser().bidi_status();
  EXPECT_EQ(channel->url().rfind("ws://127.0.0.1:", 0), 0u) << channel->url();
  EXPECT_EQ(this->browser().bidi_status(), "WebDriver BiDi channel open at " + channel->url());

  std::mutex m;
  std::vector<std::pair<std::string, Json>> seen;
  auto token = channel->add_subscriber([&](const std::string& method, const Json& params) {
    std::lock_guard<std::mutex> lock(m);
    seen.emplace_back(method, params);
  });
  const std::vector<std::string> events = {"log.entryAdded", "network.beforeRequestSent"};
  channel->subscribe(events);
  this->load("bidi.html");
  EXPECT_EQ(this->browser().title(), "bidi");
  auto saw = [&](const std::string& method, const std::string& needle) {
    std::lock_guard<std::mutex> lock(m);
    for (const auto& [name, params] : seen)
      if (name == method && params.dump().find(needle) != std::string::npos) return true;
    return false;
  };
  EXPECT_TRUE(eventually([&] { return saw("log.entryAdded", "bidi-probe"); }));
  EXPECT_TRUE(eventually([&] { return saw("network.beforeRequestSent", "from=first-script"); }));
  EXPECT_TRUE(saw("network.beforeRequestSent", "bidi.html")) << "the document's own request";
  channel->remove_subscriber(token);
  channel->command("session.unsubscribe", Json{{"events", events}});
  EXPECT_EQ(this->browser().find_element_by_id("p").text(), "watched");
}
