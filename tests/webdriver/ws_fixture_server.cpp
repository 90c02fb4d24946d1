#include "tests/webdriver/ws_fixture_server.h"

#include <libwebsockets.h>
#include <sys/socket.h>

#include <cstring>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "webdriver/json.h"

namespace webdriver::testing {

struct WsFixtureServer::Impl {
  struct Frame {
    std::string data;
    int flags;
  };
  // One connection's state (lws keeps it as the per-session user data).
  struct Peer {
    std::string rx;
    std::deque<Frame>* out;
    bool close_after = false;
  };

  lws_context* context = nullptr;
  int port = 0;
  std::thread thread;
  std::atomic<bool> stop{false};
  std::atomic<int> connections{0};
  std::atomic<bool> saw_origin{false};
  mutable std::mutex mutex;
  std::string last_host;

  static void answer(const Json& command, std::deque<Frame>& out, bool& close_after, lws* wsi, bool& cut) {
    Json id = command.value("id", Json());
    std::string method = command.value("method", std::string());
    Json params = command.value("params", Json::object());
    auto whole = [&](const Json& m) { out.push_back({m.dump(), LWS_WRITE_TEXT}); };
    if (method == "echo") {
      whole({{"type", "success"}, {"id", id}, {"result", params}});
    } else if (method == "session.subscribe") {
      whole({{"type", "success"}, {"id", id}, {"result", Json::object()}});
    } else if (method == "script.addPreloadScript") {
      whole({{"type", "success"}, {"id", id}, {"result", {{"script", "preload-1"}}}});
    } else if (method == "fail") {
      whole({{"type", "error"}, {"id", id}, {"error", params.value("error", "unknown error")}, {"message", "refused"}});
    } else if (method == "fragments") {
      std::string text = Json{{"type", "success"}, {"id", id},
                              {"result", {{"text", std::string(params.value("bytes", 0), 'x')}}}}
                             .dump();
      std::size_t piece = params.value("piece", 1000);
      for (std::size_t at = 0; at < text.size(); at += piece) {
        bool first = at == 0, last = at + piece >= text.size();
        int flags = (first ? LWS_WRITE_TEXT : LWS_WRITE_CONTINUATION) | (last ? 0 : LWS_WRITE_NO_FIN);
        out.push_back({text.substr(at, piece), flags});
      }
    } else if (method == "storm") {
      int n = params.value("count", 0);
      for (int i = 0; i < n; ++i)
        whole({{"type", "event"}, {"method", "log.entryAdded"}, {"params", {{"n", i}}}});
      whole({{"type", "success"}, {"id", id}, {"result", {{"count", n}}}});
    } else if (method == "cut") {
      ::shutdown(lws_get_socket_fd(wsi), SHUT_RDWR);
      cut = true;
    } else if (method == "close") {
      close_after = true;
    }
  }

  static int callback(lws* wsi, lws_callback_reasons reason, void* user, void* in, std::size_t len) {
    auto* self = static_cast<Impl*>(lws_context_user(lws_get_context(wsi)));
    auto* peer = static_cast<Peer*>(user);
    switch (reason) {
      case LWS_CALLBACK_ESTABLISHED: {
        new (peer) Peer{{}, new std::deque<Frame>, false};
        self->connections++;
        if (lws_hdr_total_length(wsi, WSI_TOKEN_ORIGIN) > 0) self->saw_origin = true;
        char host[256] = {0};
        lws_hdr_copy(wsi, host, sizeof host, WSI_TOKEN_HOST);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->last_host = host;
        return 0;
      }
      case LWS_CALLBACK_RECEIVE: {
        peer->rx.append(static_cast<const char*>(in), len);
        if (!lws_is_final_fragment(wsi)) return 0;
        Json command = Json::parse(peer->rx, nullptr, false);
        peer->rx.clear();
        bool cut = false;
        answer(command, *peer->out, peer->close_after, wsi, cut);
        if (cut) return -1;
        lws_callback_on_writable(wsi);
        return 0;
      }
      case LWS_CALLBACK_SERVER_WRITEABLE: {
        if (!peer->out->empty()) {
          Frame f = std::move(peer->out->front());
          peer->out->pop_front();
          std::vector<unsigned char> buffer(LWS_PRE + f.data.size());
          std::memcpy(buffer.data() + LWS_PRE, f.data.data(), f.data.size());
          if (lws_write(wsi, buffer.data() + LWS_PRE, f.data.size(), static_cast<lws_write_protocol>(f.flags)) <
              static_cast<int>(f.data.size()))
            return -1;
        }
        if (!peer->out->empty()) {
          lws_callback_on_writable(wsi);
        } else if (peer->close_after) {
          lws_close_reason(wsi, LWS_CLOSE_STATUS_GOINGAWAY, nullptr, 0);
          return -1;
        }
        return 0;
      }
      case LWS_CALLBACK_CLOSED:
        delete peer->out;
        peer->~Peer();
        return 0;
      default:
        return 0;
    }
  }
};

namespace {
const lws_protocols kProtocols[] = {
    {"fixture", WsFixtureServer::Impl::callback, sizeof(WsFixtureServer::Impl::Peer), 0, 0, nullptr, 0},
    {nullptr, nullptr, 0, 0, 0, nullptr, 0},
};
}  // namespace

WsFixtureServer::WsFixtureServer() : impl_(std::make_unique<Impl>()) {
  lws_set_log_level(0, nullptr);
  lws_context_creation_info info;
  std::memset(&info, 0, sizeof info);
  info.options = LWS_SERVER_OPTION_EXPLICIT_VHOSTS;
  info.port = CONTEXT_PORT_NO_LISTEN;
  info.gid = -1;
  info.uid = -1;
  info.user = impl_.get();
  info.fd_limit_per_thread = 64;
  impl_->context = lws_create_context(&info);
  if (!impl_->context) throw std::runtime_error("no WebSocket fixture context");
  info.port = 0;  // the kernel picks
  info.iface = "127.0.0.1";
  info.protocols = kProtocols;
  lws_vhost* vhost = lws_create_vhost(impl_->context, &info);
  if (!vhost) throw std::runtime_error("no WebSocket fixture listener");
  impl_->port = lws_get_vhost_listen_port(vhost);
  Impl* s = impl_.get();
  impl_->thread = std::thread([s] {
    while (!s->stop)
      if (lws_service(s->context, 0) < 0) break;
  });
}

WsFixtureServer::~WsFixtureServer() {
  impl_->stop = true;
  lws_cancel_service(impl_->context);
  impl_->thread.join();
  lws_context_destroy(impl_->context);
}

std::string WsFixtureServer::url() const { return "ws://127.0.0.1:" + std::to_string(impl_->port) + "/session/fixture"; }
int WsFixtureServer::port() const noexcept { return impl_->port; }
int WsFixtureServer::connections() const noexcept { return impl_->connections; }
bool WsFixtureServer::saw_origin() const noexcept { return impl_->saw_origin; }
std::string WsFixtureServer::last_host() const {
  std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->last_host;
}

}  // namespace webdriver::testing
