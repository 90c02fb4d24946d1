// `activity()` on the element layer: the settle or wait an operation is in, read from
// another Python thread while the operation runs with the GIL released.
#include "marlet/utils/gui/web/web_base.h"
#include "python/bindings.h"

namespace vorna_py {

void init_activity(py::module_& m) {
  auto cls = py::reinterpret_borrow<py::class_<marlet::WebBase>>(m.attr("_WebBase"));
  cls.def(
      "activity",
      [](marlet::WebBase& w) -> py::object {
        // Only the record's lock is taken, briefly: no need to give up the GIL.
        auto snap = w.activity.snapshot(w.clock());
        if (!snap) return py::none();
        py::dict d;
        d["kind"] = snap->kind;
        d["operation"] = snap->operation;
        d["what"] = snap->what;
        d["seconds"] = snap->seconds;
        d["left"] = snap->left;
        return std::move(d);
      },
      "The settle or bounded wait under way as {'kind': 'settle' | 'wait', 'operation', 'what', "
      "'seconds', 'left'} (console seconds, before the time scale), or None.");
}

}  // namespace vorna_py
