// Firefox's built-in remote protocol over a byte stream: a greeting, then commands
// [0, id, name, params] answered by [1, id, error, result].
#pragma once

#include <chrono>
#include <memory>

#include "webdriver/frame_codec.h"
#include "webdriver/socket.h"
#include "webdriver/transport.h"

namespace webdriver {

class MarionetteTransport final : public Transport {
 public:
  // Reads and checks the greeting (applicationType "gecko", marionetteProtocol 3).
  MarionetteTransport(std::unique_ptr<ByteStream> stream, std::chrono::milliseconds command_timeout);
  // "WebDriver:DeleteSession" is answered by asking Firefox to quit: the browser belongs
  // to the session.
  Json execute(std::string_view command, const Json& params) override;

 private:
  Json read_message();
  std::unique_ptr<ByteStream> stream_;
  FrameDecoder decoder_;
  std::chrono::milliseconds timeout_;
  long long next_id_ = 1;
  bool broken_ = false;
};

}  // namespace webdriver
