#include "webdriver/marionette_transport.h"

#include "webdriver/errors.h"

namespace webdriver {

MarionetteTransport::MarionetteTransport(std::unique_ptr<ByteStream> stream, std::chrono::milliseconds command_timeout)
    : stream_(std::move(stream)), timeout_(command_timeout) {
  Json greeting = read_message();
  if (!greeting.is_object() || greeting.value("applicationType", "") != "gecko" ||
      greeting.value("marionetteProtocol", 0) != 3)
    throw ProtocolException("unexpected greeting from the browser: " + greeting.dump(), "protocol error");
}

Json MarionetteTransport::read_message() {
  while (true) {
    if (auto m = decoder_.next()) return *m;
    decoder_.feed(stream_->read_some(timeout_));
  }
}

Json MarionetteTransport::execute(std::string_view command, const Json& params) {
  if (broken_) throw ConnectionException("the connection to the browser was lost", "connection error");
  std::string name(command);
  Json body = params.is_null() ? Json::object() : params;
  if (name == "WebDriver:DeleteSession") {
    name = "Marionette:Quit";
    body = Json{{"flags", Json::array({"eForceQuit"})}};
  }
  long long id = next_id_++;
  try {
    stream_->write_all(encode_frame(Json::array({0, id, name, body})));
    while (true) {
      Json reply = read_message();
      if (!reply.is_array() || reply.size() != 4 || reply[0] != 1)
        throw ProtocolException("malformed reply: " + reply.dump().substr(0, 200), "protocol error");
      if (!reply[1].is_number_integer() || reply[1].get<long long>() != id) continue;  // a late reply to an older command
      const Json& error = reply[2];
      if (!error.is_null()) {
        std::string code = error.is_object() ? error.value("error", "unknown error") : "unknown error";
        std::string message = error.is_object() ? error.value("message", "") : error.dump();
        throw_w3c_error(code, message);
      }
      Json result = reply[3];
      // A primitive or an element comes wrapped as {"value": ...}; lists and maps bare.
      if (result.is_object() && result.size() == 1 && result.contains("value")) return result["value"];
      return result;
    }
  } catch (const ConnectionException&) {
    broken_ = true;
    throw;
  } catch (const ProtocolException&) {
    broken_ = true;
    throw;
  }
}

}  // namespace webdriver
