// The browser's own account of the page (W3C WebDriver BiDi), on a WebSocket beside the
// classic session: commands with ids and their answers, and events handed to
// subscribers. The operations' commands stay on the classic protocol; this channel is
// for watching what the browser sees (requests, navigations, console messages, the
// messages of a preload script).
//
// Every wait is bounded, and a lost channel never hangs anyone: the commands waiting on
// it fail at once with ConnectionException.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "webdriver/json.h"

namespace webdriver {

class BidiChannel {
 public:
  using Subscriber = std::function<void(const std::string& method, const Json& params)>;
  using Token = std::uint64_t;

  // Opens a channel to `url` (a session's webSocketUrl) within `connect_timeout`;
  // ConnectionException when none can be had. `command_timeout` bounds a command's wait
  // when the command names no bound of its own.
  static std::shared_ptr<BidiChannel> open(const std::string& url,
                                           std::chrono::milliseconds connect_timeout = std::chrono::seconds(5),
                                           std::chrono::milliseconds command_timeout = std::chrono::seconds(30));
  ~BidiChannel();  // close()
  BidiChannel(const BidiChannel&) = delete;
  BidiChannel& operator=(const BidiChannel&) = delete;

  // Sends one command and waits at most `timeout` (the channel's bound when zero) for
  // its answer. The result on success; the browser's error as its WebDriverException
  // subclass (InvalidArgumentException, ...); TimeoutException when no answer comes in
  // time; ConnectionException when the channel is closed or is lost meanwhile. Safe from
  // any thread, a subscriber's included.
  Json command(const std::string& method, const Json& params = Json::object(),
               std::chrono::milliseconds timeout = std::chrono::milliseconds(0));
  // session.subscribe to events or whole modules ("log.entryAdded", "network") in every
  // browsing context. Subscribers see only what the session subscribed to.
  void subscribe(const std::vector<std::string>& events);

  // Calls `subscriber` with each event whose method is named in `methods` (an event name,
  // or a module: "network" takes every "network.*"; everything when empty). Subscribers
  // run on the channel's own dispatch thread, one event at a time, in arrival order; one
  // that throws is skipped for that event. Events wait in a queue of at most
  // kMaxQueuedEvents while subscribers are busy; beyond it they are dropped and counted.
  Token add_subscriber(Subscriber subscriber, std::vector<std::string> methods = {});
  // Once it returns, the subscriber is not called again (from the subscriber itself: after
  // the call in progress).
  void remove_subscriber(Token token);

  // Ends the channel: a close handshake bounded by `grace`, pending commands fail at once,
  // both threads end. Safe to call twice and from a subscriber; never throws.
  void close(std::chrono::milliseconds grace = std::chrono::milliseconds(1000)) noexcept;
  // False once the channel is closed or lost; why() then says how it ended.
  bool connected() const noexcept;
  std::string why() const;
  const std::string& url() const noexcept;
  std::uint64_t events_dropped() const noexcept;

  static constexpr std::size_t kMaxQueuedEvents = 1u << 16;

  struct Impl;  // defined in detail/bidi_channel.cpp

 private:
  explicit BidiChannel(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}
  std::shared_ptr<Impl> impl_;
};

}  // namespace webdriver
