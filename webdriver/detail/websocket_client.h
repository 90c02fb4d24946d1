// A WebSocket client for the browser's event channel: one connection, its own service
// thread, whole text messages in and out. The library behind it (libwebsockets) stays
// in websocket_client.cpp; nothing else includes it.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace webdriver::detail {

// The parts of a ws:// address. InvalidArgumentException for anything else (wss:// too:
// the browsers and drivers we talk to serve their channel in plain text on loopback).
struct WsAddress {
  std::string host;  // without brackets for an IPv6 literal
  int port = 80;
  std::string path;  // "/" at least, with the query
};
WsAddress parse_ws_url(const std::string& url);

class WebSocketClient {
 public:
  struct Handlers {
    // A whole text message (fragments joined); binary messages are dropped.
    std::function<void(std::string&& text)> on_message;
    // Once, when an open connection ends for any reason (the peer closed it, the
    // connection was cut, close() was called), with a short account of why.
    std::function<void(const std::string& why)> on_closed;
  };

  // Connects and completes the handshake within `timeout`, else ConnectionException.
  // The handshake carries no Origin header: the browser's channel refuses an origin it
  // was not told to allow. Handlers run on the client's own thread, one at a time.
  WebSocketClient(const std::string& url, std::chrono::milliseconds timeout, Handlers handlers);
  ~WebSocketClient();  // close(), never throws
  WebSocketClient(const WebSocketClient&) = delete;
  WebSocketClient& operator=(const WebSocketClient&) = delete;

  // Queues a text message for sending; false once the connection has ended.
  bool send(std::string text);
  // Sends a close frame, waits up to `grace` for the peer's answer, then drops the
  // connection and ends the thread. Safe to call twice and from a handler (it then only
  // asks; the thread ends on its own); never throws.
  void close(std::chrono::milliseconds grace = std::chrono::milliseconds(1000)) noexcept;
  bool open() const noexcept;

  // Messages larger than this end the connection (a runaway peer must not eat memory).
  static constexpr std::size_t kMaxMessage = 256u << 20;

  struct Impl;  // the library's side; defined in the .cpp only

 private:
  std::shared_ptr<Impl> impl_;
};

}  // namespace webdriver::detail
