// VornaWebWrapper: the automation driver of one controller's web console. A harness
// builds one object per controller, logs it in, and calls its operations; each drives
// the browser through the element layer (WebBase) with the console idioms below.
//
// The operations of each subsystem are defined in that subsystem's folder (power/,
// network/, comparison/, ...). A subsystem moved to its own header declares them there
// as free functions taking the wrapper first (power/power.h); this header declares the
// others, grouped the same way.
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
  // policy ("fixed" or "adaptive"; absent or null: the process policy at each settle).
  // TypeError for a non-map or a "settle" that is not text, ValueError for a bad
  // "browser" entry or an unknown policy.
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

  // ---- logins (login.cpp) ----
  // params: "bmc" (required: {local_ip, username, password, extra_port}), "username",
  // "password", "web_protocol", "web_port", "ip_address".
  bool web_login(const Json& params);
  void web_logout();
  void web_close();
  void web_kill_firefox();
  void web_switch_page_logout();

  // ---- bench comparison (comparison/) ----
  void compare_power(const Json& webPowerInfo, const Json& powerInfo);
  void compare_pcie(const Json& webpcieInfo, const Json& pcieInfo);
  void compare_back_board(const Json& webBackBoardInfo, const Json& backBoardInfo);
  void compare_riser(const Json& webRaiserInfo, const Json& riserInfo);
  void compare_raid(const Json& webRaidInfo, const Json& raidInfo);
  void compare_memory(const Json& webMemoryInfo, const Json& osMemoryInfo);
  void compare_storage(const Json& webRaidInfo, const Json& raidInfo, const Json& webDiskInfo, const Json& diskInfo);

  // ---- identity and versions (network/) ----
  std::string get_product_sn();
  std::string get_guid();
  std::string get_bios_name();
  // {"bmc_version", "bios_version", "cpld_version"}
  Json web_get_firmware_version();
  // A map of the software rows, or the fixed notice text when the OS agent does not report.
  Json web_get_software_info();

  // ---- power: free functions on the wrapper, declared in power/power.h ----

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

  // (end of registration)

  // ---- user accounts (accounts/) ----
  // The local users page. Adds enter an acting user's password (the wrapper's `password`
  // for the administrator, "cur_password" otherwise); rows are numbered from 2 into the
  // ids of their controls; names match by equality of the whole text.
  bool web_add_admin_user(const Json& params);
  // {"userlist": text of the list after saving, "complete": true}
  Json web_add_user(const Json& params);
  bool web_del_user_web(const Json& params);
  // Ends the browser when it finds the user.
  bool web_mod_password(const Json& params);
  // {"add_button_exist", "users": [{id, name, role, password_validity, status, rule1..3,
  //  login_interfaces, operation}]}
  Json web_query_users();
  // [{"operation_name"}] from the ids of the operation controls, cut at the first digit.
  Json get_user_operation(const std::vector<Element>& operation_span);
  // [{"interface_name", "state"}] from the spans' em elements whose ids name a one-digit
  // user number and an interface index.
  Json get_user_login_interfaces(const std::vector<Element>& interface_span);

  // (end of user accounts)

  // ---- management address (network/) ----
  // The address record {"ipv4_address", "ipv4_mask", "ipv4_gateway"} of the network page.
  Json get_manage_ipv4();
  Json get_bmc_ip_addr();
  // Fills and saves an address record, then ends the browser: the console moves away
  // from the address the browser is on. All three keys required (KeyError before
  // anything is touched), all text (TypeError naming the key). Returns true.
  bool _mod_manage_ipv4(const Json& params);
  bool mod_bmc_ip_addr(const Json& params);
  // (end of management address)

  // ---- boot configuration (boot/) ----
  // Boot option codes are the texts "0".."5" (boot/boot_codes.h); effectiveness and boot
  // mode codes the texts "0" and "1". The setters report nothing; read back for proof.
  void web_set_boot_option(const Json& params);  // params: {"option": code}
  Json web_get_boot_option();                    // code, or null for a page value outside the table
  Json web_get_effective();                      // "0", "1", or false when no button is selected
  void web_set_effective(const Json& params);    // params: {"mode": "0" | "1"}
  Json web_get_boot_mode();                      // "0" legacy, "1" UEFI, or false
  void web_set_boot_mode(const Json& params);    // params: {"mode": "0" | "1"}
  // A true `mode` selects legacy, a false one UEFI; works in the current window.
  void change_startup_mode(const Json& mode);
  // Brings boot mode, effectiveness and boot option to the wanted values, each read
  // back, through the injected get_/set_ functions; returns the three values found.
  Json modify_msconfig(const Json& boot_mode, const Json& effective, const Json& option_mode);
  // browser.switch_to_window(browser.window_handles[0]).
  void switch_to_first_window();
  // (end of boot configuration)

  // ---- firmware and diagnostics (firmware/) ----
  // Uploads the file through the upgrade page, waits (up to 1200 s) for the progress
  // element to go, and reports whether the result text names a success.
  bool set_firmware_upgrade(const std::string& filepath);
  // The same with the page's other locators and a fixed wait of 300 s: true only for the
  // exact text "The upgrade is complete.", null when no file or folder is at `fw_path`.
  // Returns inside the content frame.
  Json update_fw(const std::string& fw_path);
  // Starts the one-button collection and waits up to `timeout` seconds for it; returns
  // the path of "dump_info.tar.gz" under download_dir (an older file there is deleted).
  std::string set_info_collection(double timeout);
  // Clicks the operation log's download; returns "operate_log".
  std::string web_export_bmc_log();

  // (end of firmware and diagnostics)

  // ---- inventory readers (inventory/) ----
  // The system information page, tab by tab. Each reader returns records of the cells'
  // texts as the console shows them, in page order.
  Json web_get_main_board_info();
  // Backplane name -> version; returns with the content frame entered.
  Json get_back_info();
  Json web_get_fan_web_info();
  // With "ConsumedWatts" joined in from the power statistics page where it names a supply.
  Json web_get_power_web_info();
  // The four card tables of tabOther: one record per table body, from its first row.
  Json web_get_pcie_web_info();
  Json web_get_hard_back_board_info();
  Json web_get_riser_info();
  Json web_get_other_raid_info();
  Json get_tpm_info();
  // params["type"]: "single" or "all"; anything else gives null (frame left entered).
  Json web_get_cpu_info_vorna(const Json& params);
  Json web_get_cpu_info_vorna_single();
  Json web_get_cpu_info_all();
  Json web_get_memory_web_info();
  Json get_nic_info();
  Json web_get_netcard_web_info();
  Json web_get_fccard_info();
  Json web_get_other_devices_info();

  // (end of inventory readers)

  // ---- storage (storage/) ----
  // The panes of every "RAID" entry of the storage tree, keyed by the label rule: {} for
  // none, the record itself for one, {"0": record, "1": ...} for more.
  Json web_get_raid_web_info();
  // First cell of the RAID card table on the other-cards tab; stays in the content frame.
  std::string get_raid_name();
  // Selects logical drives 0 to 3 (as many as there are) and deletes them at once.
  void delete_all_raid_logical_driver();
  // params: "name" (text), "level" (as the level list shows it), "count" (integer):
  // a logical drive over disks 0 .. count-1. TypeError for a non-map or a present key of
  // the wrong type, before the console is touched; KeyError where a key is first needed.
  void create_raid_logical_driver(const Json& params);
  // params: "raid_disk". True: {"<controller index>": {disk name: disk record}};
  // otherwise the pass-through disks {disk name: disk record}.
  Json get_storage_info(const Json& params);
  // {whole title of each logical drive: its pane record}.
  Json web_get_logical_driver_info();
  // (end of storage)

  // ---- health and logs (logs/) ----
  // True when the alarm page shows one of its all-clear sentences, exactly.
  bool check_health();
  // The login page's error label, shown for the moment of the reading.
  std::string web_get_error_warning();
  // params: "check_list" (list of text; null or absent: the default sentences). Reads
  // six pages of the operation log and tests that each sentence occurs in them.
  bool web_check_bmc_log(const Json& params);
  // Walks the system events down to `check_time` (seconds since the epoch); true at the
  // first keyword found (inside the content frame), false at an older row or when the
  // pager shows a page seen before.
  bool check_keyword_in_system_log(const Json& keyword_list, const Json& check_time);

  // (end of health and logs)

  // ---- service settings (settings/) ----
  // Opens the LDAP page and selects the tab of controller `ldap_controller_id` (text or a
  // whole number, counted from 1); stays in the content frame for config_ldap_service.
  void enter_ldap_config(const Json& ldap_controller_id);
  // Fills and saves the form of the selected controller; no navigation, no log line, and
  // the outcome is not read back. Stays in the content frame. Every argument is text (a
  // number serves as its text); the three optional fields are left as the page shows them
  // when null or empty. TypeError naming the argument, before the page is touched.
  void config_ldap_service(const Json& ldap_ip, const Json& ldap_domainName, const Json& ldap_pwd,
                           const Json& ldap_cert_enable, const Json& ldap_cert_verify_level,
                           const Json& ldaps_port, const Json& ldap_bind_dn, const Json& ldap_dn_pwd,
                           const Json& user_group_folder_hidden);
  // params: "location" (text; empty or absent writes "xian"). True when the page's saved
  // value then equals what was entered.
  bool web_set_system_config(const Json& params);
  Json web_get_device_location_info();
  // "GET" with no state: {"state", "city"} of the current setting; "GET" with a state: the
  // cities offered for it (the region is changed on the page, not saved); "SET": null when
  // saved, false when the region drop-down cannot be had, WebDisplayException when the
  // console refuses. Any other method: MarletException, after the page was opened.
  Json bmc_time_zone(const Json& method, const Json& state, const Json& city);
  // {"value": engine id text}; stays in the content frame.
  Json get_snmp_engine_id();
  // The `value` of WebServerTimeOut_hidden, unconverted (null when the field has none).
  Json web_get_web_timeout();
  // Partition name -> usage text ("5%"), in page order; stays in the content frame.
  Json web_get_disk_usage_percent();
  // (end of service settings)

  // ---- console idioms (console_idioms.cpp) ----
  // Clicks each menu id in order (locateElementById's default click).
  void follow_menu(const MenuPath& path);
  // The same menu id clicked `times` times in a row, no pause between the clicks.
  void repeated_click(const std::string& id, int times);
  void enter_content_frame();
  void leave_content_frame();
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
  std::optional<SettlePolicy> settle_policy() const { return settle_policy_; }
  const SettleStats& settle_stats() const { return settle_stats_; }
  // Follows the menu path, settles `settle_seconds` (none when 0), enters the frame.
  void open_page(const MenuPath& path, double settle_seconds = 0);
  // Leaves the content frame, then clicks btnDialogOK.
  void confirm_dialog();
  // WebDriverWait(browser, wait, poll).until(visibility_of_element_located((By.ID, id))).
  Element wait_until_visible(const std::string& id, double wait = 20, double poll = 1);
  Element wait_until_visible_class(const std::string& class_name, double wait = 20, double poll = 1);
  // locateElementByXpath / locateElementsByXpath without highlight or click.
  Element quiet_lookup(const std::string& xpath);
  std::vector<Element> quiet_lookups(const std::string& xpath);
  // Click the tab, settle, run the lookup, under a catch of MarletException; on that
  // failure the same steps once more, uncaught.
  template <class F>
  auto tab_retry(const std::string& tab_id, double settle_seconds, F&& lookup) -> decltype(lookup()) {
    try {
      locateElementById(tab_id);
      settle(settle_seconds);
      return lookup();
    } catch (const marlet::MarletException&) {
    }
    locateElementById(tab_id);
    settle(settle_seconds);
    return lookup();
  }
  // Runs `open_and_lookup` under a catch of MarletException; on that failure leaves the
  // content frame and runs it once more, uncaught.
  template <class F>
  auto page_retry(F&& open_and_lookup) -> decltype(open_and_lookup()) {
    try {
      return open_and_lookup();
    } catch (const marlet::MarletException&) {
    }
    leave_content_frame();
    return open_and_lookup();
  }
  // The texts of "./td[1]" .. "./td[columns]" of one table row.
  std::vector<std::string> row_read(Element& row, int columns);
  // Up to `attempts` runs of `attempt` (tab click, settle, lookup); the first run that
  // finds an element ends the loop. Nothing is caught: a raised failure ends the reader.
  template <class F>
  std::vector<Element> tab_loop(F&& attempt, int attempts = 3) {
    std::vector<Element> found;
    for (int i = 0; i < attempts; ++i) {
      found = attempt();
      if (!found.empty()) break;
    }
    return found;
  }
  // The plain loop: click the tab, settle, quiet lookups of `rows_xpath`.
  std::vector<Element> tab_loop(const std::string& tab_id, double settle_seconds, const std::string& rows_xpath);
  // When the lookup found nothing: leaves the content frame and raises
  // WebElementException with `message`, whose "%s" (if any) shows the empty list, "[]".
  void empty_guard(const std::vector<Element>& found, const std::string& message);
  // Column finders. By position: the text of "./td[n]". By title: the text of the cell
  // whose tdtitle attribute is `title` (`quote` is the XPath quote the page's readers
  // use). By header row: the labels of a header row's cells (empty ones kept, so later
  // columns keep their positions), and one row read against them, insert-if-absent.
  static std::string cell_text(Element& row, int column);
  static std::string titled_cell_text(Element& row, const std::string& title, char quote = '"');
  static std::vector<std::string> header_labels(std::vector<Element>& header_cells, const std::string& label_xpath);
  static Json row_by_header(Element& row, const std::vector<std::string>& labels);
  // Every run of decimal digits in `text`, left to right ("\d+", all matches).
  static std::vector<std::string> digit_runs(const std::string& text);
  // digit_runs(text)[index], or IndexError "list index out of range".
  static std::string digit_run(const std::string& text, size_t index);

  // A picture after a failed operation, best effort: never throws. With what the
  // console said during it, a text file beside the picture (same stem, ".console.txt").
  void screenshot_after_failure(const std::string& operation, const std::vector<std::string>& console = {}) noexcept;

 protected:
  std::shared_ptr<SiblingFunctions> sibling_;

 private:
  std::optional<SettlePolicy> settle_policy_;
  SettleStats settle_stats_;
  std::shared_ptr<PageEvents> page_events_;
  std::weak_ptr<webdriver::Session> page_events_session_;  // the session page_events_ is of
  std::string page_events_why_;                            // why there are none for it
  bool settle_source_told_ = false;
};

}  // namespace vorna
