#include "webdriver/detail/marionette_transport.h"

#include <algorithm>

#include "webdriver/errors.h"

namespace webdriver {

MarionetteTransport::MarionetteTransport(std::unique_ptr<ByteStream> stream, std::chrono::milliseconds command_timeout,
                                         std::chrono::milliseconds greeting_timeout)
    : stream_(std::move(stream)), timeout_(command_timeout) {
  Json greeting = read_message(greeting_timeout.count() > 0 ? greeting_timeout : timeout_);
  if (!greeting.is_object() || greeting.value("applicationType", Json()) != "gecko" ||
      greeting.value("marionetteProtocol", Json()) != 3)
    throw ProtocolException("unexpected greeting from the browser: " + greeting.dump().substr(0, 200),
                            "protocol error");
}

Json MarionetteTransport::read_message(std::chrono::milliseconds timeout) {
  while (true) {
    if (auto m = decoder_.next()) return *m;
    decoder_.feed(stream_->read_some(timeout));
  }
}

Json MarionetteTransport::round_trip(const std::string& name, const Json& params, std::chrono::milliseconds timeout) {
  if (broken_) throw ConnectionException("the connection to the browser was lost", "connection error");
  long long id = next_id_++;
  try {
    stream_->write_all(encode_frame(Json::array({0, id, name, params})));
    while (true) {
      Json reply = read_message(timeout);
      if (!reply.is_array() || reply.size() != 4 || reply[0] != 1)
        throw ProtocolException("malformed reply: " + reply.dump().substr(0, 200), "protocol error");
      // A late reply to a command we gave up on: not ours, keep reading.
      if (!reply[1].is_number_integer() || reply[1].get<long long>() != id) continue;
      const Json& error = reply[2];
      if (!error.is_null()) {
        std::string code = "unknown error", message = error.dump();
        if (error.is_object()) {
          if (error.contains("error") && error["error"].is_string()) code = error["error"].get<std::string>();
          message = error.contains("message") && error["message"].is_string() ? error["message"].get<std::string>()
                                                                                : "";
        }
        throw_w3c_error(code, message);
      }
      const Json& result = reply[3];
      // A primitive or an element comes wrapped as {"value": ...}; lists and maps bare.
      if (result.is_object() && result.size() == 1 && result.contains("value")) return result["value"];
      return result;
    }
  } catch (const ConnectionException&) {
    broken_ = true;
    throw;
  } catch (const ProtocolException&) {
    broken_ = true;  // the stream is out of step: nothing after this can be trusted
    throw;
  }
}

Json MarionetteTransport::execute(std::string_view command, const Json& params) {
  Json body = params.is_null() ? Json::object() : params;
  if (command != "WebDriver:DeleteSession") return round_trip(std::string(command), body, timeout_);
  if (!quit_on_delete_) return round_trip("WebDriver:DeleteSession", body, std::min(timeout_, kQuitTimeout));
  // Firefox takes Marionette:Quit only within a session, and quitting ends the session;
  // deleting it first would leave the browser running until it is killed. Only when
  // quitting is refused is the session deleted on its own.
  auto bound = std::min(timeout_, kQuitTimeout);
  try {
    round_trip("Marionette:Quit", Json{{"flags", Json::array({"eForceQuit"})}}, bound);
  } catch (const ConnectionException&) {
    throw;
  } catch (const ProtocolException&) {
    throw;
  } catch (const WebDriverException&) {
    round_trip("WebDriver:DeleteSession", body, bound);
  }
  broken_ = true;  // the browser is going away; nothing more to say to it
  return nullptr;
}

}  // namespace webdriver
