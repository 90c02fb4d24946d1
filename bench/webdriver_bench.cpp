// Our client against a minimal raw loop of the same protocol messages, in one run and on
// the same browser: 1000 x find_element_by_id, text and title over Firefox's remote
// protocol and over W3C HTTP to chromedriver. The two alternate in blocks so that drift
// in the browser (caches, JIT, GC) falls on both alike. Prints milliseconds per command
// for both and their ratio.
#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "webdriver/frame_codec.h"
#include "webdriver/http_transport.h"
#include "webdriver/launcher.h"
#include "webdriver/marionette_transport.h"
#include "webdriver/process.h"
#include "webdriver/socket.h"

using namespace webdriver;
namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

constexpr int kRounds = 1000;
constexpr int kBlocks = 4;  // each side runs kRounds / kBlocks commands per block
const std::string kFind = "[id=\"a\"]";

struct Totals {
  double find = 0, text = 0, title = 0;  // milliseconds over all blocks
};

double run_ms(int n, const std::function<void()>& call) {
  auto start = SteadyClock::now();
  for (int i = 0; i < n; ++i) call();
  return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

void report(const char* transport, const char* what, double ours, double raw) {
  std::printf("%-11s %-20s ours %.3f ms   raw %.3f ms   ratio %.3f\n", transport, what, ours / kRounds,
              raw / kRounds, ours / raw);
}

void report_all(const char* transport, const Totals& ours, const Totals& raw) {
  report(transport, "find_element_by_id", ours.find, raw.find);
  report(transport, "text", ours.text, raw.text);
  report(transport, "title", ours.title, raw.title);
}

// Times one block of each command through our session.
void our_block(Session& s, const std::string& url, Totals& t, int n) {
  s.get(url);
  auto element = s.find_element_by_id("a");
  for (int i = 0; i < 20; ++i) s.title();  // warm up
  t.find += run_ms(n, [&] { s.find_element_by_id("a"); });
  t.text += run_ms(n, [&] { element.text(); });
  t.title += run_ms(n, [&] { s.title(); });
}

// ---- raw Firefox remote protocol: a socket, frames, nothing else ----
struct RawMarionette {
  TcpStream stream;
  FrameDecoder decoder;
  long long id = 0;
  explicit RawMarionette(int port) : stream("127.0.0.1", port, milliseconds(5000)) { read(); }  // the greeting
  Json read() {
    while (true) {
      if (auto m = decoder.next()) return *m;
      decoder.feed(stream.read_some(milliseconds(30000)));
    }
  }
  Json call(const char* name, const Json& params) {
    stream.write_all(encode_frame(Json::array({0, ++id, name, params})));
    return read()[3];
  }
};

void raw_marionette_block(int port, const std::string& url, Totals& t, int n) {
  RawMarionette raw(port);
  raw.call("WebDriver:NewSession", {{"acceptInsecureCerts", true}});
  raw.call("WebDriver:Navigate", {{"url", url}});
  const Json find = {{"using", "css selector"}, {"value", kFind}};
  std::string element = raw.call("WebDriver:FindElement", find)["value"].begin().value();
  for (int i = 0; i < 20; ++i) raw.call("WebDriver:GetTitle", Json::object());
  t.find += run_ms(n, [&] { raw.call("WebDriver:FindElement", find); });
  t.text += run_ms(n, [&] { raw.call("WebDriver:GetElementText", {{"id", element}}); });
  t.title += run_ms(n, [&] { raw.call("WebDriver:GetTitle", Json::object()); });
  raw.call("WebDriver:DeleteSession", Json::object());
}

void bench_marionette(const std::string& url) {
  std::string profile = (fs::temp_directory_path() / ("vorna-bench-ff-" + std::to_string(::getpid()))).string();
  fs::create_directories(profile);
  std::ofstream(profile + "/user.js") << firefox_prefs(LaunchOptions{});  // the profile launch() makes
  ChildProcess firefox({"firefox-esr", "-marionette", "-headless", "-no-remote", "-profile", profile});
  int port = 0;
  for (int i = 0; i < 600 && port == 0; ++i) {
    std::ifstream in(profile + "/MarionetteActivePort");
    if (!(in >> port)) std::this_thread::sleep_for(milliseconds(50));
  }
  Totals ours, raw;
  // One connection at a time: each block opens its own and ends its session.
  for (int b = 0; b < kBlocks; ++b) {
    raw_marionette_block(port, url, raw, kRounds / kBlocks);
    auto transport = std::make_unique<MarionetteTransport>(std::make_unique<TcpStream>("127.0.0.1", port, milliseconds(5000)),
                                                           milliseconds(30000));
    transport->set_quit_on_delete(false);
    auto session = Session::create(std::move(transport), {{"acceptInsecureCerts", true}});
    our_block(*session, url, ours, kRounds / kBlocks);
    session->quit();
  }
  RawMarionette last(port);
  last.call("WebDriver:NewSession", Json::object());
  last.call("Marionette:Quit", {{"flags", Json::array({"eForceQuit"})}});
  firefox.stop(milliseconds(5000));
  fs::remove_all(profile);
  report_all("marionette", ours, raw);
}

// ---- raw W3C HTTP: one kept-alive curl handle, hand-written requests ----
size_t collect(char* d, size_t s, size_t n, void* out) {
  static_cast<std::string*>(out)->append(d, s * n);
  return s * n;
}

struct RawHttp {
  CURL* curl = curl_easy_init();
  std::string base;
  ~RawHttp() { curl_easy_cleanup(curl); }
  Json call(const char* method, const std::string& path, const std::string& body = "") {
    std::string out;
    curl_easy_setopt(curl, CURLOPT_URL, (base + path).c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &out);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 30000L);
    if (std::string(method) == "POST") {
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    } else {
      curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
    }
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method);
    curl_easy_perform(curl);
    return Json::parse(out, nullptr, false);
  }
};

int free_port() {
  int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof a;
  ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
  ::close(fd);
  return ntohs(a.sin_port);
}

void bench_http(const std::string& url) {
  int port = free_port();
  ChildProcess driver({"chromedriver", "--port=" + std::to_string(port)});
  RawHttp raw;
  raw.base = "http://127.0.0.1:" + std::to_string(port);
  for (int i = 0; i < 200 && raw.call("GET", "/status").is_discarded(); ++i) std::this_thread::sleep_for(milliseconds(50));

  // Two sessions side by side in the one driver, each with its own browser and profile.
  std::string raw_profile = (fs::temp_directory_path() / ("vorna-bench-raw-" + std::to_string(::getpid()))).string();
  std::string our_profile = (fs::temp_directory_path() / ("vorna-bench-our-" + std::to_string(::getpid()))).string();
  auto caps = [](const std::string& profile) {
    return Json{{"acceptInsecureCerts", true},
                {"goog:chromeOptions",
                 {{"args", Json::array({"--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                                        "--disable-background-networking", "--user-data-dir=" + profile})}}}};
  };
  std::string sid =
      raw.call("POST", "/session", Json{{"capabilities", {{"alwaysMatch", caps(raw_profile)}}}}.dump())["value"]["sessionId"];
  std::string s = "/session/" + sid;
  raw.call("POST", s + "/url", Json{{"url", url}}.dump());
  std::string find_body = Json{{"using", "css selector"}, {"value", kFind}}.dump();
  std::string element = raw.call("POST", s + "/element", find_body)["value"].begin().value();
  auto session = Session::create(std::make_unique<HttpTransport>(raw.base, milliseconds(30000)), caps(our_profile));

  Totals ours, rawt;
  for (int b = 0; b < kBlocks; ++b) {
    int n = kRounds / kBlocks;
    for (int i = 0; i < 20; ++i) raw.call("GET", s + "/title");
    rawt.find += run_ms(n, [&] { raw.call("POST", s + "/element", find_body); });
    rawt.text += run_ms(n, [&] { raw.call("GET", s + "/element/" + element + "/text"); });
    rawt.title += run_ms(n, [&] { raw.call("GET", s + "/title"); });
    our_block(*session, url, ours, n);
  }
  session->quit();
  raw.call("DELETE", s);
  driver.stop(milliseconds(0));
  fs::remove_all(raw_profile);
  fs::remove_all(our_profile);
  report_all("http", ours, rawt);
}

}  // namespace

int main() {
  std::string page = (fs::temp_directory_path() / ("vorna-bench-" + std::to_string(::getpid()) + ".html")).string();
  std::ofstream(page) << "<title>Bench</title><p id='a'>benchmark text</p>";
  std::string url = "file://" + page;
  std::printf("%d commands each, in %d alternating blocks; ratio = ours / raw (target: at most 1.05)\n", kRounds,
              kBlocks);
  bench_marionette(url);
  bench_http(url);
  fs::remove(page);
  return 0;
}
