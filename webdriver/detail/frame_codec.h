// Firefox's remote protocol frames: "<byte length>:<UTF-8 JSON>". The decoder is fed
// whatever bytes arrive and hands out whole messages; it never blocks.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "webdriver/json.h"

namespace webdriver {

std::string encode_frame(const Json& message);

class FrameDecoder {
 public:
  void feed(std::string_view bytes) { buffer_.append(bytes); }
  // The next whole message, if one has arrived; ProtocolException for a bad length
  // prefix or a body that is not JSON.
  std::optional<Json> next();
  bool has_partial() const { return !buffer_.empty(); }

 private:
  std::string buffer_;
};

}  // namespace webdriver
