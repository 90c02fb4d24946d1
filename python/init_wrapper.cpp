// WebBase and VornaWebWrapper for Python: construction with the sibling module's
// injection, log lines routed to the class attribute `logger`, the GIL released for the
// whole of every operation, and a picture when an operation fails.
#include <pybind11/stl.h>

#include <mutex>

#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "python/bindings.h"
#include "python/json_caster.h"
#include "python/operation.h"
#include "webdriver/launcher.h"

namespace vorna_py {
using vorna::VornaWebWrapper;
using marlet::WebBase;
using release = py::call_guard<py::gil_scoped_release>;

namespace {

// Every line goes to `self.logger`, looked up at each call, so a harness that swaps the
// class attribute (or sets one on the object) gets the lines; a child's lines go to the
// logger named "<its name>.<suffix>" (the class's name when it has none).
class PythonLogger final : public marlet::Logger {
 public:
  explicit PythonLogger(VornaWebWrapper* owner, std::string suffix = "") : owner_(owner), suffix_(std::move(suffix)) {}
  void log(marlet::LogLevel level, const std::string& line) override {
    py::gil_scoped_acquire gil;
    py::object self = py::cast(owner_, py::return_value_policy::reference);
    const char* method = level == marlet::LogLevel::Info ? "info" : level == marlet::LogLevel::Warn ? "warn" : "error";
    py::object target = self.attr("logger");
    if (!suffix_.empty()) {
      // A harness's own logger may have no name: its children are then the class's.
      std::string base = py::hasattr(target, "name") ? py::str(target.attr("name")).cast<std::string>()
                                                     : std::string(VornaWebWrapper::kModuleName);
      std::string name = base + "." + suffix_;
      target = py::module_::import("marlet.log").attr("get_logger")(name);
    }
    target.attr(method)(line);
  }
  std::shared_ptr<marlet::Logger> child(const std::string& suffix) override {
    return std::make_shared<PythonLogger>(owner_, suffix_.empty() ? suffix : suffix_ + "." + suffix);
  }

 private:
  VornaWebWrapper* owner_;
  std::string suffix_;
};

// Opens browsers as usual and remembers them, so that an interpreter that exits with a
// wrapper still alive (a reference cycle, a module global) leaves no browser behind.
class TrackingFactory final : public marlet::BrowserFactory {
 public:
  std::shared_ptr<webdriver::Session> open(const webdriver::LaunchOptions& options, marlet::Clock& clock) override {
    auto session = webdriver::launch(options, &clock);
    std::lock_guard<std::mutex> lock(mutex());
    auto& all = sessions();
    std::erase_if(all, [](const auto& w) { return w.expired(); });
    all.push_back(session);
    return session;
  }
  static void quit_all() {
    std::vector<std::shared_ptr<webdriver::Session>> alive;
    {
      std::lock_guard<std::mutex> lock(mutex());
      for (auto& w : sessions())
        if (auto s = w.lock()) alive.push_back(s);
      sessions().clear();
    }
    for (auto& s : alive) s->quit();
  }

 private:
  static std::mutex& mutex() {
    static std::mutex m;
    return m;
  }
  static std::vector<std::weak_ptr<webdriver::Session>>& sessions() {
    static std::vector<std::weak_ptr<webdriver::Session>> s;
    return s;
  }
};

// Functions injected from the sibling module, called back from C++ operations.
class InjectedFunctions final : public vorna::SiblingFunctions {
 public:
  explicit InjectedFunctions(VornaWebWrapper* owner) : owner_(owner) {}
  Json call(const std::string& name, const Json& args) override {
    py::gil_scoped_acquire gil;
    py::object self = py::cast(owner_, py::return_value_policy::reference);
    if (!py::hasattr(self, name.c_str())) throw marlet::KeyError(name);
    py::object fn = self.attr(name.c_str());
    py::tuple a(args.is_array() ? args.size() : 0);
    for (size_t i = 0; i < a.size(); ++i) a[i] = from_json(args[i]);
    return to_json(fn(*a));
  }

 private:
  VornaWebWrapper* owner_;
};

// The sibling module's names, sorted; a name with "__" anywhere is skipped; an attribute
// whose type's name matches "function" becomes a method of this object, any other value
// is copied as it is.
void inject(py::object self) {
  py::module_ builtins = py::module_::import("builtins");
  py::module_ re = py::module_::import("re");
  py::module_ types = py::module_::import("types");
  for (auto name : self.attr("modules")) {
    py::module_ mod = py::module_::import(py::str(name).cast<std::string>().c_str());
    py::list names = builtins.attr("sorted")(builtins.attr("dir")(mod));
    for (auto n : names) {
      std::string attr_name = n.cast<std::string>();
      if (attr_name.find("__") != std::string::npos) continue;
      py::object value = mod.attr(n);
      py::object type_text = builtins.attr("str")(builtins.attr("type")(value));
      if (!re.attr("search")("function", type_text).is_none())
        py::setattr(self, n, types.attr("MethodType")(value, self));
      else
        py::setattr(self, n, value);
    }
  }
}

Json controller_record(py::handle bmc) {
  if (bmc.is_none()) return nullptr;
  static py::object mapping = py::module_::import("collections.abc").attr("Mapping");
  if (py::isinstance(bmc, mapping)) return to_json(bmc);
  Json record = Json::object();
  for (const char* attr : {"local_ip", "username", "password", "extra_port"})
    if (py::hasattr(bmc, attr)) record[attr] = to_json(bmc.attr(attr));
  return record;
}

// The login's params as the operation reads them: KeyError('bmc') before anything else
// happens; a map whose reads fail is the harness's fault and reads as a TypeError, like
// any other unreadable value.
bool web_login(VornaWebWrapper& w, py::object params) {
  static py::object mapping = py::module_::import("collections.abc").attr("Mapping");
  if (!py::isinstance(params, mapping)) throw py::type_error("web_login() takes a map of parameters");
  Json p = Json::object();
  try {
    py::object bmc = params["bmc"];
    for (auto item : py::dict(params)) {
      std::string key = to_json(py::str(item.first)).get<std::string>();
      p[key] = key == "bmc" ? controller_record(item.second) : to_json(item.second);
    }
  } catch (py::error_already_set& e) {
    raise_unreadable(e, params);  // a harness object whose attribute or text fails
  }
  return operation(&VornaWebWrapper::web_login, "web_login")(w, p);
}

}  // namespace

Subsystem session_operations() {
  using W = VornaWebWrapper;
  return {"session", {
    custom_op("web_login", web_login, {"params"}, Login::none, "Opens the browser if none is open and logs in with params[\"bmc\"] (and the optional overrides)."),
    op("web_logout", &W::web_logout, {}, Login::needed, "Logs out of the console."),
    op("web_close", &W::web_close, {}, Login::none, "Ends the browser."),
    op("web_kill_firefox", &W::web_kill_firefox, {}, Login::none, "Ends the browser forcibly."),
    op("web_switch_page_logout", &W::web_switch_page_logout, {}, Login::needed, "Switches to the first window and its top document."),
  }};
}

void init_wrapper(py::module_& m) {
  py::class_<WebBase, ReleasingHolder<WebBase>>(m, "_WebBase", py::dynamic_attr())
      .def(py::init([](py::object) { return new WebBase(); }), py::arg("host") = py::none())
      .def("isClosed", &WebBase::isClosed, release())  // may end a dead browser's leftovers
      // Our browser's process id (the driver's, behind a driver), None when none is open.
      .def_property_readonly("browser_pid",
                             [](WebBase& w) -> std::optional<int> {
                               int pid = w.browserPid();
                               return pid > 0 ? std::optional<int>(pid) : std::nullopt;
                             })
      .def("openFirefox", &WebBase::openFirefox, release())
      .def("close", &WebBase::close, release())
      .def("killFirefox", &WebBase::killFirefox, release())
      .def("locateElementById",
           [](WebBase& w, const std::string& id, bool click, bool highlight, int retry, double delay) {
             return w.locateElementById(id, {.click = click, .highlight = highlight, .retry = retry, .delay = delay});
           },
           release(), py::arg("_id"), py::arg("click") = true, py::arg("highlight") = true, py::arg("retry") = 1,
           py::arg("delay") = 3)
      .def("locateElementByXpath",
           [](WebBase& w, const std::string& xpath, bool highlight, bool click) {
             return w.locateElementByXpath(xpath, {.click = click, .highlight = highlight});
           },
           release(), py::arg("xpath"), py::arg("highlight") = true, py::arg("click") = true)
      .def("locateElementsByXpath",
           [](WebBase& w, const std::string& xpath, bool highlight, bool click) {
             return w.locateElementsByXpath(xpath, {.highlight = highlight, .click = click});
           },
           release(), py::arg("xpath"), py::arg("highlight") = false, py::arg("click") = false)
      .def("fillElementById", &WebBase::fillElementById, release(), py::arg("_id"), py::arg("value"),
           py::arg("highlight") = true)
      .def("fillElementByXpath", &WebBase::fillElementByXpath, release(), py::arg("xpath"), py::arg("value"),
           py::arg("highlight") = true)
      .def("getTextById",
           [](WebBase& w, const std::string& id, int retry, bool highlight) {
             return w.getTextById(id, {.retry = retry, .highlight = highlight});
           },
           release(), py::arg("_id"), py::arg("retry") = 3, py::arg("highlight") = false)
      .def("getTextByXpath",
           [](WebBase& w, const std::string& xpath, int retry, bool highlight) {
             return w.getTextByXpath(xpath, {.retry = retry, .highlight = highlight});
           },
           release(), py::arg("xpath"), py::arg("retry") = 3, py::arg("highlight") = false)
      .def("getAttributeById",
           [](WebBase& w, const std::string& id, std::optional<std::string> name, std::optional<std::string> key) {
             return w.getAttributeById(id, name ? *name : key.value_or(""));
           },
           release(), py::arg("_id"), py::arg("name") = py::none(), py::arg("key") = py::none())
      .def("getAttributeByXpath",
           [](WebBase& w, const std::string& xpath, std::optional<std::string> name, std::optional<std::string> key) {
             return w.getAttributeByXpath(xpath, name ? *name : key.value_or(""));
           },
           release(), py::arg("xpath"), py::arg("name") = py::none(), py::arg("key") = py::none())
      .def("setAttributeByXpath", &WebBase::setAttributeByXpath, release())
      .def("waitElement", &WebBase::waitElement, release(), py::arg("kind"), py::arg("locator"), py::arg("wait"),
           py::arg("poll"), py::arg("visibility") = true)
      .def("scrollScreen", &WebBase::scrollScreen, release(), py::arg("kind"), py::arg("locator"),
           py::arg("times") = 2)
      .def("_screenshot", &WebBase::_screenshot, release(), py::arg("operation") = "")
      .def("command_count",
           [](const WebBase& w) -> std::uint64_t { return w.browser ? w.browser->command_count() : 0; })
      .def_readwrite("browser", &WebBase::browser)
      .def_readwrite("timeout", &WebBase::timeout)
      .def_readwrite("download_dir", &WebBase::download_dir);

  auto cls = WrapperClass(m, "VornaWebWrapper", py::dynamic_attr());
  cls.def(py::init([](py::object params) {
       static py::object mapping = py::module_::import("collections.abc").attr("Mapping");
       if (!py::isinstance(params, mapping))
         throw py::type_error("VornaWebWrapper() takes a map of parameters, not " +
                              py::str(py::type::of(params).attr("__name__")).cast<std::string>());
       Json p = Json::object();
       try {
         py::dict d(params);
         if (d.contains("browser")) p["browser"] = to_json(d["browser"]);
         if (d.contains("settle")) p["settle"] = to_json(d["settle"]);
         if (d.contains("trace")) p["trace"] = to_json(d["trace"]);
       } catch (py::error_already_set& e) {
         raise_unreadable(e, params);  // a harness map whose reads fail
       }
       return new VornaWebWrapper(p, nullptr, nullptr, std::make_shared<TrackingFactory>());
     }),
     py::arg("params"));
  // The construction steps that need the Python object: the logger, the harness's
  // objects, and the injection, which must come after every attribute is set.
  py::object cpp_init = cls.attr("__init__");
  cls.attr("__init__") = py::cpp_function(
      [cpp_init](py::object self, py::object params) {
        cpp_init(self, params);
        auto& w = self.cast<VornaWebWrapper&>();
        w.set_logger(std::make_shared<PythonLogger>(&w));
        w.set_sibling_functions(std::make_shared<InjectedFunctions>(&w));
        try {
          py::object get = params.attr("get");
          self.attr("host") = get("host");
          self.attr("device") = get("device");
        } catch (py::error_already_set& e) {
          raise_unreadable(e, params);
        }
        // No operation reads these three; they are the harness's, kept as plain Python
        // attributes so that whatever it stores there comes back as the same object.
        self.attr("bmc") = py::none();
        self.attr("page") = py::none();
        self.attr("UniWebDrivers") = py::list();
        inject(self);
      },
      py::is_method(cls), py::arg("params"));

  cls.def_readwrite("isLogin", &VornaWebWrapper::isLogin)
      .def_readwrite("bmc_ip", &VornaWebWrapper::bmc_ip)
      .def_readwrite("username", &VornaWebWrapper::username)
      .def_readwrite("password", &VornaWebWrapper::password)
      .def_readwrite("current_user", &VornaWebWrapper::current_user);
  // The settle policy of the object (None: the process's), one settle on its own, and
  // what its adaptive settles did.
  cls.def_property_readonly("settle_policy", [](const VornaWebWrapper& w) -> py::object {
    if (auto p = w.settle_policy()) return py::str(vorna::settle_policy_name(*p));
    return py::none();
  });
  // The trace file of the current or last browser session (None: none, or deleted at
  // the end of a session in which nothing failed, under "retain-on-failure").
  cls.def_property_readonly("trace_path", [](const VornaWebWrapper& w) -> py::object {
    std::string path = w.trace_path();
    return path.empty() ? py::object(py::none()) : py::object(py::str(path));
  });
  cls.def("_settle", [](VornaWebWrapper& w, double seconds) { w.settle(seconds); }, release(), py::arg("seconds"));
  cls.def("_settle_stats", [](const VornaWebWrapper& w) {
    const auto& s = w.settle_stats();
    py::dict d;
    d["settles"] = s.settles;
    d["early"] = s.early;
    d["polls"] = s.polls;
    d["failed_polls"] = s.failed_polls;
    d["saved"] = s.saved;
    d["by_events"] = s.by_events;
    d["by_watcher"] = s.by_watcher;
    d["source"] = s.source;
    return d;
  });

  m.attr("_operations") = bind_operations(cls);

  cls.attr("logger") = py::module_::import("marlet.log").attr("get_logger")(VornaWebWrapper::kModuleName);
  py::list modules;
  for (const auto& name : VornaWebWrapper::modules()) modules.append(name);
  cls.attr("modules") = modules;

  py::module_::import("atexit").attr("register")(py::cpp_function([] {
    py::gil_scoped_release unlocked;
    TrackingFactory::quit_all();
  }));
}

}  // namespace vorna_py
