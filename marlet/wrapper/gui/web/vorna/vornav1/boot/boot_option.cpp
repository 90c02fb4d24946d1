// The boot device and whether that choice holds for one start or for good, on the boot
// settings page. Nothing here catches a failure: the content frame stays entered then.
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot_codes.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "webdriver/errors.h"

namespace vorna {
namespace py = marlet::py;

void web_set_boot_option(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_boot_option");
  Json option = py::get(params, "option");
  w.logger().info(py::format("[setBootOption] option:%s", option));
  open_page(w, pages::kBootSettings);
  Json shown = boot::code_of_page_value(w.getAttributeById(boot::kOptionList, "value"));
  if (boot::py_equal(shown, option)) {
    leave_content_frame(w);  // already set: no click, no save, no dialog
    return;
  }
  Json entry = boot::entry_of_code(option);
  Element list = w.locateElementById(boot::kOptionList, {.click = false});
  // An option outside the table has no list entry: the browser refuses a lookup without
  // a locator, before anything on the page is chosen or saved.
  if (entry.is_null())
    throw webdriver::InvalidArgumentException(
        py::format("no list entry of %s for the boot option %s", boot::kOptionList, py::repr(option)),
        "invalid argument");
  list.find_element_by_xpath(entry.get<std::string>()).click();
  w.locateElementById(boot::kSave);
  confirm_dialog(w);
}

Json web_get_boot_option(VornaWebWrapper& w) {
  w.logger().info("[getBootOption] ...");
  open_page(w, pages::kBootSettings);
  Json code = boot::code_of_page_value(w.getAttributeById(boot::kOptionList, "value"));
  leave_content_frame(w);
  return code;
}

Json web_get_effective(VornaWebWrapper& w) {
  open_page(w, pages::kBootSettings);
  auto once_value = w.getAttributeById(boot::kOnce, "value");
  auto once_checked = w.getAttributeById(boot::kOnce, "checked");
  auto permanent_value = w.getAttributeById(boot::kPermanent, "value");
  auto permanent_checked = w.getAttributeById(boot::kPermanent, "checked");
  leave_content_frame(w);
  auto selected = boot::selected_value(once_value, once_checked, "0", permanent_value, permanent_checked, "1");
  if (selected) return *selected;
  w.logger().error("get Boot Mode error");
  return false;
}

void web_set_effective(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_effective");
  Json mode = py::get(params, "mode");
  open_page(w, pages::kBootSettings);
  // Only the texts "0" and "1" select a button; an integer is no code.
  if (mode == "0" || mode == "1") {
    w.locateElementById(mode == "0" ? boot::kOnce : boot::kPermanent);
    w.locateElementByXpath(boot::kSaveSpan);
    confirm_dialog(w);
    return;
  }
  leave_content_frame(w);
  w.logger().error(py::format("no this mode %s", mode));
}

}  // namespace vorna
