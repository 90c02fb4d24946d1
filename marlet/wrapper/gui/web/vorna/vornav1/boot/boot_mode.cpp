// Legacy BIOS or UEFI on the boot settings page, and the one call that brings boot mode,
// effectiveness and boot option to wanted values with a read-back of each.
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/boot/boot_codes.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace vorna {
namespace py = marlet::py;

void switch_to_first_window(VornaWebWrapper& w) {
  auto handles = w.session().window_handles();
  if (handles.empty()) throw marlet::IndexError("list index out of range");
  w.browser->switch_to_window(handles.front());
}

Json web_get_boot_mode(VornaWebWrapper& w) {
  switch_to_first_window(w);
  open_page(w, pages::kBootSettings);
  auto legacy_value = w.getAttributeById(boot::kLegacy, "value");
  auto legacy_checked = w.getAttributeById(boot::kLegacy, "checked");
  auto uefi_value = w.getAttributeById(boot::kUefi, "value");
  auto uefi_checked = w.getAttributeById(boot::kUefi, "checked");
  leave_content_frame(w);
  auto selected = boot::selected_value(legacy_value, legacy_checked, "0", uefi_value, uefi_checked, "1");
  if (selected) return *selected;
  w.logger().error("get Boot Mode error");
  return false;
}

void web_set_boot_mode(VornaWebWrapper& w, const Json& params) {
  require_params_map(params, "web_set_boot_mode");
  Json mode = py::get(params, "mode");
  switch_to_first_window(w);
  open_page(w, pages::kBootSettings);
  if (mode == "0" || mode == "1") {
    w.locateElementById(mode == "0" ? boot::kLegacy : boot::kUefi);
    w.locateElementByXpath(boot::kSaveSpan);
    confirm_dialog(w);
    return;
  }
  leave_content_frame(w);
  w.logger().error(py::format("no this mode %s", mode));
}

void change_startup_mode(VornaWebWrapper& w, const Json& mode) {
  open_page(w, pages::kBootSettings);
  // By truth, the opposite sense of the boot mode codes: true (even the text "0") is legacy.
  w.locateElementById(py::truthy(mode) ? boot::kLegacy : boot::kUefi);
  w.locateElementById(boot::kSave);
  confirm_dialog(w);
}

Json modify_msconfig(VornaWebWrapper& w, const Json& boot_mode, const Json& effective, const Json& option_mode) {
  // The reads and writes other than the effectiveness's read are the injected functions,
  // looked up on the object at each call, so a harness's replacement is the one called.
  auto injected = [&w](const char* name, Json args) -> Json {
    if (!w.sibling())
      throw marlet::AttributeError(py::format("'VornaWebWrapper' object has no attribute '%s'", name));
    return w.sibling()->call(name, args);
  };
  struct Stage {
    const char* line;
    std::function<Json()> read;
    const char* write;
    const Json& wanted;
    const char* failure;
  };
  const Stage stages[] = {
      {"设置Boot Mode", [&] { return injected("get_boot_mode", Json::array()); }, "set_boot_mode", boot_mode,
       "Set Boot Mode To uefi Failed "},
      {"设置Effective", [&] { return web_get_effective(w); }, "set_effective", effective,
       "Set Effective To once Failed "},
      {"设置Blade Boot Option", [&] { return injected("get_boot_option", Json::array()); }, "set_boot_option",
       option_mode, "Set Blade Boot Option To CD_ROM_BOOT Failed "},
  };

  switch_to_first_window(w);
  Json found = Json::array();
  for (const auto& stage : stages) {
    w.logger().info(stage.line);
    Json earlier = stage.read();
    found.push_back(earlier);
    if (boot::py_equal(earlier, stage.wanted)) continue;
    injected(stage.write, Json::array({stage.wanted}));
    // No roll-back: the stages before stay applied, the later ones do not run.
    if (!boot::py_equal(stage.read(), stage.wanted)) throw marlet::WebDisplayException(stage.failure);
  }
  return found;
}

}  // namespace vorna
