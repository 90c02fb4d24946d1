#include "webdriver/detail/websocket_client.h"

#include <libwebsockets.h>

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "webdriver/errors.h"

namespace webdriver::detail {
using std::chrono::milliseconds;

WsAddress parse_ws_url(const std::string& url) {
  const std::string scheme = "ws://";
  if (url.compare(0, scheme.size(), scheme) != 0)
    throw InvalidArgumentException("not a ws:// address: " + url, "invalid argument");
  std::string rest = url.substr(scheme.size());
  auto slash = rest.find('/');
  std::string authority = rest.substr(0, slash);
  WsAddress a;
  a.path = slash == std::string::npos ? "/" : rest.substr(slash);
  std::string port;
  if (!authority.empty() && authority[0] == '[') {
    auto close = authority.find(']');
    if (close == std::string::npos) throw InvalidArgumentException("bad address: " + url, "invalid argument");
    a.host = authority.substr(1, close - 1);
    if (close + 1 < authority.size() && authority[close + 1] == ':') port = authority.substr(close + 2);
  } else {
    auto colon = authority.rfind(':');
    a.host = authority.substr(0, colon);
    if (colon != std::string::npos) port = authority.substr(colon + 1);
  }
  if (!port.empty()) {
    try {
      std::size_t used = 0;
      a.port = std::stoi(port, &used);
      if (used != port.size() || a.port <= 0 || a.port > 65535) throw std::out_of_range(port);
    } catch (const std::exception&) {
      throw InvalidArgumentException("bad port in " + url, "invalid argument");
    }
  }
  if (a.host.empty()) throw InvalidArgumentException("no host in " + url, "invalid argument");
  return a;
}

struct WebSocketClient::Impl {
  enum class State { Connecting, Open, Closed };

  Handlers handlers;
  WsAddress address;
  std::string host_header;
  lws_context* context = nullptr;
  lws* wsi = nullptr;  // touched by the service thread only, once it runs
  std::thread thread;

  mutable std::mutex mutex;
  std::condition_variable changed;
  State state = State::Connecting;
  bool close_asked = false;
  bool context_gone = false;  // the service thread has destroyed the context
  std::string why;            // how the connection ended, or why it never opened
  std::deque<std::string> outbox;
  std::atomic<bool> stop{false};
  std::thread::id thread_id;  // set once the thread runs, read-only after
  std::mutex closing;         // one close() at a time

  // The message being received (service thread only).
  std::string rx;
  bool in_message = false;
  bool rx_binary = false;
  std::string peer_close;  // the peer's close code, when it closed

  // Wakes the service thread; harmless once the context is gone. Caller holds `mutex`.
  void wake_locked() {
    if (!context_gone && context) lws_cancel_service(context);
  }

  void ended(const std::string& reason) {
    bool was_open;
    {
      std::lock_guard<std::mutex> lock(mutex);
      if (state == State::Closed) return;
      was_open = state == State::Open;
      state = State::Closed;
      why = reason;
      outbox.clear();
    }
    stop = true;  // a connection ended is not reopened: the thread's work is done
    changed.notify_all();
    if (was_open && handlers.on_closed) {
      try {
        handlers.on_closed(reason);
      } catch (...) {
      }
    }
  }

  void run() {
    while (!stop)
      if (lws_service(context, 0) < 0) break;
    {
      std::lock_guard<std::mutex> lock(mutex);
      context_gone = true;
    }
    // Destroying the context drops a connection still open (its CLIENT_CLOSED runs here).
    lws_context_destroy(context);
    ended(why_for_local_close());
  }

  std::string why_for_local_close() {
    std::lock_guard<std::mutex> lock(mutex);
    return close_asked ? "the channel was closed" : "the connection was lost";
  }

  int writeable(lws* w) {
    std::optional<std::string> next;
    bool closing, more;
    {
      std::lock_guard<std::mutex> lock(mutex);
      if (!outbox.empty()) {
        next = std::move(outbox.front());
        outbox.pop_front();
      }
      closing = close_asked;
      more = !outbox.empty() || close_asked;
    }
    if (next) {
      // libwebsockets wants room for its frame header before the payload; a partial
      // send is buffered by the library and finished before the next writeable call.
      std::vector<unsigned char> buffer(LWS_PRE + next->size());
      std::memcpy(buffer.data() + LWS_PRE, next->data(), next->size());
      int n = lws_write(w, buffer.data() + LWS_PRE, next->size(), LWS_WRITE_TEXT);
      if (n < static_cast<int>(next->size())) return -1;
      if (more) lws_callback_on_writable(w);
      return 0;
    }
    if (closing) {
      lws_close_reason(w, LWS_CLOSE_STATUS_NORMAL, nullptr, 0);
      return -1;  // sends the close frame; the library waits for the peer's, bounded
    }
    return 0;
  }

  int receive(lws* w, const void* in, std::size_t len) {
    if (!in_message) {
      rx.clear();
      rx_binary = lws_frame_is_binary(w);
      in_message = true;
    }
    if (rx.size() + len > kMaxMessage) {
      std::lock_guard<std::mutex> lock(mutex);
      peer_close = "a message larger than " + std::to_string(kMaxMessage >> 20) + " MiB";
      return -1;
    }
    rx.append(static_cast<const char*>(in), len);
    if (!lws_is_final_fragment(w)) return 0;
    in_message = false;
    std::string message;
    message.swap(rx);
    if (!rx_binary && handlers.on_message) {
      try {
        handlers.on_message(std::move(message));
      } catch (...) {
      }
    }
    return 0;
  }
};

namespace {

int callback(lws* wsi, lws_callback_reasons reason, void* /*user*/, void* in, std::size_t len) {
  lws_context* context = lws_get_context(wsi);
  auto* self = context ? static_cast<WebSocketClient::Impl*>(lws_context_user(context)) : nullptr;
  if (!self) return 0;
  switch (reason) {
    case LWS_CALLBACK_CLIENT_ESTABLISHED: {
      std::lock_guard<std::mutex> lock(self->mutex);
      if (self->state == WebSocketClient::Impl::State::Connecting) self->state = WebSocketClient::Impl::State::Open;
      if (!self->outbox.empty() || self->close_asked) lws_callback_on_writable(wsi);
      self->changed.notify_all();
      return 0;
    }
    case LWS_CALLBACK_CLIENT_CONNECTION_ERROR:
      self->wsi = nullptr;
      self->ended(in ? std::string(static_cast<const char*>(in), strnlen(static_cast<const char*>(in), 512))
                     : "the connection failed");
      return 0;
    case LWS_CALLBACK_CLIENT_RECEIVE:
      return self->receive(wsi, in, len);
    case LWS_CALLBACK_CLIENT_WRITEABLE:
      return self->writeable(wsi);
    case LWS_CALLBACK_WS_PEER_INITIATED_CLOSE: {
      int code = len >= 2 ? (static_cast<const unsigned char*>(in)[0] << 8) | static_cast<const unsigned char*>(in)[1]
                          : 1005;
      std::lock_guard<std::mutex> lock(self->mutex);
      self->peer_close = "the browser closed the channel (code " + std::to_string(code) + ")";
      return 0;  // the library answers the close
    }
    case LWS_CALLBACK_CLIENT_CLOSED: {
      self->wsi = nullptr;
      std::string why;
      {
        std::lock_guard<std::mutex> lock(self->mutex);
        why = !self->peer_close.empty() ? self->peer_close
              : self->close_asked       ? "the channel was closed"
                                        : "the connection was lost";
      }
      self->ended(why);
      return 0;
    }
    case LWS_CALLBACK_EVENT_WAIT_CANCELLED:
      if (self->wsi) {
        std::lock_guard<std::mutex> lock(self->mutex);
        if (self->state == WebSocketClient::Impl::State::Open && (!self->outbox.empty() || self->close_asked))
          lws_callback_on_writable(self->wsi);
      }
      return 0;
    default:
      return 0;
  }
}

const lws_protocols kProtocols[] = {
    {"vorna-bidi", callback, 0, 0, 0, nullptr, 0},
    {nullptr, nullptr, 0, 0, 0, nullptr, 0},
};

}  // namespace

WebSocketClient::WebSocketClient(const std::string& url, milliseconds timeout, Handlers handlers)
    : impl_(std::make_shared<Impl>()) {
  static std::once_flag quiet;
  // Failures come back to us as values; the library's own lines would only clutter stderr.
  std::call_once(quiet, [] { lws_set_log_level(0, nullptr); });
  Impl& s = *impl_;
  s.handlers = std::move(handlers);
  s.address = parse_ws_url(url);
  bool v6 = s.address.host.find(':') != std::string::npos;
  s.host_header = (v6 ? "[" + s.address.host + "]" : s.address.host) + ":" + std::to_string(s.address.port);

  unsigned seconds = static_cast<unsigned>(std::max<long long>(1, (timeout.count() + 999) / 1000));
  lws_context_creation_info info;
  std::memset(&info, 0, sizeof info);
  info.port = CONTEXT_PORT_NO_LISTEN;
  info.protocols = kProtocols;
  info.user = impl_.get();
  info.gid = -1;
  info.uid = -1;
  info.fd_limit_per_thread = 16;  // one connection and the library's wake-up pipe
  info.connect_timeout_secs = seconds;
  info.timeout_secs = seconds;
  s.context = lws_create_context(&info);
  if (!s.context) throw ConnectionException("cannot set up a WebSocket client for " + url, "connection error");

  lws_client_connect_info ci;
  std::memset(&ci, 0, sizeof ci);
  ci.context = s.context;
  ci.address = s.address.host.c_str();
  ci.port = s.address.port;
  ci.path = s.address.path.c_str();
  ci.host = s.host_header.c_str();
  ci.origin = nullptr;    // no Origin header
  ci.protocol = nullptr;  // no subprotocol asked
  ci.pwsi = &s.wsi;
  lws_client_connect_via_info(&ci);
  auto impl = impl_;
  s.thread = std::thread([impl] { impl->run(); });
  s.thread_id = s.thread.get_id();

  std::unique_lock<std::mutex> lock(s.mutex);
  bool settled = s.changed.wait_for(lock, timeout, [&] { return s.state != Impl::State::Connecting; });
  std::string why = s.why;
  bool opened = s.state == Impl::State::Open;
  lock.unlock();
  if (!opened) {
    close(milliseconds(0));
    throw ConnectionException(settled ? "cannot open " + url + ": " + why
                                      : "no WebSocket handshake with " + url + " within " +
                                            std::to_string(timeout.count()) + " ms",
                              "connection error");
  }
}

WebSocketClient::~WebSocketClient() { close(); }

bool WebSocketClient::send(std::string text) {
  std::lock_guard<std::mutex> lock(impl_->mutex);
  if (impl_->state != Impl::State::Open || impl_->close_asked) return false;
  impl_->outbox.push_back(std::move(text));
  impl_->wake_locked();
  return true;
}

void WebSocketClient::close(milliseconds grace) noexcept {
  Impl& s = *impl_;
  bool on_thread = std::this_thread::get_id() == s.thread_id;
  std::unique_lock<std::mutex> once(s.closing, std::defer_lock);
  if (on_thread ? !once.try_lock() : (once.lock(), false)) return;
  {
    std::unique_lock<std::mutex> lock(s.mutex);
    if (s.state == Impl::State::Open && !s.close_asked) {
      s.close_asked = true;
      s.wake_locked();
    }
    if (grace.count() > 0 && !on_thread)
      s.changed.wait_for(lock, grace, [&] { return s.state == Impl::State::Closed; });
    s.stop = true;
    s.wake_locked();
  }
  if (!s.thread.joinable()) return;
  if (on_thread) {
    s.thread.detach();  // called from a handler: the loop ends when the handler returns
    return;
  }
  s.thread.join();
}

bool WebSocketClient::open() const noexcept {
  std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->state == Impl::State::Open && !impl_->close_asked;
}

}  // namespace webdriver::detail
