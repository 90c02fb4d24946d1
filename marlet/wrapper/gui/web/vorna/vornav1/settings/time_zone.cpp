// The controller's time zone on the network page: two dependent drop-downs (region, then
// the cities of that region) and a save whose result notice shows in the top document.
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settings/settings_args.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/support/select.h"

namespace vorna {
namespace py = marlet::py;
using settings::require_text_or_null;

namespace {
constexpr const char* kStateXpath = R"(//*[@id="timezoneState"])";
constexpr const char* kCityXpath = R"(//*[@id="timezoneCity"])";
constexpr const char* kSaveXpath = R"(//*[@id="saveTimeZoneSet"])";
constexpr const char* kSuccessClass = "operatecss4";
}  // namespace

Json bmc_time_zone(VornaWebWrapper& w, const Json& method, const Json& state, const Json& city) {
  constexpr const char* op = "bmc_time_zone";
  const bool get = method == "GET";
  const bool set = method == "SET";
  // The drop-downs are chosen by their visible text; a region or city of another type is
  // refused before the page is touched.
  if (get) require_text_or_null(state, op, "state");
  if (set) {
    auto require_text = [op](const Json& value, const char* name) {
      if (!value.is_string())
        throw marlet::TypeError(py::format("%s() argument '%s' must be a text for SET, not %s", op, name,
                                           py::type_name(value)));
    };
    require_text(state, "state");
    require_text(city, "city");
  }

  w.logger().info("[bmcTimeZone] start...");
  open_page(w, pages::kNetwork);
  if (get) {
    w.logger().info("[bmcTimeZone] get...");
    Json result;
    if (state.is_null()) {
      auto region = w.getAttributeById("timezoneState", "value");
      auto town = w.getAttributeById("timezoneCity", "value");
      result = Json::object();
      result["state"] = region ? Json(*region) : Json(nullptr);
      result["city"] = town ? Json(*town) : Json(nullptr);
    } else {
      webdriver::Select(w.locateElementByXpath(kStateXpath)).select_by_visible_text(state.get<std::string>());
      result = Json::array();
      for (auto& entry : py::split(w.session().find_element_by_id("timezoneCity").text(), "\n"))
        result.push_back(entry);
    }
    leave_content_frame(w);
    w.logger().info("time zone:" + py::str(result));
    w.logger().info("[bmcTimeZone] completion.");
    return result;
  }
  if (set) {
    w.logger().info("[bmcTimeZone] set...");
    try {
      w.locateElementById("timezoneState");
    } catch (const std::exception& e) {
      w.logger().warn(py::format("failed search element with id:timezoneState. \n %s", e.what()));
      return false;
    }
    w.scrollScreen("xpath", kStateXpath, 2);
    webdriver::Select(w.locateElementByXpath(kStateXpath)).select_by_visible_text(state.get<std::string>());
    webdriver::Select(w.locateElementByXpath(kCityXpath)).select_by_visible_text(city.get<std::string>());
    w.scrollScreen("xpath", kSaveXpath, 2);
    w.locateElementByXpath(kSaveXpath);
    leave_content_frame(w);
    w.waitElement("id", "OperateSucc", 20, 1);
    auto notice = w.getAttributeById("OperateSucc", "class");
    w.logger().info("[bmcTimeZone] completion.");
    if (!notice || !py::contains(*notice, kSuccessClass)) throw marlet::WebDisplayException("set time zone failed");
    return nullptr;
  }
  throw marlet::MarletException("[bmcTimeZone] only support GET/SET, please check the input");
}

}  // namespace vorna
