// The power capping page (figures, the cap's switch and limit) and the restore policy.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power_params.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/keys.h"

namespace vorna {
namespace py = marlet::py;

using power::attribute_has;

// `params` is part of the call but nothing in it is read, so any value serves.
Json web_get_power_capping_info(VornaWebWrapper& w, const Json& /*params*/) {
  open_page(w, pages::kPowerCapping, 10);
  w.locateElementById("unitsWatts");
  Json figures = Json::object();
  const std::pair<const char*, const char*> kFigures[] = {{"Current Power", "txtCurrentPower"},
                                                          {"Average Power", "txtAverPower"},
                                                          {"Peak Power", "txtPeakPower"},
                                                          {"Total Consumed Power", "txtTotalPower"}};
  for (const auto& [key, id] : kFigures) figures[key] = py::split(w.getTextById(id), " ").front();
  leave_content_frame(w);
  return figures;
}

bool web_set_power_cap(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_power_cap");
  bool enable = py::truthy(py::get(params, "enbale"));
  Json value = py::get(params, "value");
  // Refused before the page is touched: a cap is a number or its text.
  if (!value.is_null() && !value.is_number() && !value.is_string())
    throw marlet::TypeError(
        py::format("web_set_power_cap() value must be a number or a text, not %s", py::repr(value)));
  if (value.is_string()) typed_text(value.get<std::string>(), "value");
  open_page(w, pages::kPowerCapping, 10);
  w.locateElementById("unitsWatts");

  auto set_enable = [&w](const Json& _value) -> bool {
    if (_value.is_null() || _value == 0) {
      w.logger().error("The Set Value can not be None");
      leave_content_frame(w);
      return false;
    }
    std::string wanted = py::str(_value);
    auto attr = w.getAttributeById("setcapping", "class");
    std::string limit = w.getTextById("LimitValue");
    if (attribute_has(attr, "off")) {
      w.locateElementById("setcapping");
      confirm_dialog(w);
      enter_content_frame(w);
    }
    // A part of the limit's text counts: 50 is met by a limit of 500.
    if (py::contains(limit, wanted)) {
      w.logger().info(py::format("Power Capping is enabled and Power Cap is %sW", wanted));
      leave_content_frame(w);
      return true;
    }
    w.locateElementById("edit");
    w.fillElementById("powercapping_text", wanted);
    w.locateElementById("inputsave");
    confirm_dialog(w);
    enter_content_frame(w);
    attr = w.getAttributeById("setcapping", "class");
    limit = w.getTextById("LimitValue");
    if (attribute_has(attr, "on") && py::contains(limit, wanted)) {
      w.logger().info(py::format("Power Capping is enabled and Power Cap is %sW", wanted));
      leave_content_frame(w);
      return true;
    }
    w.logger().info("Set Power Capping Failed");
    leave_content_frame(w);
    return false;
  };

  if (enable) return set_enable(value);
  auto attr = w.getAttributeById("setcapping", "class");
  if (attribute_has(attr, "off")) {
    w.logger().info("Power Capping is disabled");
    leave_content_frame(w);
    return true;
  }
  w.locateElementById("setcapping");
  confirm_dialog(w);
  enter_content_frame(w);
  attr = w.getAttributeById("setcapping", "class");
  if (attribute_has(attr, "off")) {
    w.logger().info("Power Capping set disabled successfully");
    leave_content_frame(w);
    return true;
  }
  w.logger().error("Set Power Capping disabled failed");
  leave_content_frame(w);
  return false;
}

bool web_set_poweron_strategy(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_poweron_strategy");
  w.logger().info("[setPoweronStrategy] set power on strategy.");
  follow_menu(w, pages::kPowerStrategy);
  w.page_settle();
  enter_content_frame(w);
  for (int i = 0; i < 3; ++i) w.session().find_element_by_id("npf").send_keys(webdriver::Keys::DOWN);
  w.locateElementById(py::truthy(py::get(params, "flag")) ? "checkRemainsPrevisions" : "checkAlwaysOn");
  w.locateElementById("btnSavePowerStrategy");
  leave_content_frame(w);
  w.settle(3);
  return true;
}

}  // namespace vorna
