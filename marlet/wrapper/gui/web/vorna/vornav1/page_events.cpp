#include "marlet/wrapper/gui/web/vorna/vornav1/page_events.h"

#include "marlet/wrapper/gui/web/vorna/vornav1/settle_events_js.h"

namespace vorna {
using webdriver::Json;

namespace {

// The events the tracker and the console lines are made of.
const std::vector<std::string> kEvents = {
    "network.beforeRequestSent",         "network.responseCompleted",         "network.fetchError",
    "browsingContext.contextCreated",    "browsingContext.contextDestroyed",  "browsingContext.navigationStarted",
    "browsingContext.domContentLoaded",  "browsingContext.load",              "browsingContext.fragmentNavigated",
    "browsingContext.navigationFailed",  "log.entryAdded",
    "script.message"};

constexpr std::chrono::milliseconds kCommandBound{5000};
constexpr size_t kLongestText = 500;

std::string text_at(const Json& object, const char* key) {
  if (!object.is_object() || !object.contains(key) || !object[key].is_string()) return "";
  return object[key].get<std::string>();
}

std::string shortened(std::string text) {
  if (text.size() > kLongestText) {
    size_t cut = kLongestText;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;  // whole characters
    text = text.substr(0, cut) + "...";
  }
  return text;
}

// "GET http://..." of a network event.
std::string request_of(const Json& params) {
  const Json& r = params.contains("request") ? params["request"] : Json();
  return text_at(r, "method") + " " + text_at(r, "url");
}

// The browser asks for the page's icon on its own; a console without one is no news.
bool browsers_own(const Json& params) {
  const std::string url = params.contains("request") ? text_at(params["request"], "url") : "";
  return url.size() >= 12 && url.compare(url.size() - 12, 12, "/favicon.ico") == 0;
}

}  // namespace

namespace {
void keep(PageEvents::State& s, marlet::LogLevel level, std::string text) {
  ++s.count;
  s.recent.push_back(text);
  if (s.recent.size() > PageEvents::kKeptLines) s.recent.pop_front();
  s.untaken.push_back({level, std::move(text)});
  if (s.untaken.size() > PageEvents::kMaxUntaken) s.untaken.pop_front();
}
}  // namespace

void PageEvents::State::said(marlet::LogLevel level, std::string text) {
  text = shortened(std::move(text));
  std::lock_guard<std::mutex> lock(mutex);
  release_held(false);
  keep(*this, level, std::move(text));
}

void PageEvents::State::release_held(bool all) {
  const auto due = clock->now() - marlet::Clock::Duration(kSupersededWindow);
  while (!held.empty() && (all || held.front().at <= due)) {
    keep(*this, marlet::LogLevel::Error, std::move(held.front().text));
    held.pop_front();
  }
}

void PageEvents::State::on_event(const std::string& method, const Json& params) {
  // Asked before the tracker closes the request (unseen: the clock's zero).
  const auto sent_at = method == "network.fetchError" ? tracker.sent_at(params).value_or(marlet::Clock::TimePoint{})
                                                      : marlet::Clock::TimePoint{};
  tracker.on_event(method, params, clock->now());
  if (method == "log.entryAdded") {
    const std::string level = text_at(params, "level");
    if (level != "error" && level != "warn") return;
    const bool error = level == "error";
    const std::string kind = text_at(params, "type") == "javascript" ? "javascript " : "console ";
    said(error ? marlet::LogLevel::Error : marlet::LogLevel::Warn,
         kind + (error ? "error: " : "warning: ") + text_at(params, "text"));
  } else if (method == "network.fetchError") {
    // A request the browser dropped because its document went away (a navigation) is no
    // failure of the console: dropped when so named, else held until the window shows
    // whether its frame moved on.
    if (browsers_own(params) || text_at(params, "errorText") == "NS_BINDING_ABORTED") return;
    const std::string context = text_at(params, "context");
    const std::string navigation = text_at(params, "navigation");  // "" for a document's own requests
    const auto now = clock->now();
    auto moved = navigated.find(context);
    if (moved != navigated.end() && (moved->second.navigation.empty() || moved->second.navigation != navigation) &&
        moved->second.at >= sent_at)
      return;  // its frame moved on (or went away) after it was sent
    std::lock_guard<std::mutex> lock(mutex);
    held.push_back({context, navigation,
                    shortened("request failed: " + request_of(params) + " (" + text_at(params, "errorText") + ")"), now});
  } else if (method == "browsingContext.navigationStarted" || method == "browsingContext.contextDestroyed") {
    const std::string context = text_at(params, "context");
    const std::string navigation = method == "browsingContext.contextDestroyed" ? "" : text_at(params, "navigation");
    navigated[context] = {navigation, clock->now()};
    std::lock_guard<std::mutex> lock(mutex);
    std::erase_if(held, [&](const Failure& f) {
      return f.context == context && (navigation.empty() || f.navigation != navigation);
    });
  } else if (method == "network.responseCompleted") {
    const Json& response = params.contains("response") ? params["response"] : Json();
    if (!response.is_object() || !response.contains("status") || !response["status"].is_number()) return;
    long long status = response["status"].get<long long>();
    if (status < 400 || browsers_own(params)) return;
    std::string reason = text_at(response, "statusText");
    said(marlet::LogLevel::Error,
         "HTTP " + std::to_string(status) + (reason.empty() ? "" : " " + reason) + ": " + request_of(params));
  }
}

std::shared_ptr<PageEvents> PageEvents::attach(std::shared_ptr<webdriver::BidiChannel> channel,
                                               marlet::Clock& clock) {
  std::shared_ptr<PageEvents> events(new PageEvents());
  events->channel_ = channel;
  events->clock_ = &clock;
  events->state_ = std::make_shared<State>();
  events->state_->clock = &clock;
  events->state_->tracker.set_channel(kChannel);
  std::weak_ptr<State> state = events->state_;
  events->token_ = channel->add_subscriber(
      [state](const std::string& method, const Json& params) {
        if (auto s = state.lock()) s->on_event(method, params);
      },
      {"network", "browsingContext", "log", "script.message"});
  channel->command("session.subscribe", Json{{"events", kEvents}}, kCommandBound);
  return events;
}

PageEvents::~PageEvents() {
  try {
    if (channel_ && token_) channel_->remove_subscriber(token_);
  } catch (...) {
  }
}

const QuietTracker& PageEvents::tracker() const { return state_->tracker; }

bool PageEvents::usable() const noexcept { return channel_ && channel_->connected(); }

bool PageEvents::ensure_preload(double unseen) {
  if (preloaded_) return true;
  if (!usable()) return false;
  try {
    Json channel_arg = {{"type", "channel"}, {"value", {{"channel", kChannel}}}};
    channel_->command("script.addPreloadScript",
                      Json{{"functionDeclaration", kSettleEventsScript}, {"arguments", Json::array({channel_arg})}},
                      kCommandBound);
  } catch (const std::exception& e) {
    preload_failed_ = std::string("the preload script was refused: ") + e.what();
    return false;
  }
  preloaded_ = true;
  state_->tracker.unseen_until(clock_->now() + marlet::Clock::Duration(unseen));
  return true;
}

std::string PageEvents::why() const {
  if (!usable()) return "the WebDriver BiDi channel has ended (" + channel_->why() + ")";
  return preload_failed_;
}

std::vector<ConsoleLine> PageEvents::take_lines() {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->release_held(false);
  std::vector<ConsoleLine> lines(std::make_move_iterator(state_->untaken.begin()),
                                 std::make_move_iterator(state_->untaken.end()));
  state_->untaken.clear();
  return lines;
}

std::uint64_t PageEvents::mark() const {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->release_held(false);
  return state_->count;
}

std::vector<std::string> PageEvents::texts_since(std::uint64_t mark) const {
  std::lock_guard<std::mutex> lock(state_->mutex);
  state_->release_held(true);  // an operation failed: what may be its cause is shown
  std::uint64_t fresh = state_->count > mark ? state_->count - mark : 0;
  size_t n = std::min<std::uint64_t>(fresh, state_->recent.size());
  return {state_->recent.end() - static_cast<std::ptrdiff_t>(n), state_->recent.end()};
}

}  // namespace vorna
