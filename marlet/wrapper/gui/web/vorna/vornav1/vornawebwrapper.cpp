#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

#include <filesystem>
#include <fstream>

#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;
using marlet::TypeError;
using marlet::ValueError;

namespace {

std::string text_entry(const Json& map, const char* key) {
  if (!map.contains(key) || map[key].is_null()) return "";
  if (!map[key].is_string())
    throw ValueError(py::format("browser[%s] must be a text, not %s", py::repr_text(key), py::repr(map[key])));
  return map[key].get<std::string>();
}

// The optional "browser" map of the constructor: which browser, through what, and where
// pictures go. Checked here so a typo fails at construction, not at the first login.
marlet::BrowserConfig browser_config(const Json& params) {
  require_params_map(params, "VornaWebWrapper");
  marlet::BrowserConfig config;
  if (params.contains("trace") && !params["trace"].is_null())
    config.trace = marlet::parse_trace_settings(params["trace"], "params['trace']");
  if (!params.contains("browser") || params["browser"].is_null()) return config;
  const Json& b = params["browser"];
  if (!b.is_object()) throw TypeError(std::string("params['browser'] must be a map, not ") + py::type_name(b));
  auto& launch = config.launch;
  if (auto name = text_entry(b, "name"); !name.empty()) launch.browser = name;
  if (auto driver = text_entry(b, "driver"); !driver.empty()) launch.driver = driver;
  launch.remote_url = text_entry(b, "remote_url");
  launch.binary = text_entry(b, "binary");
  launch.driver_path = text_entry(b, "driver_path");
  launch.download_dir = text_entry(b, "download_dir");
  config.screenshot_dir = text_entry(b, "screenshot_dir");
  if (b.contains("headless") && !b["headless"].is_null()) {
    if (!b["headless"].is_boolean()) throw ValueError("browser['headless'] must be True or False");
    launch.headless = b["headless"].get<bool>();
  }
  // False: no WebDriver BiDi channel is asked for (adaptive settles use the page watcher).
  if (b.contains("bidi") && !b["bidi"].is_null()) {
    if (!b["bidi"].is_boolean()) throw ValueError("browser['bidi'] must be True or False");
    launch.bidi = b["bidi"].get<bool>();
  }
  if (b.contains("prepared_profile") && !b["prepared_profile"].is_null()) {
    if (!b["prepared_profile"].is_boolean()) throw ValueError("browser['prepared_profile'] must be True or False");
    launch.prepared_profile = b["prepared_profile"].get<bool>();
  }
  // Firefox preferences of the harness's own, over the launcher's: each a bool, an
  // integer or a text, as Firefox keeps them.
  if (b.contains("prefs") && !b["prefs"].is_null()) {
    const Json& prefs = b["prefs"];
    if (!prefs.is_object()) throw TypeError(std::string("browser['prefs'] must be a map, not ") + py::type_name(prefs));
    for (const auto& [name, value] : prefs.items())
      if (!value.is_boolean() && !value.is_number_integer() && !value.is_string())
        throw ValueError("browser['prefs'][" + py::repr_text(name) + "] must be a bool, an integer or a text, not " +
                         py::repr(value));
    launch.prefs = prefs;
  }
  // How long a navigation may wait for its page (the browser's own default, 300 s, when
  // absent): a console that holds the request open fails the login after this long.
  if (b.contains("page_load_timeout") && !b["page_load_timeout"].is_null()) {
    const Json& t = b["page_load_timeout"];
    if (!t.is_number() || t.is_boolean() || !(t.get<double>() > 0) || t.get<double>() > 86400)
      throw ValueError("browser['page_load_timeout'] must be a number of seconds above 0, not " + py::repr(t));
    launch.extra_capabilities["timeouts"] = {{"pageLoad", static_cast<long long>(t.get<double>() * 1000)}};
  }
  if (launch.browser != "firefox" && launch.browser != "chromium")
    throw ValueError("browser['name'] must be 'firefox' or 'chromium', not " + py::repr_text(launch.browser));
  if (launch.driver != "marionette" && launch.driver != "geckodriver" && launch.driver != "chromedriver" &&
      launch.driver != "remote")
    throw ValueError("browser['driver'] must be 'marionette', 'geckodriver', 'chromedriver' or 'remote', not " +
                     py::repr_text(launch.driver));
  if (launch.browser == "chromium" && (launch.driver == "marionette" || launch.driver == "geckodriver"))
    throw ValueError("chromium is driven through 'chromedriver' or 'remote', not " + py::repr_text(launch.driver));
  if (launch.browser == "firefox" && launch.driver == "chromedriver")
    throw ValueError("firefox is not driven through 'chromedriver'");
  if (launch.driver == "remote" && launch.remote_url.empty())
    throw ValueError("browser['remote_url'] is required with the 'remote' driver");
  return config;
}

// The optional "settle" key; read after browser_config() has checked that params is a map.
std::optional<SettlePolicy> settle_key(const Json& params) {
  if (!params.is_object() || !params.contains("settle") || params["settle"].is_null()) return std::nullopt;
  return parse_settle_policy(params["settle"], "params['settle']");
}

}  // namespace

const std::vector<std::string>& VornaWebWrapper::modules() {
  static const std::vector<std::string> kModules = {"marlet.wrapper.gui.web.vorna.vornav1.function.home"};
  return kModules;
}

VornaWebWrapper::VornaWebWrapper(const Json& params, std::shared_ptr<marlet::Logger> logger, marlet::Clock* clock,
                                 std::shared_ptr<marlet::BrowserFactory> factory)
    : marlet::WebBase(browser_config(params), logger ? std::move(logger) : marlet::make_stderr_logger(kModuleName),
                      clock, std::move(factory)),
      settle_policy_(settle_key(params)) {}

std::string VornaWebWrapper::trace_settle_policy() const {
  return settle_policy_name(effective_settle_policy());
}

void VornaWebWrapper::screenshot_after_failure(const std::string& operation,
                                               const std::vector<std::string>& console) noexcept {
  try {
    if (isClosed()) return;
    std::string picture = _screenshot(operation + "_failed");
    if (picture.empty() || console.empty()) return;
    std::filesystem::path text = std::filesystem::path(picture).replace_extension(".console.txt");
    std::ofstream out(text, std::ios::binary);
    for (const auto& line : console) out << line << "\n";
  } catch (...) {
  }
}

std::shared_ptr<webdriver::Session> VornaWebWrapper::openFirefox() {
  auto session = marlet::WebBase::openFirefox();
  if (PageEvents* events = page_events(); events && effective_settle_policy() == SettlePolicy::Adaptive)
    events->ensure_preload(0);  // before the first page: every document is seen whole
  return session;
}

PageEvents* VornaWebWrapper::page_events() {
  std::shared_ptr<webdriver::Session> session = browser;
  if (!session || session->is_quit()) return page_events_.get();  // what it said stays readable
  if (page_events_session_.lock() == session) return page_events_.get();
  page_events_session_ = session;
  page_events_.reset();
  page_events_why_.clear();
  settle_source_told_ = false;
  if (auto channel = session->bidi()) {
    try {
      page_events_ = PageEvents::attach(channel, clock());
    } catch (const std::exception& e) {
      // A channel that cannot subscribe: this session settles with the page watcher.
      page_events_why_ = std::string("the browser's events could not be had: ") + e.what();
    }
  }
  return page_events_.get();
}

void VornaWebWrapper::settle(double seconds) {
  marlet::ActivityScope shown(activity, "settle", seconds, clock(), current_operation);
  SettlePolicy policy = effective_settle_policy();
  PageEvents* events = policy == SettlePolicy::Adaptive ? page_events() : page_events_.get();
  long before = settle_stats_.settles;
  settle_for(*this, seconds, policy, settle_stats_, events);
  if (settle_stats_.settles != before && !settle_source_told_) {
    settle_source_told_ = true;
    if (auto settle_log = logger().child("settle")) {
      if (std::string(settle_stats_.source) == "events")
        settle_log->info("adaptive settles from the browser's events (WebDriver BiDi)");
      else
        settle_log->info("adaptive settles from the watcher injected into the page: " +
                         (page_events_ ? page_events_->why()
                          : !page_events_why_.empty() ? page_events_why_
                          : browser ? browser->bidi_status() : std::string("no browser")));
    }
  }
  log_console();
}

void VornaWebWrapper::settle_until(double seconds, const std::function<bool()>& sign) {
  marlet::ActivityScope shown(activity, "settle", seconds, clock(), current_operation);
  settle_until_sign(*this, seconds, effective_settle_policy(), sign, settle_stats_);
  log_console();
}

void VornaWebWrapper::log_console() noexcept {
  try {
    if (!page_events_) return;
    auto lines = page_events_->take_lines();
    if (lines.empty()) return;
    auto console_log = logger().child("console");
    if (!console_log) return;
    for (const auto& line : lines) console_log->log(line.level, line.text);
  } catch (...) {
  }
}

VornaWebWrapper::SaidMark VornaWebWrapper::console_mark() {
  try {
    if (PageEvents* events = page_events()) return {events, events->mark()};
  } catch (...) {
  }
  return {};
}

std::vector<std::string> VornaWebWrapper::console_since(const SaidMark& mark) {
  if (!page_events_) return {};
  // A session opened during the operation: everything its console said is new.
  return page_events_->texts_since(mark.events == page_events_.get() ? mark.count : 0);
}

}  // namespace vorna
