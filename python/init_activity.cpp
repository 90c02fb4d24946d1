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
  cls.def(
      "_keep_activity_journal", [](marlet::WebBase& w, bool on) { w.activity.keep_journal(on); }, py::arg("on"),
      "Starts (True) or stops (False) keeping a journal of the settles and waits that end; empties it.");
  cls.def(
      "_activity_journal",
      [](marlet::WebBase& w) {
        py::list out;
        for (const auto& r : w.activity.take_journal()) {
          py::dict d;
          d["kind"] = r.kind;
          d["operation"] = r.operation;
          d["what"] = r.what;
          d["seconds"] = r.seconds;
          d["taken"] = r.taken;
          d["depth"] = r.depth;
          out.append(std::move(d));
        }
        return out;
      },
      "The settles and waits ended since the last call, oldest first, as {'kind', 'operation', 'what', "
      "'seconds' (the bound), 'taken', 'depth' (0: inside no other)}, console seconds; the journal is emptied.");
}

}  // namespace vorna_py
