// WebBase: the element layer the console operations stand on. It holds the browser
// session and offers lookups, fills, reads and waits by id and XPath, each with the
// keywords and defaults the operations use (click and highlight on by default, `retry`
// attempts `delay` seconds apart).
//
// A failed lookup raises a MarletException subclass (NoSuchElementException of the
// browser client) whose message names the locator; every lookup is bounded by
// `timeout`. A click waits, within that bound too, until the element's document has
// loaded: the browser drops a click on a page it has not yet painted. Highlighting never changes the DOM for good: the `style` attribute is put
// back exactly as it was (absent stays absent).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <optional>
#include <string>
#include <vector>

#include "marlet/log/logger.h"
#include "marlet/utils/gui/web/activity.h"
#include "marlet/utils/gui/web/trace.h"
#include "marlet/utils/time.h"
#include "webdriver/element.h"
#include "webdriver/launcher.h"
#include "webdriver/session.h"

namespace marlet {

using webdriver::Element;

// How the browser is chosen and where pictures go. With nothing set: headless Firefox
// through its built-in remote protocol.
struct BrowserConfig {
  webdriver::LaunchOptions launch;
  std::string screenshot_dir;  // empty: a "screenshots" folder under the temp directory
  std::optional<TraceSettings> trace;  // none: the process's setting (set_process_trace)
};

struct LocateOptions {
  bool click = true;
  bool highlight = true;
  int retry = 1;       // attempts
  double delay = 3;    // seconds between attempts
};

struct QuietOptions {  // locateElementsByXpath's defaults
  bool highlight = false;
  bool click = false;
};

// The longest text the element layer types into a field that is no file input, in
// characters. Typing goes key by key and grows faster than the text (against headless
// Firefox on two busy cores: 1,000 characters in 0.45 s, 4,096 in 3.4 s, 10,000 in 13 s),
// while no console field holds more than a few hundred characters: 1,024 keeps every
// typing step under about a second and still takes four times the longest field.
inline constexpr size_t kLongestTypedText = 1024;

// The number of characters (code points) of a UTF-8 text.
size_t typed_length(const std::string& text);

struct TextOptions {
  int retry = 3;
  bool highlight = false;
};

// Creates the browser session; replaced in unit tests by one that returns a session on
// a scripted fake transport.
class BrowserFactory {
 public:
  virtual ~BrowserFactory() = default;
  virtual std::shared_ptr<webdriver::Session> open(const webdriver::LaunchOptions& options, Clock& clock) = 0;
};

class WebBase {
 public:
  WebBase(BrowserConfig config = {}, std::shared_ptr<Logger> logger = nullptr, Clock* clock = nullptr,
          std::shared_ptr<BrowserFactory> factory = nullptr);
  virtual ~WebBase();  // closes the browser; never throws
  WebBase(const WebBase&) = delete;
  WebBase& operator=(const WebBase&) = delete;

  // Browser lifecycle.
  // True when no browser is open, also when ours was killed or its connection lost.
  bool isClosed() const;
  // The id of our browser's process (of the driver, for a browser behind a driver), or
  // -1 when none is open or the browser is remote.
  int browserPid() const;
  // A subclass may add to a new session (the console driver listens to its events).
  virtual std::shared_ptr<webdriver::Session> openFirefox();
  void close();        // ends the session gracefully (bounded), removes what it made
  void killFirefox();  // ends our browser process at once, by pid

  // Lookups. Each attempt waits up to `timeout` seconds for the element to be present.
  Element locateElementById(const std::string& id, LocateOptions o = {});
  Element locateElementByXpath(const std::string& xpath, LocateOptions o = {});
  std::vector<Element> locateElementsByXpath(const std::string& xpath, QuietOptions o = {});

  // The field holds `value` alone afterwards; a file input takes a path. ValueError for a
  // text longer than kLongestTypedText typed into any other field; for a file input,
  // InvalidArgumentException naming the path when it names a folder or a file that
  // cannot be read here (as the browser refuses a path where nothing stands).
  void fillElementById(const std::string& id, const std::string& value, bool highlight = true);
  void fillElementByXpath(const std::string& xpath, const std::string& value, bool highlight = true);

  std::string getTextById(const std::string& id, TextOptions o = {});
  std::string getTextByXpath(const std::string& xpath, TextOptions o = {});
  std::optional<std::string> getAttributeById(const std::string& id, const std::string& name);
  std::optional<std::string> getAttributeByXpath(const std::string& xpath, const std::string& name);
  void setAttributeByXpath(const std::string& xpath, const std::string& name, const std::string& value);

  // Waits up to `wait` seconds, checking every `poll`, until the element is visible
  // (or, with visibility=false, until it is not). kind: "id", "xpath" or "class".
  // Raises the wait's TimeoutException at the deadline.
  std::optional<Element> waitElement(const std::string& kind, const std::string& locator, double wait,
                                     double poll, bool visibility = true);

  // Waits, at most `timeout` seconds, until the element's document has loaded: a click
  // on a page the browser has not yet painted is lost. Every click of the lookups above
  // waits so; an operation that clicks a browser element of its own calls it first.
  void await_loaded_document(const Element& element);

  // Downloads. A local browser saves into download_dir by itself. A browser on a Grid
  // node saves on the node: the file is fetched from there (the node's managed
  // downloads) into download_dir, under the name `file`. expect_download() comes before
  // the click that starts the download, fetch_download() after it; for a local browser
  // neither does anything. expect_download raises RemoteFileException naming the node,
  // before anything is touched, when the browser is remote and its node does not keep
  // downloads for fetching.
  struct PendingDownload {
    std::string operation;
    std::string file;
    bool remote = false;
    std::vector<std::string> before;  // the node's files before the download
  };
  PendingDownload expect_download(const std::string& operation, const std::string& file);
  // Waits, at most `wait` seconds and polling every second, for a new finished file on
  // the node, and writes it into download_dir; returns the path written ("" for a local
  // browser). RemoteFileException when none appears in time.
  std::string fetch_download(const PendingDownload& pending, double wait = 300);

  // Brings the element into view, scrolling `times` page steps after it.
  void scrollScreen(const std::string& kind, const std::string& locator, int times = 2);

  // Writes a PNG named by time and `operation` into the screenshot folder and logs its
  // path. Best effort: returns the path, or "" when no picture could be taken.
  std::string _screenshot(const std::string& operation = "");

  // Attributes.
  std::shared_ptr<webdriver::Session> browser;
  double timeout = 10;
  std::string download_dir;
  // The operation under way, if the caller says; names pictures taken without a name.
  std::string current_operation;
  // The settle or wait under way, for a watcher on another thread (a progress line).
  Activity activity;

  // ---- the trace of the browser session (trace.h) ----
  // A trace begins when a browser opens, if the object's setting or else the process's
  // asks for one, and ends with that browser; a browser that ends inside an operation
  // keeps its trace open until the operation ends, so that its end is in it.
  // The file of the current or last session's trace; "" when none, or when it was
  // deleted (retain-on-failure, nothing failed).
  std::string trace_path() const;
  // Whether an operation beginning now should tell the trace of itself: a trace is open,
  // or one would begin with a browser it opens.
  bool trace_wanted() const;
  // The operation's bracket, called by whoever runs operations (the Python binding):
  // `secrets` are its passwords, masked from here on in every trace of this object.
  void trace_operation_begin(const std::string& name, const Json& args, const std::vector<std::string>& secrets);
  // error_type empty: it returned `result`; in mode "on" a picture of the page follows
  // unless `picture` is false (an operation that touches no page).
  void trace_operation_end(const Json& result, const std::string& error_type = {},
                           const std::string& message = {}, bool picture = true);

  // Seams.
  Logger& logger() const { return *tee_; }
  void set_logger(std::shared_ptr<Logger> logger) { tee_->target = std::move(logger); }
  Clock& clock() const { return *clock_; }
  const BrowserConfig& config() const { return config_; }
  // The session, or a MarletException "browser is not open" when there is none.
  webdriver::Session& session() const;

 protected:
  void sleep(double seconds) { clock_->sleep_seconds(seconds); }
  // The settle policy a trace records beside each settle; the element layer has none.
  virtual std::string trace_settle_policy() const { return {}; }

 private:
  Element find_once(const webdriver::By& by, const std::string& what);
  Element locate(const webdriver::By& by, const std::string& what, const LocateOptions& o);
  void highlight(const Element& element);
  void fill(Element element, const std::string& value, bool highlight);
  std::string text_with_retry(const webdriver::By& by, const std::string& what, const TextOptions& o);

  void start_trace();
  void end_trace();
  std::shared_ptr<TraceRecorder> open_trace() const;
  void finish_trace(const std::shared_ptr<TraceRecorder>& trace);

  // Every log line goes to the logger and, while a trace is open, into it.
  struct TeeLogger final : Logger {
    explicit TeeLogger(WebBase& owner) : owner(owner) {}
    void log(LogLevel level, const std::string& line) override;
    // The owner's child loggers ("<name>.console", "<name>.settle") are the target's.
    std::shared_ptr<Logger> child(const std::string& suffix) override {
      return target ? target->child(suffix) : nullptr;
    }
    WebBase& owner;
    std::shared_ptr<Logger> target;
  };

  BrowserConfig config_;
  std::shared_ptr<TeeLogger> tee_;
  Clock* clock_;
  std::shared_ptr<BrowserFactory> factory_;

  mutable std::mutex trace_mutex_;  // trace_ and trace_path_, read from other threads
  std::shared_ptr<TraceRecorder> trace_;
  std::string trace_path_;
  std::vector<std::shared_ptr<TraceRecorder>> closing_;  // browser gone, operation under way
  std::vector<std::string> trace_secrets_;
  std::optional<std::pair<std::string, Json>> traced_operation_;  // name and args
  std::uint64_t bidi_token_ = 0;
};

}  // namespace marlet
