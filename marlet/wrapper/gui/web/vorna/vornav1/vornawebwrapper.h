// VornaWebWrapper: the automation driver of one controller's web console. A harness
// builds one object per controller, logs it in, and calls its operations; each drives
// the browser through the element layer (WebBase) with the console idioms below.
//
// The operations of each subsystem are defined in that subsystem's folder (power/,
// network/, comparison/, ...); this header declares them all, grouped the same way.
// Records and params are ordered_json with Python's meaning (see marlet/utils/pytext.h).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/gui/web/web_base.h"
#include "marlet/utils/pytext.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_pages.h"

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
  // remote_url, binary, driver_path, headless, screenshot_dir). TypeError for a
  // non-map, ValueError for a bad "browser" entry.
  explicit VornaWebWrapper(const Json& params = Json::object(), std::shared_ptr<marlet::Logger> logger = nullptr,
                           marlet::Clock* clock = nullptr, std::shared_ptr<marlet::BrowserFactory> factory = nullptr);

  // ---- instance attributes, in the order the constructor sets them ----
  bool isLogin = false;
  Json bmc_ip;        // text or null
  Json username;      // text or null
  Json password;      // text or null
  Json current_user;  // text or null
  Json bmc;           // stays null in this class
  Json page;          // stays null in this class
  Json UniWebDrivers = Json::array();

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

  // ---- power (power/) ----
  std::string web_get_power_status();
  void set_power_off();
  void set_power_on();
  void set_power_cycle();
  void set_power_reboot();
  void _switch_to_power();
  void _set_power_state(const std::string& state);
  void reboot();
  void web_set_bmc_reboot(const Json& params);
  Json web_get_power_capping_info(const Json& params);
  bool web_set_power_cap(const Json& params);
  bool web_set_poweron_strategy(const Json& params);

  // ---- first-login registration (register.cpp) ----

  // (end of registration)

  // ---- user accounts (accounts/) ----

  // (end of user accounts)

  // ---- management address (network/) ----

  // (end of management address)

  // ---- boot configuration (boot/) ----

  // (end of boot configuration)

  // ---- firmware and diagnostics (firmware/) ----

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

  // (end of storage)

  // ---- health and logs (logs/) ----

  // (end of health and logs)

  // ---- service settings (settings/) ----

  // (end of service settings)

  // ---- console idioms (console_idioms.cpp) ----
  // Clicks each menu id in order (locateElementById's default click).
  void follow_menu(const MenuPath& path);
  // The same menu id clicked `times` times in a row, no pause between the clicks.
  void repeated_click(const std::string& id, int times);
  void enter_content_frame();
  void leave_content_frame();
  void settle(double seconds) { sleep(seconds); }
  void page_settle() { sleep(timeout); }
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

  // A picture after a failed operation, best effort: never throws.
  void screenshot_after_failure(const std::string& operation) noexcept;

 protected:
  std::shared_ptr<SiblingFunctions> sibling_;
};

}  // namespace vorna
