// A browser session: adds nothing to the transport but the session's bookkeeping, and
// turns results into values (Element, strings, lists). Method names follow Selenium 3's
// Python bindings, since the console operations are written in those terms.
//
// Sessions are shared (std::shared_ptr): every Element keeps its session alive, and
// commands on a session that has quit raise InvalidSessionIdException.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "webdriver/by.h"
#include "webdriver/clock.h"
#include "webdriver/element.h"
#include "webdriver/json.h"
#include "webdriver/transport.h"

namespace webdriver {

class BidiChannel;

// Told of every command a session sent, once its answer came: its name, its parameters,
// how long it took in real seconds, and the failure when it failed. Runs on the thread
// that sent the command, inside the session's command lock: it must be quick, must not
// throw, and must send no command itself.
class CommandObserver {
 public:
  virtual ~CommandObserver() = default;
  virtual void command_done(std::string_view command, const Json& params, double seconds,
                            const std::exception* error) noexcept = 0;
};

// Something the session owns besides the connection: a browser or driver process, a
// temporary profile. shutdown() runs once, after the session is deleted, and must end
// it within a bounded time; it never throws.
class OwnedResource {
 public:
  virtual ~OwnedResource() = default;
  virtual void shutdown() noexcept = 0;
  // Ends it at once (a browser that no longer answers); by default the same as shutdown.
  virtual void kill() noexcept { shutdown(); }
  // The id of the process it stands for, or -1 when it is no process.
  virtual int process_id() noexcept { return -1; }
  // False once a process has exited (killed from outside, crashed); reaps it then.
  virtual bool alive() noexcept { return true; }
};

class Session : public std::enable_shared_from_this<Session> {
 public:
  // Starts a new session on the transport with these capabilities (the flat W3C
  // "alwaysMatch" contents, e.g. {"acceptInsecureCerts": true}). `resources` are shut
  // down in reverse order by quit().
  static std::shared_ptr<Session> create(std::unique_ptr<Transport> transport, const Json& capabilities,
                                         std::vector<std::unique_ptr<OwnedResource>> resources = {},
                                         Clock* clock = nullptr);
  ~Session();  // quit(), never throws
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Navigation and windows.
  void get(const std::string& url);
  std::string title();
  std::string current_url();
  std::string page_source();
  std::vector<std::string> window_handles();
  std::string current_window_handle();
  void switch_to_window(const std::string& handle);
  // Closes the current window; returns the handles left. Switch to one of them next.
  std::vector<std::string> close_window();
  // A name or id: the frame element is found by id, else by name, then switched to
  // (NoSuchFrameException when neither exists).
  void switch_to_frame(const std::string& name_or_id);
  void switch_to_frame(int index);
  void switch_to_frame(const Element& frame);
  void switch_to_default_content();
  void switch_to_parent_frame();

  // Scripts: arguments and results carry elements as W3C references (Element::to_json);
  // element_from() turns such a reference back into an Element.
  Json execute_script(const std::string& script, const Json& args = Json::array());
  Element element_from(const Json& reference);

  // Lookups. find_element raises NoSuchElementException; find_elements may be empty.
  Element find_element(const By& by);
  std::vector<Element> find_elements(const By& by);
  Element find_element_by_id(const std::string& id) { return find_element(By::id(id)); }
  Element find_element_by_xpath(const std::string& x) { return find_element(By::xpath(x)); }
  std::vector<Element> find_elements_by_xpath(const std::string& x) { return find_elements(By::xpath(x)); }
  Element find_element_by_css_selector(const std::string& s) { return find_element(By::css_selector(s)); }
  Element find_element_by_class_name(const std::string& n) { return find_element(By::class_name(n)); }
  Element find_element_by_name(const std::string& n) { return find_element(By::name(n)); }

  // Screenshots of the viewport.
  std::vector<std::uint8_t> get_screenshot_as_png();
  std::string get_screenshot_as_base64();
  bool save_screenshot(const std::string& path);  // false if it could not be written

  // Ends the session, asks the browser to quit, shuts down the owned resources. Safe to
  // call twice; never throws.
  void quit() noexcept;
  // Ends the owned resources at once (kill by pid) without talking to the browser, for a
  // browser that no longer answers. Safe to call twice; never throws.
  void kill() noexcept;
  bool is_quit() const noexcept;
  // The truth about the browser: false once the session has ended, a process it owns
  // has exited, or the connection to the browser is lost; in the last two cases the
  // session is killed on the spot (its other processes and its profile go at once).
  // Cheap (no command is sent) and safe to call while another thread waits on a command.
  bool alive() noexcept;
  // The id of the first process the session started (the browser itself through
  // Firefox's own protocol, else the driver), or -1 (a remote browser).
  int process_id() noexcept;

  // The raw command path, for elements and support helpers.
  Json execute(std::string_view command, const Json& params = Json::object());
  Clock& clock() const noexcept { return *clock_; }
  // How many commands this session has sent to the browser, the new-session and
  // delete-session commands included (one relaxed atomic add per command).
  std::uint64_t command_count() const noexcept { return commands_.load(std::memory_order_relaxed); }
  const Json& capabilities() const noexcept { return capabilities_; }
  // One observer of the commands at a time (null: none); a command without one pays a
  // single check.
  void set_command_observer(std::shared_ptr<CommandObserver> observer);
  // The browser's event channel beside this session (WebDriver BiDi), opened at start
  // when the browser answered a webSocketUrl; null when there is none (none offered, or
  // it could not be reached) and after quit(). The session works the same without it:
  // every command goes over the classic protocol. bidi_status() says which it is.
  std::shared_ptr<BidiChannel> bidi() const;
  std::string bidi_status() const;
  // How long opening the channel may take at start, at most.
  static constexpr std::chrono::milliseconds kBidiConnectTimeout{5000};
  // For a browser on another machine (a Selenium Grid): a local file typed into a file
  // input is uploaded first and the input gets the remote copy (Element::send_keys).
  void set_upload_files(bool on) noexcept { upload_files_ = on; }
  bool upload_files() const noexcept { return upload_files_; }

 private:
  Session(std::unique_ptr<Transport> transport, std::vector<std::unique_ptr<OwnedResource>> resources,
          Clock* clock);
  Json send(std::string_view command, const Json& params);

  mutable std::mutex mutex_;  // one command at a time on the wire
  std::unique_ptr<Transport> transport_;
  // Apart from the wire's lock, so that kill() can end a browser while another thread
  // waits on a command to it.
  std::mutex resources_mutex_;
  std::vector<std::unique_ptr<OwnedResource>> resources_;
  std::atomic<bool> killed_{false};
  Clock* clock_;
  Json capabilities_;
  std::atomic<bool> quit_{false};
  std::atomic<bool> upload_files_{false};
  std::atomic<bool> lost_{false};  // the transport can carry no more commands
  std::atomic<std::uint64_t> commands_{0};
  std::shared_ptr<CommandObserver> observer_;  // under mutex_
  mutable std::mutex bidi_mutex_;
  std::shared_ptr<BidiChannel> bidi_;
  std::string bidi_status_;
};

}  // namespace webdriver
