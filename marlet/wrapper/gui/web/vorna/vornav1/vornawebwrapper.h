// VornaWebWrapper: the automation driver of one controller's web console. A harness
// builds one object per controller, logs it in, and calls its operations. The class holds
// what every operation shares: construction, the attributes, the element layer (WebBase),
// login and logout, first-login registration and the settle.
//
// The operations are free functions taking the wrapper first, one header per subsystem:
// accounts/accounts.h, boot/boot.h, comparison/wrapper_comparisons.h, firmware/firmware.h,
// inventory/inventory.h, logs/logs.h, network/network.h, power/power.h, settings/settings.h,
// storage/storage.h. They are written in the console idioms of console_idioms.h (internal).
// Defaults of optional arguments are the binding's (python/init_<subsystem>.cpp): a C++
// caller passes every argument.
// Records and params are ordered_json with Python's meaning (see marlet/utils/pytext.h).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/gui/web/web_base.h"
#include "marlet/utils/pytext.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_pages.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/controller_settle.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settle_policy.h"

namespace vorna {

using marlet::Json;
using webdriver::Element;

// Functions of the sibling module that were injected into the object; the Python
// binding supplies them, C++ tests script them.
class SiblingFunctions {
 public:
  virtual ~SiblingFunctions() = default;
  // Calls the injected function `name` with `args`; KeyError when there is none.
  virtual Json call(const std::string& name, const Json& args) = 0;
};

class VornaWebWrapper : public marlet::WebBase {
 public:
  // The name of the module the class lives in; its logger carries this name.
  static constexpr const char* kModuleName = "marlet.wrapper.gui.web.vorna.vornav1.vornawebwrapper";
  // The sibling modules whose functions are injected into every object.
  static const std::vector<std::string>& modules();

  // `params` is a map: "host" and "device" are the harness's objects and stay on the
  // Python side; what is read here is the optional "browser" map (name, driver,
  // remote_url, binary, driver_path, headless, screenshot_dir) and the optional "settle"
  // policy ("fixed" or "adaptive"; absent or null: the process policy at each settle),
  // and the optional "trace" (a folder, or {"dir", "mode": "on" | "retain-on-failure"};
  // absent or null: the process setting when a browser opens; see trace.h).
  // TypeError for a non-map or a "settle" that is not text, a "trace" of another shape;
  // ValueError for a bad "browser" entry, an unknown policy or trace mode.
  explicit VornaWebWrapper(const Json& params = Json::object(), std::shared_ptr<marlet::Logger> logger = nullptr,
                           marlet::Clock* clock = nullptr, std::shared_ptr<marlet::BrowserFactory> factory = nullptr);

  // ---- instance attributes, in the order the constructor sets them ----
  bool isLogin = false;
  Json bmc_ip;        // text or null
  Json username;      // text or null
  Json password;      // text or null
  Json current_user;  // text or null
  // (The harness's "bmc", "page" and "UniWebDrivers" are plain Python attributes, set by
  // the binding: no operation reads them.)

  void set_sibling_functions(std::shared_ptr<SiblingFunctions> f) { sibling_ = std::move(f); }
  // The injected functions; null when none were injected.
  SiblingFunctions* sibling() const { return sibling_.get(); }

  // ---- logins (login.cpp) ----
  // params: "bmc" (required: {local_ip, username, password, extra_port}), "username",
  // "password", "web_protocol", "web_port", "ip_address".
  bool web_login(const Json& params);
  void web_logout();
  void web_close();
  void web_kill_firefox();
  void web_switch_page_logout();

  // ---- first-login registration (register.cpp) ----
  // Logins from params alone ("ipv4", "username", "password", defaulting to the wrapper's
  // bmc_ip, username and password when empty or null) at "https://<ipv4>/login.html".
  // web_register also goes through the forced password change of a first login
  // ("isFirst", "new_pwd"); web_register_web reports a failed login as false.
  bool web_register(const Json& params);
  bool web_register_web(const Json& params);
  // The start both share: reads the keys, logs them, opens the login page when no browser
  // is open, fills the credentials and clicks the login button.
  struct RegisterLogin {
    std::string address, user, password;
  };
  RegisterLogin register_start(const Json& params, const char* operation);

  // ---- the settle (settle_policy.h) ----
  // Every settle of every operation: the object's policy, else the process's. The
  // activity record shows the settle to a watcher (the command line's progress line).
  // Adaptive settles read the browser's events where the session has a channel, else
  // the injected watcher; the first of each session says which on the "<logger>.settle"
  // child logger.
  void settle(double seconds);
  SettlePolicy effective_settle_policy() const { return settle_policy_.value_or(process_settle_policy()); }
  // Opens the browser and listens to its events (PageEvents) when it has a channel; the
  // settle's preload script comes at once when the settles are adaptive by then.
  std::shared_ptr<webdriver::Session> openFirefox() override;
  // The events of the current session: null without a channel (or before any browser).
  PageEvents* page_events();
  // What the console said (errors, warnings, failed requests) goes to the
  // "<logger>.console" child logger: each settle and each operation's end hand it on.
  void log_console() noexcept;
  // A point in what the console said, and the last (up to 10) texts said after it.
  struct SaidMark {
    const void* events = nullptr;
    std::uint64_t count = 0;
  };
  SaidMark console_mark();
  std::vector<std::string> console_since(const SaidMark& mark);
  void page_settle() { settle(timeout); }
  // A settle whose length is the controller's (an upgrade running, a collection starting):
  // under "adaptive" it ends only when `sign`, what the operation reads next, holds
  // (controller_settle.h); the page's quiet does not end it.
  void settle_until(double seconds, const std::function<bool()>& sign);
  std::optional<SettlePolicy> settle_policy() const { return settle_policy_; }
  const SettleStats& settle_stats() const { return settle_stats_; }

  // A picture after a failed operation, best effort: never throws. With what the
  // console said during it, a text file beside the picture (same stem, ".console.txt").
  void screenshot_after_failure(const std::string& operation, const std::vector<std::string>& console = {}) noexcept;

 protected:
  std::shared_ptr<SiblingFunctions> sibling_;
  std::string trace_settle_policy() const override;

 private:
  std::optional<SettlePolicy> settle_policy_;
  SettleStats settle_stats_;
  std::shared_ptr<PageEvents> page_events_;
  std::weak_ptr<webdriver::Session> page_events_session_;  // the session page_events_ is of
  std::string page_events_why_;                            // why there are none for it
  bool settle_source_told_ = false;
};

}  // namespace vorna
