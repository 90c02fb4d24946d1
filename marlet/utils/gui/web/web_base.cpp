#include "marlet/utils/gui/web/web_base.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "webdriver/bidi.h"
#include "webdriver/detail/file_upload.h"
#include "webdriver/errors.h"
#include "webdriver/keys.h"
#include "webdriver/support/expected_conditions.h"
#include "webdriver/support/wait.h"

namespace marlet {
namespace fs = std::filesystem;
namespace ec = webdriver::expected_conditions;
using webdriver::By;

namespace {

// Presence is polled this often within one lookup attempt.
constexpr double kLookupPoll = 0.5;
// A document that is still loading is asked again this often before a click.
constexpr double kLoadPoll = 0.1;
constexpr const char* kDocumentState = "return arguments[0].ownerDocument.readyState;";

class LaunchingFactory final : public BrowserFactory {
 public:
  std::shared_ptr<webdriver::Session> open(const webdriver::LaunchOptions& options, Clock& clock) override {
    return webdriver::launch(options, &clock);
  }
};

By by_kind(const std::string& kind, const std::string& locator) {
  if (kind == "id") return By::id(locator);
  if (kind == "xpath") return By::xpath(locator);
  if (kind == "class") return By::class_name(locator);
  throw ValueError("unknown locator kind " + py::repr_text(kind) + ": use 'id', 'xpath' or 'class'");
}

std::string describe(const std::string& kind, const std::string& locator) { return kind + "=" + locator; }

// Outlines the element for a moment with an animation, which touches neither the DOM nor
// the `style` attribute: rules that read `style` and absolute XPaths see the page as it
// was, also while the outline shows and when a click handler restyles the element.
constexpr const char* kHighlightScript = R"JS(
var e = arguments[0];
if (e.animate) { e.animate([{outline: '2px solid red'}, {outline: '2px solid red'}], 300); }
)JS";

std::string safe_name(const std::string& s) {
  std::string out;
  for (char c : s) out += (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-') ? c : '_';
  return out;
}

// Claims a new picture file: `stamp_name.png`, or `stamp-2_name.png` and so on when
// another picture took that name in the same millisecond (many wrappers of one process
// share the folder). Created exclusively, so two threads never write the same file.
fs::path claim_picture(const fs::path& dir, const std::string& stamp, const std::string& name) {
  for (int n = 1; n < 10000; ++n) {
    fs::path file = dir / (stamp + (n > 1 ? "-" + std::to_string(n) : "") + "_" + name + ".png");
    int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd >= 0) {
      ::close(fd);
      return file;
    }
    if (errno != EEXIST) break;
  }
  throw std::runtime_error("cannot create a picture file in " + dir.string());
}

}  // namespace

WebBase::WebBase(BrowserConfig config, std::shared_ptr<Logger> logger, Clock* clock,
                 std::shared_ptr<BrowserFactory> factory)
    : config_(std::move(config)),
      tee_(std::make_shared<TeeLogger>(*this)),
      clock_(clock ? clock : &process_clock()),
      factory_(factory ? std::move(factory) : std::make_shared<LaunchingFactory>()) {
  tee_->target = logger ? std::move(logger) : make_stderr_logger("marlet.utils.gui.web.web_base");
  download_dir = config_.launch.download_dir.empty()
                     ? (fs::temp_directory_path() / "vorna_downloads").string()
                     : config_.launch.download_dir;
}

WebBase::~WebBase() {
  try {
    end_trace();
    for (auto& t : closing_) finish_trace(t);
    if (browser) browser->quit();
  } catch (...) {
  }
}

// Asks the session for the truth: a browser killed from outside or a lost connection
// reads as closed (and is cleaned up there), so that the next login opens a new one.
bool WebBase::isClosed() const { return !browser || !browser->alive(); }

int WebBase::browserPid() const { return browser && !browser->is_quit() ? browser->process_id() : -1; }

std::shared_ptr<webdriver::Session> WebBase::openFirefox() {
  webdriver::LaunchOptions options = config_.launch;
  options.download_dir = download_dir;
  std::error_code ignored;
  if (!download_dir.empty()) fs::create_directories(download_dir, ignored);
  end_trace();  // of a browser that went away by itself
  browser = factory_->open(options, *clock_);
  start_trace();
  return browser;
}

void WebBase::close() {
  end_trace();
  if (browser) browser->quit();
  browser.reset();
}

void WebBase::killFirefox() {
  end_trace();
  if (browser) browser->kill();
  browser.reset();
}

// ---- the trace ----

namespace {

constexpr const char* kTracedEvents[] = {"log.entryAdded", "network.responseCompleted", "network.fetchError"};

struct CommandTap final : webdriver::CommandObserver {
  explicit CommandTap(std::shared_ptr<TraceRecorder> t) : trace(std::move(t)) {}
  void command_done(std::string_view name, const Json& params, double seconds,
                    const std::exception* error) noexcept override {
    try {
      trace->command(name, params, seconds, error);
    } catch (...) {
    }
  }
  std::shared_ptr<TraceRecorder> trace;
};

struct ActivityTap final : ActivityListener {
  ActivityTap(std::shared_ptr<TraceRecorder> t, std::function<std::string()> p)
      : trace(std::move(t)), policy(std::move(p)) {}
  // About to idle: a good moment to write out what the operation did so far.
  void activity_started(const std::string&) noexcept override {
    try {
      trace->flush();
    } catch (...) {
    }
  }
  void activity_ended(const ActivityRecord& record) noexcept override {
    try {
      trace->activity(record, record.kind == "settle" ? policy() : std::string());
    } catch (...) {
    }
  }
  std::shared_ptr<TraceRecorder> trace;
  std::function<std::string()> policy;
};

}  // namespace

void WebBase::TeeLogger::log(LogLevel level, const std::string& line) {
  if (target) target->log(level, line);
  if (auto t = owner.open_trace()) t->log(level, line);
}

std::shared_ptr<TraceRecorder> WebBase::open_trace() const {
  std::lock_guard<std::mutex> lock(trace_mutex_);
  return trace_;
}

std::string WebBase::trace_path() const {
  std::lock_guard<std::mutex> lock(trace_mutex_);
  return trace_path_;
}

bool WebBase::trace_wanted() const {
  return config_.trace || open_trace() || process_trace();
}

void WebBase::start_trace() {
  auto settings = config_.trace ? config_.trace : process_trace();
  if (!settings || !browser) return;
  try {
    const auto& launch = config_.launch;
    Json about = {{"browser", launch.browser}, {"driver", launch.driver}, {"headless", launch.headless},
                  {"bidi", browser->bidi_status()}};
    if (!launch.remote_url.empty()) about["remote_url"] = launch.remote_url;
    auto trace = std::make_shared<TraceRecorder>(*settings, about, trace_secrets_);
    if (traced_operation_) trace->operation_begin(traced_operation_->first, traced_operation_->second);
    browser->set_command_observer(std::make_shared<CommandTap>(trace));
    activity.set_listener(std::make_shared<ActivityTap>(trace, [this] { return trace_settle_policy(); }));
    if (auto channel = browser->bidi()) {
      try {
        std::weak_ptr<TraceRecorder> weak = trace;
        bidi_token_ = channel->add_subscriber(
            [weak](const std::string& method, const Json& params) {
              if (auto t = weak.lock()) t->console(method, params);
            },
            {std::begin(kTracedEvents), std::end(kTracedEvents)});
        channel->subscribe({std::begin(kTracedEvents), std::end(kTracedEvents)});
      } catch (const std::exception& e) {
        logger().warn(std::string("[trace] the browser's messages and requests are not traced: ") + e.what());
      }
    }
    std::lock_guard<std::mutex> lock(trace_mutex_);
    trace_ = std::move(trace);
    trace_path_ = trace_->path();
  } catch (const std::exception& e) {
    logger().warn(std::string("[trace] no trace of this session: ") + e.what());
  }
}

void WebBase::end_trace() {
  std::shared_ptr<TraceRecorder> trace;
  {
    std::lock_guard<std::mutex> lock(trace_mutex_);
    trace = std::move(trace_);
    trace_.reset();
  }
  if (!trace) return;
  activity.set_listener(nullptr);
  if (browser) {
    browser->set_command_observer(nullptr);
    if (auto channel = browser->bidi(); channel && bidi_token_) channel->remove_subscriber(bidi_token_);
  }
  bidi_token_ = 0;
  if (traced_operation_)
    closing_.push_back(std::move(trace));
  else
    finish_trace(trace);
}

void WebBase::finish_trace(const std::shared_ptr<TraceRecorder>& trace) {
  std::string path = trace->path();
  if (trace->finish()) return;
  std::lock_guard<std::mutex> lock(trace_mutex_);
  if (trace_path_ == path) trace_path_.clear();
}

void WebBase::trace_operation_begin(const std::string& name, const Json& args,
                                    const std::vector<std::string>& secrets) {
  auto trace = open_trace();
  for (const auto& secret : secrets) {
    if (secret.empty() || std::find(trace_secrets_.begin(), trace_secrets_.end(), secret) != trace_secrets_.end())
      continue;
    trace_secrets_.push_back(secret);
    if (trace) trace->add_secret(secret);
  }
  traced_operation_.emplace(name, args);
  if (trace) trace->operation_begin(name, args);
}

void WebBase::trace_operation_end(const Json& result, const std::string& error_type, const std::string& message,
                                  bool picture) {
  if (!traced_operation_) return;
  if (auto trace = open_trace()) {
    // The page as the operation left it: in mode "on" after every operation that ended
    // well (a failure took its own picture on the way out).
    if (picture && error_type.empty() && trace->mode() == TraceMode::On && !isClosed()) {
      try {
        trace->picture(traced_operation_->first, browser->get_screenshot_as_png());
      } catch (const std::exception&) {
      }
    }
    trace->operation_end(result, error_type, message);
  }
  for (auto& t : std::exchange(closing_, {})) {
    t->operation_end(result, error_type, message);
    finish_trace(t);
  }
  traced_operation_.reset();
}

WebBase::PendingDownload WebBase::expect_download(const std::string& operation, const std::string& file) {
  PendingDownload pending;
  pending.operation = operation;
  pending.file = file;
  if (config_.launch.driver != "remote") return pending;
  pending.remote = true;
  auto& s = session();
  if (!webdriver::managed_downloads(s))
    throw webdriver::RemoteFileException(
        operation + ": the browser runs on a Selenium Grid node (" + config_.launch.remote_url +
            ") that does not offer managed downloads, so " + file +
            " would stay there; start the node with --enable-managed-downloads true, or run downloads with a "
            "local browser",
        "remote file");
  pending.before = webdriver::remote_download_names(s);
  return pending;
}

namespace {
// What browsers name a download still under way.
bool partial_download(const std::string& name) {
  for (const char* suffix : {".crdownload", ".part", ".tmp"}) {
    std::string_view end(suffix);
    if (name.size() >= end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0) return true;
  }
  return false;
}
}  // namespace

std::string WebBase::fetch_download(const PendingDownload& pending, double wait) {
  if (!pending.remote) return "";
  auto& s = session();
  auto deadline = clock_->now() + webdriver::Clock::Duration(wait);
  while (true) {
    std::vector<std::string> names = webdriver::remote_download_names(s);
    std::string found;
    for (const auto& name : names) {
      if (partial_download(name) || std::find(pending.before.begin(), pending.before.end(), name) != pending.before.end())
        continue;
      if (found.empty() || name == pending.file) found = name;
    }
    if (!found.empty()) {
      std::string content = webdriver::fetch_remote_download(s, found);
      fs::path path = download_dir.empty() ? fs::path(pending.file) : fs::path(download_dir) / pending.file;
      if (!download_dir.empty()) fs::create_directories(download_dir);
      std::ofstream out(path, std::ios::binary | std::ios::trunc);
      out.write(content.data(), static_cast<std::streamsize>(content.size()));
      out.close();
      if (!out) throw std::runtime_error("cannot write the downloaded file " + path.string());
      return path.string();
    }
    if (clock_->now() >= deadline)
      throw webdriver::RemoteFileException(
          pending.operation + ": no new download appeared on the Selenium Grid node (" + config_.launch.remote_url +
              ") within " + py::format("%s", wait) + " seconds",
          "remote file");
    clock_->sleep_seconds(1);
  }
}

webdriver::Session& WebBase::session() const {
  if (browser && !browser->is_quit() && !browser->alive())
    throw MarletException("The browser has gone (its process exited or its connection was lost): log in again");
  if (isClosed()) throw MarletException("The browser is not open: log in or open it first");
  return *browser;
}

Element WebBase::find_once(const By& by, const std::string& what) {
  auto& s = session();
  auto deadline = clock_->now() + Clock::Duration(timeout);
  while (true) {
    try {
      return s.find_element(by);
    } catch (const webdriver::NoSuchElementException&) {
      if (clock_->now() >= deadline)
        throw webdriver::NoSuchElementException(
            py::format("Unable to locate element %s within %s seconds", what, timeout), "no such element",
            std::current_exception());
    }
    clock_->sleep_seconds(kLookupPoll);
  }
}

Element WebBase::locate(const By& by, const std::string& what, const LocateOptions& o) {
  int attempts = o.retry < 1 ? 1 : o.retry;
  if (attempts > 1) webdriver::checked_seconds(o.delay, "delay");  // before the first lookup
  for (int attempt = 1;; ++attempt) {
    try {
      Element element = find_once(by, what);
      if (o.highlight) highlight(element);
      if (o.click) {
        await_loaded_document(element);
        element.click();
      }
      return element;
    } catch (const MarletException&) {
      if (attempt >= attempts) throw;
    }
    clock_->sleep_seconds(o.delay);
  }
}

Element WebBase::locateElementById(const std::string& id, LocateOptions o) {
  return locate(By::id(id), describe("id", id), o);
}

Element WebBase::locateElementByXpath(const std::string& xpath, LocateOptions o) {
  return locate(By::xpath(xpath), describe("xpath", xpath), o);
}

// An element can be found in a page that is still loading: a driver that clicks a tab
// right after the menu loaded the page into the frame finds the new page's tab at once.
// Until the browser first paints that page, it hit-tests a click into the frame element
// of the page around it, and the tab never hears of it. So a click waits until the
// element's document has loaded, for at most the lookup's bound; past it, it clicks
// anyway and the next lookup reports what is missing. A document gone meanwhile (a
// stale element) is left to the click to report.
void WebBase::await_loaded_document(const Element& element) {
  auto& s = session();
  auto deadline = clock_->now() + Clock::Duration(timeout);
  while (true) {
    try {
      Json state = s.execute_script(kDocumentState, Json::array({element.to_json()}));
      if (!state.is_string() || state.get<std::string>() == "complete") return;
    } catch (const webdriver::WebDriverException&) {
      return;
    }
    if (clock_->now() >= deadline) return;
    clock_->sleep_seconds(kLoadPoll);
  }
}

std::vector<Element> WebBase::locateElementsByXpath(const std::string& xpath, QuietOptions o) {
  auto elements = session().find_elements(By::xpath(xpath));
  for (auto& e : elements) {
    if (o.highlight) highlight(e);
    if (o.click) {
      await_loaded_document(e);
      e.click();
    }
  }
  return elements;
}

void WebBase::highlight(const Element& element) {
  // Nobody watches a headless browser: skip the round trip.
  if (config_.launch.headless) return;
  try {
    session().execute_script(kHighlightScript, Json::array({element.to_json()}));
  } catch (const webdriver::StaleElementReferenceException&) {
  }
}

size_t typed_length(const std::string& text) {
  size_t n = 0;
  for (unsigned char c : text) n += (c & 0xC0) != 0x80;
  return n;
}

namespace {

// A path the browser's file input would take but could not upload: a folder, or a file
// this process cannot read. One path per line, as a file input takes several.
void check_upload(const std::string& paths) {
  std::istringstream lines(paths);
  std::string path;
  while (std::getline(lines, path)) {
    std::error_code ec;
    if (path.empty() || !fs::exists(path, ec)) continue;  // the browser's own refusal names it
    if (!fs::is_regular_file(path, ec))
      throw webdriver::InvalidArgumentException("cannot upload " + path + ": it is no regular file",
                                                "invalid argument");
    if (!std::ifstream(path, std::ios::binary))
      throw webdriver::InvalidArgumentException("cannot upload " + path + ": it cannot be read", "invalid argument");
  }
}

}  // namespace

void WebBase::fill(Element element, const std::string& value, bool do_highlight) {
  if (do_highlight) highlight(element);
  auto type = element.get_attribute("type");
  bool file_input = element.tag_name() == "input" && type && *type == "file";
  if (file_input) {
    check_upload(value);
  } else {
    if (typed_length(value) > kLongestTypedText)
      throw ValueError(py::format("a text of %s characters is too long to type; the limit is %s characters",
                                  typed_length(value), kLongestTypedText));
    element.clear();
  }
  element.send_keys(value);
}

void WebBase::fillElementById(const std::string& id, const std::string& value, bool do_highlight) {
  fill(find_once(By::id(id), describe("id", id)), value, do_highlight);
}

void WebBase::fillElementByXpath(const std::string& xpath, const std::string& value, bool do_highlight) {
  fill(find_once(By::xpath(xpath), describe("xpath", xpath)), value, do_highlight);
}

std::string WebBase::text_with_retry(const By& by, const std::string& what, const TextOptions& o) {
  int attempts = o.retry < 1 ? 1 : o.retry;
  for (int attempt = 1;; ++attempt) {
    try {
      Element element = find_once(by, what);
      if (o.highlight) highlight(element);
      return element.text();
    } catch (const MarletException&) {
      if (attempt >= attempts) throw;
    }
    clock_->sleep_seconds(1);
  }
}

std::string WebBase::getTextById(const std::string& id, TextOptions o) {
  return text_with_retry(By::id(id), describe("id", id), o);
}

std::string WebBase::getTextByXpath(const std::string& xpath, TextOptions o) {
  return text_with_retry(By::xpath(xpath), describe("xpath", xpath), o);
}

std::optional<std::string> WebBase::getAttributeById(const std::string& id, const std::string& name) {
  return find_once(By::id(id), describe("id", id)).get_attribute(name);
}

std::optional<std::string> WebBase::getAttributeByXpath(const std::string& xpath, const std::string& name) {
  return find_once(By::xpath(xpath), describe("xpath", xpath)).get_attribute(name);
}

void WebBase::setAttributeByXpath(const std::string& xpath, const std::string& name, const std::string& value) {
  Element element = find_once(By::xpath(xpath), describe("xpath", xpath));
  session().execute_script("arguments[0].setAttribute(arguments[1], arguments[2]);",
                           Json::array({element.to_json(), name, value}));
}

std::optional<Element> WebBase::waitElement(const std::string& kind, const std::string& locator, double wait,
                                            double poll, bool visibility) {
  By by = by_kind(kind, locator);
  session();  // a closed browser fails here, not as a time-out
  webdriver::WebDriverWait waiter(browser, wait, poll);
  ActivityScope shown(activity, "wait", wait, *clock_, current_operation,
                      describe(kind, locator) + (visibility ? "" : " to go"));
  std::string message = py::format("%s not %s after %s seconds", describe(kind, locator),
                                   visibility ? "visible" : "hidden", wait);
  if (visibility) return waiter.until(ec::visibility_of_element_located(by), message).element;
  waiter.until_not(ec::visibility_of_element_located(by), message);
  return std::nullopt;
}

void WebBase::scrollScreen(const std::string& kind, const std::string& locator, int times) {
  Element element = find_once(by_kind(kind, locator), describe(kind, locator));
  // Scrolling can move other content (lazy tables); repeat until the element's box is in
  // the viewport, at most `times` times.
  constexpr const char* kScroll = R"JS(
var e = arguments[0]; e.scrollIntoView({block: 'center'});
var r = e.getBoundingClientRect();
return r.top >= 0 && r.bottom <= (window.innerHeight || document.documentElement.clientHeight);
)JS";
  for (int i = 0; i < (times < 1 ? 1 : times); ++i) {
    Json in_view = session().execute_script(kScroll, Json::array({element.to_json()}));
    if (in_view.is_boolean() && in_view.get<bool>()) break;
  }
}

std::string WebBase::_screenshot(const std::string& operation) {
  try {
    if (isClosed()) {
      logger().warn("[screenshot] no browser open, no picture taken");
      return "";
    }
    fs::path dir = config_.screenshot_dir.empty() ? fs::temp_directory_path() / "vorna_screenshots"
                                                  : fs::path(config_.screenshot_dir);
    fs::create_directories(dir);
    auto png = browser->get_screenshot_as_png();
    std::string label = safe_name(!operation.empty() ? operation : !current_operation.empty() ? current_operation : "screenshot");
    if (auto trace = open_trace()) trace->picture(label, png);
    fs::path file = claim_picture(dir, local_timestamp(), label);
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + file.string());
    logger().info("[screenshot] " + file.string());
    return file.string();
  } catch (const std::exception& e) {
    try {
      logger().warn(std::string("[screenshot] no picture taken: ") + e.what());
    } catch (...) {
    }
    return "";
  }
}

}  // namespace marlet
