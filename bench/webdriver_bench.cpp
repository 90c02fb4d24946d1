// Our client against a minimal raw loop of the same protocol messages, in one run:
// 1000 x find_element_by_id, text and title over Firefox's remote protocol and over W3C
// HTTP to chromedriver. Prints milliseconds per command for both and their ratio.
#include <curl/curl.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "webdriver/frame_codec.h"
#include "webdriver/launcher.h"
#include "webdriver/process.h"
#include "webdriver/socket.h"

using namespace webdriver;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kRounds = 1000;

double ms_per_call(const std::function<void()>& call) {
  for (int i = 0; i < 20; ++i) call();  // warm up
  auto start = Clock::now();
  for (int i = 0; i < kRounds; ++i) call();
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count() / kRounds;
}

void report(const char* transport, const char* what, double ours, double raw) {
  std::printf("%-11s %-22s ours %.3f ms   raw %.3f ms   ratio %.3f\n", transport, what, ours, raw, ours / raw);
}

std::string fixture_page() {
  std::string path = (fs::temp_directory_path() / "vorna-bench.html").string();
  std::ofstream(path) << "<title>Bench</title><p id='a'>benchmark text</p>";
  return "file://" + path;
}

// ---- raw Firefox remote protocol: a socket, frames, nothing else ----
struct RawMarionette {
  std::unique_ptr<TcpStream> stream;
  FrameDecoder decoder;
  long long id = 0;
  Json read() {
    while (true) {
      if (auto m = decoder.next()) return *m;
      decoder.feed(stream->read_some(std::chrono::milliseconds(30000)));
    }
  }
  Json call(const char* name, const Json& params) {
    stream->write_all(encode_frame(Json::array({0, ++id, name, params})));
    return read()[3];
  }
};

void bench_marionette(const std::string& url) {
  // Raw loop on a Firefox started by hand.
  std::string profile = (fs::temp_directory_path() / ("vorna-bench-ff-" + std::to_string(::getpid()))).string();
  fs::create_directories(profile);
  std::ofstream(profile + "/user.js") << firefox_prefs(LaunchOptions{});  // the same profile as ours
  double raw_find, raw_text, raw_title;
  {
    ChildProcess firefox({"firefox-esr", "-marionette", "-headless", "-no-remote", "-profile", profile});
    int port = 0;
    for (int i = 0; i < 600 && port == 0; ++i) {
      std::ifstream in(profile + "/MarionetteActivePort");
      if (!(in >> port)) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    RawMarionette raw;
    raw.stream = std::make_unique<TcpStream>("127.0.0.1", port, std::chrono::milliseconds(5000));
    raw.read();  // greeting
    raw.call("WebDriver:NewSession", {{"acceptInsecureCerts", true}});
    raw.call("WebDriver:Navigate", {{"url", url}});
    Json ref = raw.call("WebDriver:FindElement", {{"using", "css selector"}, {"value", "[id=\"a\"]"}})["value"];
    std::string element = ref.begin().value();
    raw_find = ms_per_call([&] { raw.call("WebDriver:FindElement", {{"using", "css selector"}, {"value", "[id=\"a\"]"}}); });
    raw_text = ms_per_call([&] { raw.call("WebDriver:GetElementText", {{"id", element}}); });
    raw_title = ms_per_call([&] { raw.call("WebDriver:GetTitle", Json::object()); });
    raw.call("Marionette:Quit", {{"flags", Json::array({"eForceQuit"})}});
    firefox.stop(std::chrono::milliseconds(5000));
  }
  fs::remove_all(profile);

  auto session = launch(LaunchOptions{});
  session->get(url);
  auto element = session->find_element_by_id("a");
  double find = ms_per_call([&] { session->find_element_by_id("a"); });
  double text = ms_per_call([&] { element.text(); });
  double title = ms_per_call([&] { session->title(); });
  session->quit();
  report("marionette", "find_element_by_id", find, raw_find);
  report("marionette", "text", text, raw_text);
  report("marionette", "title", title, raw_title);
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
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &out);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    if (std::string(method) == "POST") {
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    } else {
      curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
      curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method);
    }
    curl_easy_perform(curl);
    return Json::parse(out, nullptr, false);
  }
};

void bench_http(const std::string& url) {
  double raw_find, raw_text, raw_title;
  {
    ChildProcess driver({"chromedriver", "--port=9593"});
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    RawHttp raw;
    raw.base = "http://127.0.0.1:9593";
    std::string profile = (fs::temp_directory_path() / ("vorna-bench-ch-" + std::to_string(::getpid()))).string();
    Json caps = {{"capabilities", {{"alwaysMatch", {{"goog:chromeOptions", {{"args", Json::array({
        "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
        "--disable-background-networking", "--user-data-dir=" + profile})}}}}}}}};
    std::string sid = raw.call("POST", "/session", caps.dump())["value"]["sessionId"];
    std::string s = "/session/" + sid;
    raw.call("POST", s + "/url", Json{{"url", url}}.dump());
    std::string find_body = Json{{"using", "css selector"}, {"value", "[id=\"a\"]"}}.dump();
    Json ref = raw.call("POST", s + "/element", find_body)["value"];
    std::string element = ref.begin().value();
    raw_find = ms_per_call([&] { raw.call("POST", s + "/element", find_body); });
    raw_text = ms_per_call([&] { raw.call("GET", s + "/element/" + element + "/text"); });
    raw_title = ms_per_call([&] { raw.call("GET", s + "/title"); });
    raw.call("DELETE", s);
    driver.stop(std::chrono::milliseconds(3000));
    fs::remove_all(profile);
  }
  LaunchOptions o;
  o.browser = "chromium";
  o.driver = "chromedriver";
  auto session = launch(o);
  session->get(url);
  auto element = session->find_element_by_id("a");
  double find = ms_per_call([&] { session->find_element_by_id("a"); });
  double text = ms_per_call([&] { element.text(); });
  double title = ms_per_call([&] { session->title(); });
  session->quit();
  report("http", "find_element_by_id", find, raw_find);
  report("http", "text", text, raw_text);
  report("http", "title", title, raw_title);
}

}  // namespace

int main() {
  std::string url = fixture_page();
  std::printf("%d commands each; ratio = ours / raw (target: at most 1.05)\n", kRounds);
  bench_marionette(url);
  bench_http(url);
  return 0;
}
