// The system settings page: the device location (written and read), the SNMP engine id
// and the web time-out.
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings_args.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/keys.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;

namespace {
constexpr const char* kLocationInput = R"(//*[@id="location_info"])";
// What is written when the caller gives no location.
constexpr const char* kDefaultLocation = "xian";

Json optional_json(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }
}  // namespace

bool web_set_system_config(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_system_config");
  Json location = py::get(params, "location");
  if (!location.is_null() && !location.is_string())
    throw marlet::TypeError(
        py::format("web_set_system_config() location must be a text, not %s", py::type_name(location)));
  if (location.is_string()) typed_text(location.get<std::string>(), "location");
  w.logger().info("[setSystemConfig] set system config.");
  open_page(w, pages::kSystemSettings, w.timeout);
  std::string inputStr = py::truthy(location) ? location.get<std::string>() : kDefaultLocation;
  // The location sits below the fold: a page-down on the first control brings it up.
  w.session().find_element_by_id("btnLongPassword").send_keys(webdriver::Keys::PAGE_DOWN);
  w.fillElementByXpath(kLocationInput, inputStr);
  w.page_settle();
  w.locateElementById("saveDeviceLocation");
  w.locateElementById("saveDeviceLocation");
  auto saved = w.session().find_element_by_id("location_info_hidden").get_attribute("value");
  if (saved && *saved == inputStr) {
    w.logger().info("[setSystemConfig] completion.");
    leave_content_frame(w);
    w.settle(3);
    return true;
  }
  leave_content_frame(w);
  return false;
}

Json web_get_device_location_info(VornaWebWrapper& w) {
  w.logger().info("[getDeviceLocationInfo] start...");
  open_page(w, pages::kSystemSettings);
  // Nothing settles after the menu, so the frame may still be loading the page: the field
  // is looked up with the element layer's bounded wait for its presence (no click, no
  // highlight) where a bare lookup would race the frame's navigation.
  Json value = optional_json(quiet_lookup(w, kLocationInput).get_attribute("value"));
  w.logger().info("device location info: " + py::str(value));
  leave_content_frame(w);
  w.logger().info("[getDeviceLocationInfo] completion.");
  return value;
}

Json get_snmp_engine_id(VornaWebWrapper& w) {
  w.logger().info("[getSnmpEngineID] start...");
  open_page(w, pages::kSystemSettings);
  Json record = Json::object();
  record["value"] = w.getTextById("snmp_engine_id");
  w.logger().info("[getSnmpEngineID] completion.");
  return record;
}

Json web_get_web_timeout(VornaWebWrapper& w) {
  open_page(w, pages::kSystemSettings);
  Json value = optional_json(w.getAttributeById("WebServerTimeOut_hidden", "value"));
  leave_content_frame(w);
  return value;
}

}  // namespace vorna
