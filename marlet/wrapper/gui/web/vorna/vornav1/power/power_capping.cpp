// The power capping page (figures, the cap's switch and limit) and the restore policy.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/power/power_params.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/keys.h"

namespace vorna {
namespace py = marlet::py;

using power::attribute_has;

// `params` is part of the call but nothing in it is read, so any value serves.
Json VornaWebWrapper::web_get_power_capping_info(const Json& /*params*/) {
  open_page(pages::kPowerCapping, 10);
  locateElementById("unitsWatts");
  Json figures = Json::object();
  const std::pair<const char*, const char*> kFigures[] = {{"Current Power", "txtCurrentPower"},
                                                          {"Average Power", "txtAverPower"},
                                                          {"Peak Power", "txtPeakPower"},
                                                          {"Total Consumed Power", "txtTotalPower"}};
  for (const auto& [key, id] : kFigures) figures[key] = py::split(getTextById(id), " ").front();
  leave_content_frame();
  return figures;
}

bool VornaWebWrapper::web_set_power_cap(const Json& params) {
  require_params_map(params, "web_set_power_cap");
  bool enable = py::truthy(py::get(params, "enbale"));
  Json value = py::get(params, "value");
  // Refused before the page is touched: a cap is a number or its text.
  if (!value.is_null() && !value.is_number() && !value.is_string())
    throw marlet::TypeError(
        py::format("web_set_power_cap() value must be a number or a text, not %s", py::repr(value)));
  if (value.is_string()) typed_text(value.get<std::string>(), "value");
  open_page(pages::kPowerCapping, 10);
  locateElementById("unitsWatts");

  auto set_enable = [this](const Json& _value) -> bool {
    if (_value.is_null() || _value == 0) {
      logger().error("The Set Value can not be None");
      leave_content_frame();
      return false;
    }
    std::string wanted = py::str(_value);
    auto attr = getAttributeById("setcapping", "class");
    std::string limit = getTextById("LimitValue");
    if (attribute_has(attr, "off")) {
      locateElementById("setcapping");
      confirm_dialog();
      enter_content_frame();
    }
    // A part of the limit's text counts: 50 is met by a limit of 500.
    if (py::contains(limit, wanted)) {
      logger().info(py::format("Power Capping is enabled and Power Cap is %sW", wanted));
      leave_content_frame();
      return true;
    }
    locateElementById("edit");
    fillElementById("powercapping_text", wanted);
    locateElementById("inputsave");
    confirm_dialog();
    enter_content_frame();
    attr = getAttributeById("setcapping", "class");
    limit = getTextById("LimitValue");
    if (attribute_has(attr, "on") && py::contains(limit, wanted)) {
      logger().info(py::format("Power Capping is enabled and Power Cap is %sW", wanted));
      leave_content_frame();
      return true;
    }
    logger().info("Set Power Capping Failed");
    leave_content_frame();
    return false;
  };

  if (enable) return set_enable(value);
  auto attr = getAttributeById("setcapping", "class");
  if (attribute_has(attr, "off")) {
    logger().info("Power Capping is disabled");
    leave_content_frame();
    return true;
  }
  locateElementById("setcapping");
  confirm_dialog();
  enter_content_frame();
  attr = getAttributeById("setcapping", "class");
  if (attribute_has(attr, "off")) {
    logger().info("Power Capping set disabled successfully");
    leave_content_frame();
    return true;
  }
  logger().error("Set Power Capping disabled failed");
  leave_content_frame();
  return false;
}

bool VornaWebWrapper::web_set_poweron_strategy(const Json& params) {
  require_params_map(params, "web_set_poweron_strategy");
  logger().info("[setPoweronStrategy] set power on strategy.");
  follow_menu(pages::kPowerStrategy);
  page_settle();
  enter_content_frame();
  for (int i = 0; i < 3; ++i) session().find_element_by_id("npf").send_keys(webdriver::Keys::DOWN);
  locateElementById(py::truthy(py::get(params, "flag")) ? "checkRemainsPrevisions" : "checkAlwaysOn");
  locateElementById("btnSavePowerStrategy");
  leave_content_frame();
  settle(3);
  return true;
}

}  // namespace vorna
