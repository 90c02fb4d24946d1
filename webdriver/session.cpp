#include "webdriver/session.h"

#include <chrono>
#include <fstream>

#include "webdriver/bidi.h"
#include "webdriver/errors.h"

namespace webdriver {
namespace {

std::vector<std::uint8_t> base64_decode(const std::string& in) {
  static const std::string chars = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::vector<std::uint8_t> out;
  unsigned buffer = 0;
  int bits = 0;
  for (char c : in) {
    if (c == '=' || c == '\n' || c == '\r') continue;
    auto pos = chars.find(c);
    if (pos == std::string::npos) throw ProtocolException("screenshot is not base64", "protocol error");
    buffer = (buffer << 6) | static_cast<unsigned>(pos);
    bits += 6;
    if (bits >= 8) {
      bits -= 8;
      out.push_back(static_cast<std::uint8_t>((buffer >> bits) & 0xff));
    }
  }
  return out;
}

}  // namespace

std::shared_ptr<Session> Session::create(std::unique_ptr<Transport> transport, const Json& capabilities,
                                         std::vector<std::unique_ptr<OwnedResource>> resources, Clock* clock) {
  std::shared_ptr<Session> s(new Session(std::move(transport), std::move(resources), clock));
  try {
    s->commands_.fetch_add(1, std::memory_order_relaxed);
    Json reply = s->transport_->execute("WebDriver:NewSession", capabilities);
    if (reply.is_object() && reply.contains("capabilities")) s->capabilities_ = reply["capabilities"];
  } catch (...) {
    s->kill();  // leave no browser or profile behind when the session cannot start
    throw;
  }
  // The event channel is a bonus: a session that cannot have one goes on without it.
  const std::string without = "; the classic protocol alone serves this session";
  Json url = s->capabilities_.is_object() ? s->capabilities_.value("webSocketUrl", Json()) : Json();
  if (!url.is_string()) {
    s->bidi_status_ = "no WebDriver BiDi channel: the browser offered none" + without;
    return s;
  }
  try {
    s->bidi_ = BidiChannel::open(url.get<std::string>(), kBidiConnectTimeout);
    s->bidi_status_ = "WebDriver BiDi channel open at " + url.get<std::string>();
  } catch (const std::exception& e) {
    s->bidi_status_ = std::string("no WebDriver BiDi channel: ") + e.what() + without;
  }
  return s;
}

std::shared_ptr<BidiChannel> Session::bidi() const {
  std::lock_guard<std::mutex> lock(bidi_mutex_);
  return bidi_;
}

std::string Session::bidi_status() const {
  std::lock_guard<std::mutex> lock(bidi_mutex_);
  return bidi_status_;
}

Session::Session(std::unique_ptr<Transport> transport, std::vector<std::unique_ptr<OwnedResource>> resources,
                 Clock* clock)
    : transport_(std::move(transport)),
      resources_(std::move(resources)),
      clock_(clock ? clock : &process_clock()) {}

Session::~Session() { quit(); }

Json Session::execute(std::string_view command, const Json& params) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (quit_ || killed_) throw InvalidSessionIdException("The browser session has ended", "invalid session id");
  commands_.fetch_add(1, std::memory_order_relaxed);
  if (!observer_) return send(command, params);
  auto started = std::chrono::steady_clock::now();
  auto seconds = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(); };
  try {
    Json answer = send(command, params);
    observer_->command_done(command, params, seconds(), nullptr);
    return answer;
  } catch (const std::exception& e) {
    observer_->command_done(command, params, seconds(), &e);
    throw;
  }
}

// One command on the wire; the caller holds mutex_.
Json Session::send(std::string_view command, const Json& params) {
  try {
    return transport_->execute(command, params);
  } catch (const ConnectionException&) {
    if (transport_->broken()) lost_ = true;
    throw;
  } catch (const ProtocolException&) {
    if (transport_->broken()) lost_ = true;
    throw;
  }
}

void Session::set_command_observer(std::shared_ptr<CommandObserver> observer) {
  std::lock_guard<std::mutex> lock(mutex_);
  observer_ = std::move(observer);
}

void Session::get(const std::string& url) { execute("WebDriver:Navigate", Json{{"url", url}}); }
std::string Session::title() { return execute("WebDriver:GetTitle").get<std::string>(); }
std::string Session::current_url() { return execute("WebDriver:GetCurrentURL").get<std::string>(); }
std::string Session::page_source() { return execute("WebDriver:GetPageSource").get<std::string>(); }

std::vector<std::string> Session::window_handles() {
  return execute("WebDriver:GetWindowHandles").get<std::vector<std::string>>();
}

std::string Session::current_window_handle() { return execute("WebDriver:GetWindowHandle").get<std::string>(); }

void Session::switch_to_window(const std::string& handle) {
  execute("WebDriver:SwitchToWindow", Json{{"handle", handle}});
}

std::vector<std::string> Session::close_window() {
  Json left = execute("WebDriver:CloseWindow");
  return left.is_array() ? left.get<std::vector<std::string>>() : std::vector<std::string>{};
}

// As Selenium: by id, else by name; the message is the name alone, as Selenium raises it.
void Session::switch_to_frame(const std::string& name_or_id) {
  auto found = find_elements(By::id(name_or_id));
  if (found.empty()) found = find_elements(By::name(name_or_id));
  if (found.empty()) throw NoSuchFrameException(name_or_id, "no such frame");
  switch_to_frame(found.front());
}

void Session::switch_to_frame(int index) { execute("WebDriver:SwitchToFrame", Json{{"id", index}}); }

void Session::switch_to_frame(const Element& frame) {
  execute("WebDriver:SwitchToFrame", Json{{"element", frame.id()}});
}

void Session::switch_to_default_content() { execute("WebDriver:SwitchToFrame", Json{{"id", nullptr}}); }

void Session::switch_to_parent_frame() { execute("WebDriver:SwitchToParentFrame"); }

Json Session::execute_script(const std::string& script, const Json& args) {
  return execute("WebDriver:ExecuteScript", Json{{"script", script}, {"args", args}});
}

Element Session::element_from(const Json& reference) {
  if (!reference.is_object() || !reference.contains(kElementKey) || !reference[kElementKey].is_string())
    throw ProtocolException("not an element reference: " + reference.dump(), "protocol error");
  return Element(shared_from_this(), reference[kElementKey].get<std::string>());
}

Element Session::find_element(const By& by) {
  return element_from(execute("WebDriver:FindElement", Json{{"using", by.strategy}, {"value", by.value}}));
}

std::vector<Element> Session::find_elements(const By& by) {
  Json r = execute("WebDriver:FindElements", Json{{"using", by.strategy}, {"value", by.value}});
  std::vector<Element> out;
  if (!r.is_array()) throw ProtocolException("FindElements gave no list: " + r.dump(), "protocol error");
  for (const auto& ref : r) out.push_back(element_from(ref));
  return out;
}

std::string Session::get_screenshot_as_base64() {
  return execute("WebDriver:TakeScreenshot", Json{{"full", false}, {"hash", false}}).get<std::string>();
}

std::vector<std::uint8_t> Session::get_screenshot_as_png() { return base64_decode(get_screenshot_as_base64()); }

bool Session::save_screenshot(const std::string& path) {
  try {
    auto png = get_screenshot_as_png();
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));
    return static_cast<bool>(out);
  } catch (const std::exception&) {
    return false;
  }
}

void Session::quit() noexcept {
  std::vector<std::unique_ptr<OwnedResource>> resources;
  // The channel goes first, with a short close handshake: whoever waits on it is told at
  // once, and the browser is not asked to quit under an open socket.
  std::shared_ptr<BidiChannel> channel;
  {
    std::lock_guard<std::mutex> lock(bidi_mutex_);
    channel.swap(bidi_);
  }
  if (channel) channel->close();
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (quit_) return;
    quit_ = true;
    try {
      commands_.fetch_add(1, std::memory_order_relaxed);
      transport_->execute("WebDriver:DeleteSession", Json::object());
    } catch (...) {
    }
    transport_.reset();
  }
  {
    std::lock_guard<std::mutex> lock(resources_mutex_);
    resources.swap(resources_);
  }
  for (auto it = resources.rbegin(); it != resources.rend(); ++it) (*it)->shutdown();
}

void Session::kill() noexcept {
  // The browser goes first: a command blocked on it then fails at once and frees the wire.
  killed_ = true;
  std::vector<std::unique_ptr<OwnedResource>> resources;
  {
    std::lock_guard<std::mutex> lock(resources_mutex_);
    resources.swap(resources_);
  }
  for (auto it = resources.rbegin(); it != resources.rend(); ++it) (*it)->kill();
  std::shared_ptr<BidiChannel> channel;
  {
    std::lock_guard<std::mutex> lock(bidi_mutex_);
    channel.swap(bidi_);
  }
  if (channel) channel->close(std::chrono::milliseconds(0));  // no handshake with a browser killed
  std::lock_guard<std::mutex> lock(mutex_);
  quit_ = true;
  transport_.reset();
}

bool Session::is_quit() const noexcept { return killed_ || quit_; }

bool Session::alive() noexcept {
  if (is_quit()) return false;
  bool gone = lost_;
  if (!gone) {
    std::lock_guard<std::mutex> lock(resources_mutex_);
    for (auto& r : resources_)
      if (!r->alive()) gone = true;
  }
  if (!gone) return true;
  kill();
  return false;
}

int Session::process_id() noexcept {
  std::lock_guard<std::mutex> lock(resources_mutex_);
  for (auto& r : resources_)
    if (int pid = r->process_id(); pid > 0) return pid;
  return -1;
}

}  // namespace webdriver
