#include "webdriver/detail/frame_codec.h"

#include "webdriver/errors.h"

namespace webdriver {

namespace {
constexpr size_t kMaxFrame = 512u * 1024u * 1024u;  // screenshots of large pages stay well below
}

std::string encode_frame(const Json& message) {
  std::string body = message.dump(-1, ' ', false, Json::error_handler_t::replace);
  return std::to_string(body.size()) + ":" + body;
}

std::optional<Json> FrameDecoder::next() {
  auto colon = buffer_.find(':');
  if (colon == std::string::npos) {
    if (buffer_.size() > 20) throw ProtocolException("frame length prefix too long", "protocol error");
    return std::nullopt;
  }
  if (colon == 0 || colon > 12) throw ProtocolException("bad frame length prefix", "protocol error");
  size_t length = 0;
  for (size_t i = 0; i < colon; ++i) {
    char c = buffer_[i];
    if (c < '0' || c > '9') throw ProtocolException("bad frame length prefix", "protocol error");
    length = length * 10 + static_cast<size_t>(c - '0');
  }
  if (length > kMaxFrame) throw ProtocolException("frame too large", "protocol error");
  if (buffer_.size() - colon - 1 < length) return std::nullopt;
  std::string body = buffer_.substr(colon + 1, length);
  buffer_.erase(0, colon + 1 + length);
  Json message = Json::parse(body, nullptr, false);
  if (message.is_discarded()) throw ProtocolException("malformed JSON in frame", "protocol error");
  return message;
}

}  // namespace webdriver
