// Firefox's built-in remote protocol over a byte stream: a greeting, then commands
// [0, id, name, params] answered by [1, id, error, result].
#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include "webdriver/detail/frame_codec.h"
#include "webdriver/detail/socket.h"
#include "webdriver/transport.h"

namespace webdriver {

class MarionetteTransport final : public Transport {
 public:
  // Reads and checks the greeting (applicationType "gecko", marionetteProtocol 3) within
  // `greeting_timeout` (the command time-out when zero).
  MarionetteTransport(std::unique_ptr<ByteStream> stream, std::chrono::milliseconds command_timeout,
                      std::chrono::milliseconds greeting_timeout = std::chrono::milliseconds(0));
  // "WebDriver:DeleteSession" asks Firefox to quit (Marionette:Quit, which ends the
  // session too) within a short bound: the browser belongs to the session.
  // After a lost connection or a broken reply every command raises ConnectionException.
  Json execute(std::string_view command, const Json& params) override;
  // For a browser that is not the session's to end (one started by someone else):
  // "WebDriver:DeleteSession" then only deletes the session and leaves Firefox running.
  void set_quit_on_delete(bool quit) noexcept { quit_on_delete_ = quit; }
  bool broken() const noexcept override { return broken_; }

  // How long deleting the session and quitting may take at most, each.
  static constexpr std::chrono::milliseconds kQuitTimeout{15000};

 private:
  Json round_trip(const std::string& name, const Json& params, std::chrono::milliseconds timeout);
  Json read_message(std::chrono::milliseconds timeout);
  std::unique_ptr<ByteStream> stream_;
  FrameDecoder decoder_;
  std::chrono::milliseconds timeout_;
  long long next_id_ = 1;
  std::atomic<bool> broken_{false};
  bool quit_on_delete_ = true;
};

}  // namespace webdriver
