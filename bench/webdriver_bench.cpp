// Our client against a minimal raw loop of the same protocol messages, in one run and on
// the same browser: find_element_by_id, text, title, get_attribute and click, 1000 of
// each, over Firefox's remote protocol and over W3C HTTP to chromedriver. The two sides
// interleave in small blocks (20 of each command on one side, then the same on the
// other, the side that goes first alternating) so that drift in the browser and on the machine
// (caches, JIT, GC, other load) falls on both alike. Prints milliseconds per command for
// both and their ratio.
#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include "webdriver/detail/frame_codec.h"
#include "webdriver/detail/http_transport.h"
#include "webdriver/detail/marionette_transport.h"
#include "webdriver/detail/process.h"
#include "webdriver/detail/socket.h"
#include "webdriver/launcher.h"

using namespace webdriver;
namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

int kRounds = 1000;  // of each command, on each side (the first argument, if given)
constexpr int kBlock = 20;     // commands of one kind per block before the other side runs
const std::string kFind = "[id=\"a\"]";
const std::string kAttribute = "class";

enum Command { kFindCmd, kTextCmd, kTitleCmd, kAttributeCmd, kClickCmd, kCommands };
const char* const kNames[kCommands] = {"find_element_by_id", "text", "title", "get_attribute", "click"};

struct Totals {
  double ms[kCommands] = {};  // over all blocks
};

double run_ms(int n, const std::function<void()>& call) {
  auto start = SteadyClock::now();
  for (int i = 0; i < n; ++i) call();
  return std::chrono::duration<double, std::milli>(SteadyClock::now() - start).count();
}

void report_all(const char* transport, const Totals& ours, const Totals& raw) {
  for (int c = 0; c < kCommands; ++c)
    std::printf("%-11s %-20s ours %.3f ms   raw %.3f ms   ratio %.3f\n", transport, kNames[c], ours.ms[c] / kRounds,
                raw.ms[c] / kRounds, ours.ms[c] / raw.ms[c]);
}

// One side of the comparison: one block, `n` of each command in turn, timed per command
// and added to the side's totals.
using Side = std::function<void(int n, Totals& t)>;

// Alternates the two sides block by block, who goes first changing every round.
void interleave(const Side& ours, Totals& ours_t, const Side& raw, Totals& raw_t) {
  for (int done = 0, round = 0; done < kRounds; done += kBlock, ++round) {
    std::fprintf(stderr, "\rblock %d of %d", round + 1, kRounds / kBlock);
    if (round % 2 == 0) {
      ours(kBlock, ours_t);
      raw(kBlock, raw_t);
    } else {
      raw(kBlock, raw_t);
      ours(kBlock, ours_t);
    }
  }
}

// The ExecuteScript parameters our get_attribute sends, taken from a session on a
// recording transport, so that the raw loop sends the very same message.
class ScriptRecorder final : public Transport {
 public:
  explicit ScriptRecorder(Json* out) : out_(out) {}
  Json execute(std::string_view command, const Json& params) override {
    if (command == "WebDriver:ExecuteScript") *out_ = params;
    return nullptr;
  }

 private:
  Json* out_;
};

Json attribute_script_params(const std::string& element) {
  Json params;
  auto s = Session::create(std::make_unique<ScriptRecorder>(&params), Json::object());
  s->element_from(Json{{kElementKey, element}}).get_attribute(kAttribute);
  return params;
}

// Our session, the page loaded and the element found once.
struct OurSide {
  std::shared_ptr<Session> s;
  std::optional<Element> element;
  OurSide(std::shared_ptr<Session> session, const std::string& url) : s(std::move(session)) {
    s->get(url);
    element = s->find_element_by_id("a");
    for (int i = 0; i < 20; ++i) s->title();  // warm up
  }
  void run(Command c, int n, Totals& t) {
    Element& e = *element;
    switch (c) {
      case kFindCmd: t.ms[c] += run_ms(n, [&] { s->find_element_by_id("a"); }); break;
      case kTextCmd: t.ms[c] += run_ms(n, [&] { e.text(); }); break;
      case kTitleCmd: t.ms[c] += run_ms(n, [&] { s->title(); }); break;
      case kAttributeCmd: t.ms[c] += run_ms(n, [&] { e.get_attribute(kAttribute); }); break;
      case kClickCmd: t.ms[c] += run_ms(n, [&] { e.click(); }); break;
      default: break;
    }
  }
};

// ---- raw Firefox remote protocol: a socket, frames, nothing else ----
struct RawMarionette {
  TcpStream stream;
  FrameDecoder decoder;
  long long id = 0;
  explicit RawMarionette(int port) : stream("127.0.0.1", port, milliseconds(5000)) { read(); }  // the greeting
  Json read() {
    while (true) {
      if (auto m = decoder.next()) return *m;
      decoder.feed(stream.read_some(milliseconds(120000)));
    }
  }
  Json call(const char* name, const Json& params) {
    stream.write_all(encode_frame(Json::array({0, ++id, name, params})));
    return read()[3];
  }
};

// Firefox's remote protocol serves one connection at a time, so each side of a block
// opens its own connection and session: the set-up is outside the timed loops.
void bench_marionette(const std::string& url) {
  std::string profile = (fs::temp_directory_path() / ("vorna-bench-ff-" + std::to_string(::getpid()))).string();
  fs::create_directories(profile);
  std::ofstream(profile + "/user.js") << firefox_prefs(LaunchOptions{});  // the profile launch() makes
  ChildProcess firefox({"firefox-esr", "-marionette", "-headless", "-no-remote", "-profile", profile});
  int port = 0;
  for (int i = 0; i < 2400 && port == 0; ++i) {  // up to two minutes on a busy machine
    std::ifstream in(profile + "/MarionetteActivePort");
    if (!(in >> port)) std::this_thread::sleep_for(milliseconds(50));
  }
  const Json find = {{"using", "css selector"}, {"value", kFind}};
  Side raw = [&](int n, Totals& t) {
    RawMarionette m(port);
    m.call("WebDriver:NewSession", {{"acceptInsecureCerts", true}});
    m.call("WebDriver:Navigate", {{"url", url}});
    std::string element = m.call("WebDriver:FindElement", find)["value"].begin().value();
    const Json script = attribute_script_params(element);
    for (int i = 0; i < 20; ++i) m.call("WebDriver:GetTitle", Json::object());
    for (int c = 0; c < kCommands; ++c) switch (c) {
      case kFindCmd: t.ms[c] += run_ms(n, [&] { m.call("WebDriver:FindElement", find); }); break;
      case kTextCmd: t.ms[c] += run_ms(n, [&] { m.call("WebDriver:GetElementText", {{"id", element}}); }); break;
      case kTitleCmd: t.ms[c] += run_ms(n, [&] { m.call("WebDriver:GetTitle", Json::object()); }); break;
      case kAttributeCmd: t.ms[c] += run_ms(n, [&] { m.call("WebDriver:ExecuteScript", script); }); break;
      case kClickCmd: t.ms[c] += run_ms(n, [&] { m.call("WebDriver:ElementClick", {{"id", element}}); }); break;
      default: break;
    }
    m.call("WebDriver:DeleteSession", Json::object());
  };
  Side ours = [&](int n, Totals& t) {
    auto transport = std::make_unique<MarionetteTransport>(std::make_unique<TcpStream>("127.0.0.1", port, milliseconds(5000)),
                                                           milliseconds(120000));
    transport->set_quit_on_delete(false);
    OurSide side(Session::create(std::move(transport), {{"acceptInsecureCerts", true}}), url);
    for (int c = 0; c < kCommands; ++c) side.run(Command(c), n, t);
    side.s->quit();
  };
  Totals ours_t, raw_t;
  interleave(ours, ours_t, raw, raw_t);
  RawMarionette last(port);
  last.call("WebDriver:NewSession", Json::object());
  last.call("Marionette:Quit", {{"flags", Json::array({"eForceQuit"})}});
  firefox.stop(milliseconds(5000));
  fs::remove_all(profile);
  std::fprintf(stderr, "\n");
  report_all("marionette", ours_t, raw_t);
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
  auto session = Session::create(std::make_unique<HttpTransport>(raw.base, milliseconds(120000)), caps(our_profile));

  const Json script = attribute_script_params(element);
  const std::string script_body = script.dump();
  Side raw_side = [&](int n, Totals& t) {
    for (int i = 0; i < 5; ++i) raw.call("GET", s + "/title");  // the connection warm again
    for (int c = 0; c < kCommands; ++c) switch (c) {
      case kFindCmd: t.ms[c] += run_ms(n, [&] { raw.call("POST", s + "/element", find_body); }); break;
      case kTextCmd: t.ms[c] += run_ms(n, [&] { raw.call("GET", s + "/element/" + element + "/text"); }); break;
      case kTitleCmd: t.ms[c] += run_ms(n, [&] { raw.call("GET", s + "/title"); }); break;
      case kAttributeCmd: t.ms[c] += run_ms(n, [&] { raw.call("POST", s + "/execute/sync", script_body); }); break;
      case kClickCmd: t.ms[c] += run_ms(n, [&] { raw.call("POST", s + "/element/" + element + "/click", "{}"); }); break;
      default: break;
    }
  };
  OurSide our(session, url);
  Side our_side = [&](int n, Totals& t) {
    for (int i = 0; i < 5; ++i) session->title();
    for (int c = 0; c < kCommands; ++c) our.run(Command(c), n, t);
  };
  Totals ours, rawt;
  interleave(our_side, ours, raw_side, rawt);
  session->quit();
  raw.call("DELETE", s);
  driver.stop(milliseconds(0));
  fs::remove_all(raw_profile);
  fs::remove_all(our_profile);
  std::fprintf(stderr, "\n");
  report_all("http", ours, rawt);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) kRounds = std::max(kBlock, std::atoi(argv[1]) / kBlock * kBlock);
  std::string page = (fs::temp_directory_path() / ("vorna-bench-" + std::to_string(::getpid()) + ".html")).string();
  std::ofstream(page) << "<title>Bench</title><p id='a' class='bench'>benchmark text</p>";
  std::string url = "file://" + page;
  std::printf("%d of each command on each side, in alternating blocks of %d; ratio = ours / raw (target: at most 1.05)\n",
              kRounds, kBlock);
  bench_marionette(url);
  bench_http(url);
  fs::remove(page);
  return 0;
}
