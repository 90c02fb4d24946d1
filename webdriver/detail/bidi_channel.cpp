#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

#include "webdriver/bidi.h"
#include "webdriver/detail/websocket_client.h"
#include "webdriver/errors.h"

namespace webdriver {
using std::chrono::milliseconds;

struct BidiChannel::Impl {
  struct Pending {
    bool done = false;
    bool ok = false;
    bool lost = false;
    Json result;
    std::string error, message;
  };
  struct Entry {
    Token token;
    Subscriber subscriber;
    std::vector<std::string> methods;
  };

  std::string url;
  milliseconds command_timeout{0};
  std::unique_ptr<detail::WebSocketClient> socket;

  // Commands and their answers.
  mutable std::mutex mutex;
  std::condition_variable answered;
  std::map<long long, std::shared_ptr<Pending>> pending;
  long long next_id = 1;
  bool lost = false;
  std::string why;

  // Events, from the network thread to the dispatch thread.
  std::mutex events_mutex;
  std::condition_variable events_ready;
  std::deque<std::pair<std::string, Json>> events;
  bool stopping = false;
  std::atomic<std::uint64_t> dropped{0};
  std::thread dispatcher;
  std::thread::id dispatcher_id;  // set once at open, read-only after
  std::mutex closing;             // one close() at a time

  std::mutex subscribers_mutex;
  std::vector<Entry> subscribers;
  Token next_token = 1;
  std::mutex delivering;  // held while subscribers run

  // Called on the network thread with each whole message.
  void on_message(std::string&& text) {
    Json m = Json::parse(text, nullptr, false);
    if (!m.is_object()) return;  // not ours to understand; the answers we wait for are objects
    auto type = m.value("type", std::string());
    if (type == "event" || (m.contains("method") && !m.contains("id"))) {
      if (!m.contains("method") || !m["method"].is_string()) return;
      std::lock_guard<std::mutex> lock(events_mutex);
      if (stopping) return;
      if (events.size() >= kMaxQueuedEvents) {
        dropped.fetch_add(1, std::memory_order_relaxed);
        return;
      }
      events.emplace_back(m["method"].get<std::string>(), m.contains("params") ? std::move(m["params"]) : Json());
      events_ready.notify_one();
      return;
    }
    if (!m.contains("id") || !m["id"].is_number_integer()) return;  // an error about no command of ours
    std::lock_guard<std::mutex> lock(mutex);
    auto it = pending.find(m["id"].get<long long>());
    if (it == pending.end()) return;  // a late answer to a command given up on
    Pending& p = *it->second;
    p.done = true;
    if (type == "error" || m.contains("error")) {
      p.error = m.value("error", std::string("unknown error"));
      p.message = m.value("message", std::string());
    } else {
      p.ok = true;
      p.result = m.contains("result") ? std::move(m["result"]) : Json::object();
    }
    answered.notify_all();
  }

  // The channel can carry no more: every command still waiting fails now.
  void lose(const std::string& reason) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      if (lost) return;
      lost = true;
      why = reason;
      for (auto& [id, p] : pending) {
        p->done = true;
        p->lost = true;
      }
    }
    answered.notify_all();
  }

  void dispatch() {
    while (true) {
      std::pair<std::string, Json> event;
      {
        std::unique_lock<std::mutex> lock(events_mutex);
        events_ready.wait(lock, [&] { return stopping || !events.empty(); });
        if (stopping) return;
        event = std::move(events.front());
        events.pop_front();
      }
      std::lock_guard<std::mutex> hold(delivering);
      std::vector<Entry> now;
      {
        std::lock_guard<std::mutex> lock(subscribers_mutex);
        now = subscribers;
      }
      for (const auto& e : now) {
        if (!wants(e.methods, event.first)) continue;
        try {
          e.subscriber(event.first, event.second);
        } catch (...) {
        }
      }
    }
  }

  static bool wants(const std::vector<std::string>& methods, const std::string& method) {
    if (methods.empty()) return true;
    for (const auto& m : methods)
      if (method == m || (method.size() > m.size() && method.compare(0, m.size(), m) == 0 && method[m.size()] == '.'))
        return true;
    return false;
  }
};

std::shared_ptr<BidiChannel> BidiChannel::open(const std::string& url, milliseconds connect_timeout,
                                               milliseconds command_timeout) {
  auto impl = std::make_shared<Impl>();
  impl->url = url;
  impl->command_timeout = command_timeout;
  Impl* raw = impl.get();  // the socket ends (its thread joined) before the Impl does
  impl->socket = std::make_unique<detail::WebSocketClient>(
      url, connect_timeout,
      detail::WebSocketClient::Handlers{[raw](std::string&& text) { raw->on_message(std::move(text)); },
                                        [raw](const std::string& why) { raw->lose(why); }});
  // The dispatch thread keeps the Impl alive: a subscriber may close the channel and
  // drop the last reference to it while the thread is still on its way out.
  impl->dispatcher = std::thread([impl] { impl->dispatch(); });
  impl->dispatcher_id = impl->dispatcher.get_id();
  return std::shared_ptr<BidiChannel>(new BidiChannel(std::move(impl)));
}

BidiChannel::~BidiChannel() { close(); }

Json BidiChannel::command(const std::string& method, const Json& params, milliseconds timeout) {
  Impl& s = *impl_;
  if (timeout.count() <= 0) timeout = s.command_timeout;
  auto p = std::make_shared<Impl::Pending>();
  long long id;
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.lost) throw ConnectionException("the BiDi channel has ended (" + s.why + ")", "connection error");
    id = s.next_id++;
    s.pending[id] = p;
  }
  Json message = {{"id", id}, {"method", method}, {"params", params.is_null() ? Json::object() : params}};
  bool sent = s.socket->send(message.dump(-1, ' ', false, Json::error_handler_t::replace));
  std::unique_lock<std::mutex> lock(s.mutex);
  bool done = sent && s.answered.wait_for(lock, timeout, [&] { return p->done; });
  s.pending.erase(id);
  if (!sent || p->lost) {
    std::string why = s.lost ? s.why : "the connection was lost";
    throw ConnectionException("the BiDi channel has ended (" + why + ") before " + method + " was answered",
                              "connection error");
  }
  if (!done)
    throw TimeoutException(method + " got no answer within " + std::to_string(timeout.count()) + " ms", "timeout");
  lock.unlock();
  if (!p->ok) throw_w3c_error(p->error, method + ": " + p->message);
  return std::move(p->result);
}

void BidiChannel::subscribe(const std::vector<std::string>& events) {
  command("session.subscribe", Json{{"events", events}});
}

BidiChannel::Token BidiChannel::add_subscriber(Subscriber subscriber, std::vector<std::string> methods) {
  std::lock_guard<std::mutex> lock(impl_->subscribers_mutex);
  Token token = impl_->next_token++;
  impl_->subscribers.push_back({token, std::move(subscriber), std::move(methods)});
  return token;
}

void BidiChannel::remove_subscriber(Token token) {
  {
    std::lock_guard<std::mutex> lock(impl_->subscribers_mutex);
    std::erase_if(impl_->subscribers, [&](const Impl::Entry& e) { return e.token == token; });
  }
  // A delivery in progress may still hold it: wait for that one to finish.
  if (std::this_thread::get_id() != impl_->dispatcher_id) std::lock_guard<std::mutex> wait(impl_->delivering);
}

void BidiChannel::close(milliseconds grace) noexcept {
  Impl& s = *impl_;
  // A subscriber that closes while the owner closes too leaves it to the owner, who is
  // about to wait for the dispatch thread to end.
  bool on_dispatcher = std::this_thread::get_id() == s.dispatcher_id;
  std::unique_lock<std::mutex> once(s.closing, std::defer_lock);
  if (on_dispatcher ? !once.try_lock() : (once.lock(), false)) return;
  s.socket->close(grace);
  s.lose("the channel was closed");
  {
    std::lock_guard<std::mutex> lock(s.events_mutex);
    s.stopping = true;
    s.events.clear();
  }
  s.events_ready.notify_all();
  if (!s.dispatcher.joinable()) return;
  if (on_dispatcher) {
    s.dispatcher.detach();  // closed by a subscriber: the thread ends when it returns
    return;
  }
  s.dispatcher.join();
}

bool BidiChannel::connected() const noexcept {
  std::lock_guard<std::mutex> lock(impl_->mutex);
  return !impl_->lost;
}

std::string BidiChannel::why() const {
  std::lock_guard<std::mutex> lock(impl_->mutex);
  return impl_->why;
}

const std::string& BidiChannel::url() const noexcept { return impl_->url; }

std::uint64_t BidiChannel::events_dropped() const noexcept { return impl_->dropped.load(std::memory_order_relaxed); }

}  // namespace webdriver
