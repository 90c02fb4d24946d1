// Time and units for the `marlet.utils` modules.
#include <pybind11/stl.h>

#include "marlet/utils/gui/web/trace.h"
#include "marlet/utils/time.h"
#include "marlet/utils/units.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/settle_policy.h"
#include "python/bindings.h"
#include "python/json_caster.h"
#include "python/interrupt.h"

namespace vorna_py {

void init_platform(py::module_& m) {
  install_interrupt_check();  // Ctrl-C ends any sleep of the process clock
  m.def("_sleep", [](double seconds) {
    {
      py::gil_scoped_release unlocked;
      marlet::process_clock().sleep_seconds(seconds);
    }
    raise_pending_interrupt();
  });
  m.def("_set_time_scale", &marlet::set_time_scale);
  m.def("_time_scale", &marlet::time_scale);
  m.def("_set_settle_policy", [](const marlet::Json& name) {
    vorna::set_process_settle_policy(vorna::parse_settle_policy(name, "the settle policy"));
  });
  m.def("_settle_policy", [] { return vorna::settle_policy_name(vorna::process_settle_policy()); });
  // The trace of the process: None, or (folder, mode) for every wrapper without a
  // "trace" key of its own, from its next browser on.
  m.def("_set_trace", [](const marlet::Json& folder, const std::string& mode) {
    if (folder.is_null()) return marlet::set_process_trace(std::nullopt);
    marlet::Json value = {{"dir", folder}, {"mode", mode}};
    marlet::set_process_trace(marlet::parse_trace_settings(value, "the trace"));
  });
  m.def("_trace", []() -> py::object {
    auto settings = marlet::process_trace();
    if (!settings) return py::none();
    return py::make_tuple(settings->dir, marlet::trace_mode_name(settings->mode));
  });
  m.def("_mask_text", &marlet::mask);
  m.def("_units_convert", [](const std::string& text, const std::string& unit) {
    return marlet::Units::convert(text, unit);
  });
}

}  // namespace vorna_py
