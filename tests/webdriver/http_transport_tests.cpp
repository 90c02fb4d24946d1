// The HTTP transport against a scripted local server: W3C error bodies, broken replies,
// a driver that is gone or silent, and one kept-alive connection for many commands.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <thread>

#include <filesystem>
#include <fstream>

#include "webdriver/clock.h"
#include "webdriver/detail/file_upload.h"
#include "webdriver/detail/http_transport.h"
#include "webdriver/detail/zip.h"
#include "webdriver/errors.h"
#include "webdriver/launcher.h"

using namespace webdriver;
using std::chrono::milliseconds;
using ::testing::Property;
using ::testing::Throws;
using ::testing::ThrowsMessage;

namespace {

struct Seen {
  std::string method, path, headers, body;
};

// Answers each request with the next scripted reply on the same connection. A reply of
// "SILENT" answers nothing; "CLOSE" hangs up.
class ScriptedHttpServer {
 public:
  explicit ScriptedHttpServer(std::deque<std::pair<int, std::string>> replies) : replies_(std::move(replies)) {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    ::bind(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a);
    ::listen(fd_, 8);
    ::getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &len);
    port_ = ntohs(a.sin_port);
    thread_ = std::thread([this] { run(); });
  }
  ~ScriptedHttpServer() {
    stop_ = true;
    thread_.join();
    ::close(fd_);
  }
  std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
  std::vector<Seen> seen() {
    std::lock_guard<std::mutex> l(m_);
    return seen_;
  }
  int connections() const { return connections_; }

 private:
  bool readable(int fd) {
    while (!stop_) {
      pollfd p{fd, POLLIN, 0};
      if (::poll(&p, 1, 50) == 1) return true;
    }
    return false;
  }
  void run() {
    while (readable(fd_)) {
      int c = ::accept(fd_, nullptr, nullptr);
      ++connections_;
      std::string in;
      while (true) {
        // Reads on until the head and the body its Content-Length announces are in.
        size_t end = in.find("\r\n\r\n"), length = 0;
        std::string head = in.substr(0, end);
        auto cl = head.find("Content-Length: ");
        if (end != std::string::npos && cl != std::string::npos) length = std::stoul(head.substr(cl + 16));
        if (end == std::string::npos || in.size() < end + 4 + length) {
          char buf[4096];
          if (!readable(c)) break;
          ssize_t n = ::recv(c, buf, sizeof buf, 0);
          if (n <= 0) break;
          in.append(buf, n);
          continue;
        }
        Seen s;
        s.method = head.substr(0, head.find(' '));
        s.path = head.substr(s.method.size() + 1, head.find(' ', s.method.size() + 1) - s.method.size() - 1);
        s.headers = head;
        s.body = in.substr(end + 4, length);
        in.erase(0, end + 4 + length);
        std::pair<int, std::string> r{500, "{}"};
        {
          std::lock_guard<std::mutex> l(m_);
          seen_.push_back(s);
          if (!replies_.empty()) {
            r = replies_.front();
            replies_.pop_front();
          }
        }
        if (r.second == "CLOSE") break;
        if (r.second == "SILENT") {
          readable(c);  // until the client gives up
          break;
        }
        std::string out = "HTTP/1.1 " + std::to_string(r.first) + " X\r\nContent-Type: application/json\r\n" +
                          "Content-Length: " + std::to_string(r.second.size()) + "\r\n\r\n" + r.second;
        ::send(c, out.data(), out.size(), MSG_NOSIGNAL);
      }
      ::close(c);
    }
  }
  int fd_ = -1, port_ = 0;
  std::atomic<bool> stop_{false};
  std::atomic<int> connections_{0};
  std::mutex m_;
  std::deque<std::pair<int, std::string>> replies_;
  std::vector<Seen> seen_;
  std::thread thread_;
};

}  // namespace

TEST(HttpTransportTests, KeepsOneConnectionAndUnwrapsValues) {
  std::string big(1200000, 'x');  // over libcurl's threshold (1 MiB) for asking "100 Continue"
  ScriptedHttpServer server({{200, R"({"value":{"sessionId":"s9","capabilities":{"browserName":"chrome"}}})"},
                             {200, R"({"value":"Title"})"},
                             {200, R"({"value":{"element-6066-11e4-a52e-4f735466cecf":"e1"}})"},
                             {200, R"({"value":null})"},
                             {200, R"({"value":null})"}});
  HttpTransport t(server.url() + "/wd/hub/", milliseconds(5000));
  EXPECT_EQ(t.execute("WebDriver:NewSession", {{"acceptInsecureCerts", true}})["sessionId"], "s9");
  EXPECT_EQ(t.execute("WebDriver:GetTitle", Json::object()), "Title");
  EXPECT_EQ(t.execute("WebDriver:FindElement", {{"using", "css selector"}, {"value", "#a"}}),
            (Json{{kElementKey, "e1"}}));
  // A big body goes out at once: no "Expect: 100-continue" (checked below), which would
  // cost a second's wait for an answer a driver never gives. Timing it would only measure
  // the machine's load.
  t.execute("WebDriver:ExecuteScript", {{"script", big}, {"args", Json::array()}});
  t.execute("WebDriver:DeleteSession", Json::object());
  auto seen = server.seen();
  ASSERT_EQ(seen.size(), 5u);
  EXPECT_EQ(seen[0].path, "/wd/hub/session");
  EXPECT_EQ(Json::parse(seen[0].body), (Json{{"capabilities", {{"alwaysMatch", {{"acceptInsecureCerts", true}}}}}}));
  EXPECT_EQ(seen[1].method + " " + seen[1].path, "GET /wd/hub/session/s9/title");
  EXPECT_TRUE(seen[1].body.empty());
  EXPECT_EQ(seen[3].headers.find("Expect:"), std::string::npos);
  EXPECT_EQ(seen[4].method + " " + seen[4].path, "DELETE /wd/hub/session/s9");
  EXPECT_EQ(server.connections(), 1) << "one kept-alive connection";
}

TEST(HttpTransportTests, ErrorBodiesBecomeTypedErrors) {
  ScriptedHttpServer server({{404, R"({"value":{"error":"no such element","message":"gone","stacktrace":""}})"},
                             {500, R"({"value":"odd"})"},
                             {200, R"({"value":{"error":"x","message":"a script's own map"}})"},
                             {502, "<html>bad gateway</html>"},
                             {200, R"({"value":{"capabilities":{}}})"}});
  HttpTransport t(server.url(), milliseconds(5000));
  EXPECT_THAT([&] { t.execute("WebDriver:FindElement", {{"using", "xpath"}, {"value", "//x"}}); },
              ThrowsMessage<NoSuchElementException>("gone"));
  EXPECT_THAT([&] { t.execute("WebDriver:GetTitle", Json::object()); },
              Throws<WebDriverException>(::testing::AllOf(Property(&WebDriverException::error_code, "unknown error"),
                                                          Property(&std::exception::what, ::testing::HasSubstr("HTTP 500")))));
  EXPECT_EQ(t.execute("WebDriver:ExecuteScript", {{"script", "return x"}, {"args", Json::array()}}),
            (Json{{"error", "x"}, {"message", "a script's own map"}}))
      << "a success reply is a value, whatever it holds";
  EXPECT_THROW(t.execute("WebDriver:GetTitle", Json::object()), ProtocolException);
  EXPECT_THROW(t.execute("WebDriver:NewSession", Json::object()), ProtocolException) << "no session id";
}

TEST(HttpTransportTests, AGoneOrSilentDriverFailsWithinTheBound) {
  int port;
  {
    ScriptedHttpServer gone({});
    port = std::stoi(gone.url().substr(gone.url().rfind(':') + 1));
  }
  HttpTransport refused("http://127.0.0.1:" + std::to_string(port), milliseconds(2000));
  EXPECT_THROW(refused.execute("WebDriver:GetTitle", Json::object()), ConnectionException);

  ScriptedHttpServer server({{0, "SILENT"}, {0, "CLOSE"}});
  HttpTransport t(server.url(), milliseconds(300));
  auto started = std::chrono::steady_clock::now();
  EXPECT_THAT([&] { t.execute("WebDriver:GetTitle", Json::object()); },
              Throws<ConnectionException>(Property(&WebDriverException::error_code, "timeout")));
  EXPECT_LT(std::chrono::steady_clock::now() - started, milliseconds(3000));
  EXPECT_THROW(t.execute("WebDriver:GetTitle", Json::object()), ConnectionException);
}

namespace {

struct Interrupted {};
std::atomic<std::chrono::steady_clock::time_point> g_interrupt_at{};

// The sleep check as the Python binding's behaves once a Ctrl-C has come: it throws.
void interrupt_when_due() {
  if (std::chrono::steady_clock::now() >= g_interrupt_at.load()) throw Interrupted{};
}

struct SleepCheckFor {
  explicit SleepCheckFor(SleepCheck check) { set_sleep_check(check); }
  ~SleepCheckFor() { set_sleep_check(nullptr); }
};

}  // namespace

TEST(HttpTransportTests, AnInterruptEndsTheWaitForALateAnswerAndTheTransportStaysUsable) {
  ScriptedHttpServer server({{0, "SILENT"}, {200, R"({"value":"Title"})"}});
  HttpTransport t(server.url(), milliseconds(30000));
  auto started = std::chrono::steady_clock::now();
  g_interrupt_at = started + milliseconds(200);
  {
    SleepCheckFor check(&interrupt_when_due);
    EXPECT_THROW(t.execute("WebDriver:GetTitle", Json::object()), Interrupted);
  }
  // libcurl calls its progress callback about once a second while nothing moves.
  EXPECT_LT(std::chrono::steady_clock::now() - started, milliseconds(5000)) << "not the 30 s command time-out";
  EXPECT_EQ(t.execute("WebDriver:GetTitle", Json::object()), "Title");
  EXPECT_EQ(server.connections(), 2) << "the interrupted command's connection is not reused";
}

// A session on a Grid URL: what it asks the Grid for (the node's own configuration names
// the browser binary), and a local file for a file input going through the Grid's upload
// endpoint before the input gets the node's path.
TEST(GridSessionTests, ARemoteSessionAsksForChromeAndUploadsFileInputs) {
  namespace fs = std::filesystem;
  fs::path file = fs::temp_directory_path() / ("vorna-grid-upload-" + std::to_string(::getpid()) + ".bin");
  std::ofstream(file, std::ios::binary) << std::string("\x00\x01firmware", 10);
  // The Grid's status first: a node keeps Chrome's downloads for fetching.
  ScriptedHttpServer server({{200, R"({"value":{"ready":true,"nodes":[{"slots":[{"stereotype":
                                 {"browserName":"chrome","se:downloadsEnabled":true}}]}]}})"},
                             {200, R"({"value":{"sessionId":"g1","capabilities":{"browserName":"chrome"}}})"},
                             {200, R"({"value":{"element-6066-11e4-a52e-4f735466cecf":"e1"}})"},
                             {200, R"({"value":"input"})"},
                             {200, R"({"value":"file"})"},
                             {200, R"({"value":"/tmp/upload42/file/fw.bin"})"},
                             {200, R"({"value":null})"},
                             {200, R"({"value":null})"}});
  LaunchOptions o;
  o.browser = "chromium";
  o.driver = "remote";
  o.remote_url = server.url() + "/wd/hub";
  auto session = launch(o);
  EXPECT_TRUE(session->upload_files());
  session->find_element_by_id("file_upload").send_keys(file.string());
  session->quit();
  auto seen = server.seen();
  ASSERT_EQ(seen.size(), 8u);
  EXPECT_EQ(seen[0].method + " " + seen[0].path, "GET /wd/hub/status");
  seen.erase(seen.begin());
  Json caps = Json::parse(seen[0].body)["capabilities"]["alwaysMatch"];
  EXPECT_EQ(caps["se:downloadsEnabled"], true) << "offered by a node, so asked for";
  EXPECT_EQ(caps["browserName"], "chrome") << "what a Grid matches on the node's stereotype";
  EXPECT_EQ(caps["acceptInsecureCerts"], true) << "the console's certificate is self-signed";
  EXPECT_FALSE(caps["goog:chromeOptions"].contains("binary")) << "a path of this machine means nothing on a node";
  Json args = caps["goog:chromeOptions"]["args"];
  EXPECT_NE(std::find(args.begin(), args.end(), "--headless=new"), args.end());
  for (const auto& a : args) EXPECT_EQ(a.get<std::string>().rfind("--user-data-dir", 0), std::string::npos) << a;
  EXPECT_EQ(seen[4].method + " " + seen[4].path, "POST /wd/hub/session/g1/se/file");
  EXPECT_EQ(Json::parse(seen[4].body),
            (Json{{"file", base64_encode(stored_zip(file.filename().string(), std::string("\x00\x01firmware", 10)))}}));
  EXPECT_EQ(seen[5].path, "/wd/hub/session/g1/element/e1/value");
  EXPECT_EQ(Json::parse(seen[5].body)["text"], "/tmp/upload42/file/fw.bin");
  EXPECT_EQ(seen[6].method, "DELETE");
  fs::remove(file);

  // A binary named in the browser map is the user's word for the node: it is sent. A
  // Grid whose nodes keep only Firefox's downloads is not asked for Chrome's.
  ScriptedHttpServer again({{200, R"({"value":{"ready":true,"nodes":[{"slots":[{"stereotype":
                                {"browserName":"firefox","se:downloadsEnabled":true}}]}]}})"},
                            {200, R"({"value":{"sessionId":"g2","capabilities":{}}})"}, {200, R"({"value":null})"}});
  o.remote_url = again.url();
  o.binary = "/opt/chromium/chrome";
  launch(o)->quit();
  Json asked = Json::parse(again.seen()[1].body)["capabilities"]["alwaysMatch"];
  EXPECT_EQ(asked["goog:chromeOptions"]["binary"], "/opt/chromium/chrome");
  EXPECT_FALSE(asked.contains("se:downloadsEnabled"));
}
