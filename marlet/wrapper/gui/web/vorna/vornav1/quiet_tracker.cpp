#include "marlet/wrapper/gui/web/vorna/vornav1/quiet_tracker.h"

#include <algorithm>

namespace vorna {
using webdriver::Json;

namespace {

std::string text_at(const Json& object, const char* key) {
  if (!object.is_object() || !object.contains(key) || !object[key].is_string()) return "";
  return object[key].get<std::string>();
}

// A request is one hop of its redirect chain: the browser keeps the request's id across
// the hops and counts them.
std::string request_key(const Json& params) {
  std::string id = params.contains("request") ? text_at(params["request"], "request") : "";
  if (id.empty()) return "";
  long long hop = params.contains("redirectCount") && params["redirectCount"].is_number_integer()
                      ? params["redirectCount"].get<long long>()
                      : 0;
  return id + "/" + std::to_string(hop);
}

}  // namespace

std::optional<QuietTracker::TimePoint> QuietTracker::sent_at(const Json& params) const {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = requests_.find(request_key(params));
  if (it == requests_.end()) return std::nullopt;
  return it->second.since;
}

void QuietTracker::set_channel(std::string channel) {
  std::lock_guard<std::mutex> lock(mutex_);
  channel_ = std::move(channel);
}

void QuietTracker::unseen_until(TimePoint t) {
  std::lock_guard<std::mutex> lock(mutex_);
  unseen_until_ = std::max(unseen_until_, t);
}

void QuietTracker::on_event(const std::string& method, const Json& params, TimePoint now) {
  std::lock_guard<std::mutex> lock(mutex_);
  const std::string context = text_at(params, "context");
  if (method == "network.beforeRequestSent") {
    // A request of no page (the browser's own) holds nothing.
    if (context.empty()) return;
    std::string key = request_key(params);
    if (key.empty()) return;
    requests_[key] = {context, now};
  } else if (method == "network.responseCompleted" || method == "network.fetchError") {
    if (requests_.erase(request_key(params)) == 0) return;
  } else if (method == "browsingContext.navigationStarted") {
    Context& c = contexts_[context];
    c.navigating = now;
    c.timers.clear();  // the document that set them is on its way out
  } else if (method == "browsingContext.load" || method == "browsingContext.fragmentNavigated" ||
             method == "browsingContext.navigationFailed" || method == "browsingContext.navigationAborted") {
    contexts_[context].navigating.reset();
  } else if (method == "browsingContext.contextDestroyed") {
    contexts_.erase(context);
    std::erase_if(requests_, [&](const auto& r) { return r.second.context == context; });
  } else if (method == "browsingContext.contextCreated" || method == "browsingContext.domContentLoaded") {
    contexts_[context];
  } else if (method == "script.message") {
    if (text_at(params, "channel") != channel_ || channel_.empty()) return;
    const Json* data = params.contains("data") ? &params["data"] : nullptr;
    if (!data || text_at(*data, "type") != "string") return;
    const std::string source = params.contains("source") ? text_at(params["source"], "context") : "";
    script_message(source, text_at(*data, "value"), now);
  } else {
    return;
  }
  last_change_ = std::max(last_change_, now);
}

// The preload script's messages: "r" (it runs in a new document), "d" (the DOM
// changed), "t+ID MS" (a timer of MS ms was set), "t-ID" (it fired or was cleared).
void QuietTracker::script_message(const std::string& context, const std::string& text, TimePoint now) {
  Context& c = contexts_[context];
  if (text == "r") {
    c.timers.clear();
  } else if (text.rfind("t+", 0) == 0) {
    auto space = text.find(' ');
    if (space == std::string::npos) return;
    double ms = std::strtod(text.c_str() + space + 1, nullptr);
    c.timers[text.substr(2, space - 2)] = {ms, now};
  } else if (text.rfind("t-", 0) == 0) {
    c.timers.erase(text.substr(2));
  }
}

std::optional<QuietTracker::TimePoint> QuietTracker::quiet_since(TimePoint now, double hold_limit,
                                                                  double timer_limit_ms) const {
  std::lock_guard<std::mutex> lock(mutex_);
  const marlet::Clock::Duration limit(hold_limit);
  auto holds = [&](TimePoint since) { return now - since <= limit; };
  for (const auto& [key, r] : requests_)
    if (holds(r.since)) return std::nullopt;
  for (const auto& [id, c] : contexts_) {
    if (c.navigating && holds(*c.navigating)) return std::nullopt;
    for (const auto& [tid, t] : c.timers)
      if (t.delay_ms <= timer_limit_ms && holds(t.since)) return std::nullopt;
  }
  return std::max(last_change_, unseen_until_);
}

size_t QuietTracker::requests_open() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return requests_.size();
}

size_t QuietTracker::timers_pending() const {
  std::lock_guard<std::mutex> lock(mutex_);
  size_t n = 0;
  for (const auto& [id, c] : contexts_) n += c.timers.size();
  return n;
}

}  // namespace vorna
