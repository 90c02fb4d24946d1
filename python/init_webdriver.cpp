// The browser and its elements, with the names of Selenium 3's Python bindings, so that
// harness code can reach `wrapper.browser` as it would a Selenium driver.
#include <pybind11/stl.h>

#include "python/bindings.h"
#include "python/json_caster.h"
#include "webdriver/bidi.h"
#include "webdriver/webdriver.h"

namespace vorna_py {
namespace wd = webdriver;
using release = py::call_guard<py::gil_scoped_release>;

namespace {

// Script arguments: elements travel as references, everything else as JSON.
Json script_args(const py::args& args) {
  Json out = Json::array();
  for (auto a : args) {
    if (py::isinstance<wd::Element>(a)) out.push_back(a.cast<wd::Element&>().to_json());
    else out.push_back(to_json(a));
  }
  return out;
}

// Script results: element references become elements, recursively.
py::object script_result(wd::Session& s, const Json& v) {
  if (v.is_object() && v.contains(wd::kElementKey)) return py::cast(s.element_from(v));
  if (v.is_array()) {
    py::list out;
    for (const auto& e : v) out.append(script_result(s, e));
    return out;
  }
  if (v.is_object()) {
    py::dict out;
    for (const auto& [k, e] : v.items()) out[py::str(k)] = script_result(s, e);
    return out;
  }
  return from_json(v);
}

std::string joined_keys(const py::args& values) {
  std::string text;
  for (auto v : values) text += py::str(v).cast<std::string>();
  return text;
}

wd::By locator(const py::tuple& by) {
  if (by.size() != 2) throw py::value_error("a locator is a (By.X, value) pair");
  return wd::By::make(by[0].cast<std::string>(), by[1].cast<std::string>());
}

// A Python callable as a wait condition: called with the browser; an element or any
// true value holds.
wd::Condition python_condition(py::object fn) {
  return [fn](wd::Session& s) -> wd::ConditionResult {
    py::gil_scoped_acquire gil;
    py::object r = fn(py::cast(s.shared_from_this()));
    if (py::isinstance<wd::Element>(r)) return wd::ConditionResult::of(r.cast<wd::Element>());
    return PyObject_IsTrue(r.ptr()) ? wd::ConditionResult::yes() : wd::ConditionResult::no();
  };
}

py::object condition_value(const wd::ConditionResult& r) {
  if (r.element) return py::cast(*r.element);
  return py::bool_(r.ok);
}

wd::Condition as_condition(py::object c) {
  if (py::isinstance<wd::Condition>(c)) return c.cast<wd::Condition>();
  return python_condition(c);
}

}  // namespace

void init_webdriver(py::module_& m) {
  py::class_<wd::Element>(m, "_WebElement")
      .def_property_readonly("id", &wd::Element::id)
      .def_property_readonly("text", &wd::Element::text, release())
      .def_property_readonly("tag_name", &wd::Element::tag_name, release())
      .def("click", &wd::Element::click, release())
      .def("clear", &wd::Element::clear, release())
      .def("get_attribute", &wd::Element::get_attribute, release())
      .def("get_property", &wd::Element::get_property, release())
      .def("is_displayed", &wd::Element::is_displayed, release())
      .def("is_selected", &wd::Element::is_selected, release())
      .def("is_enabled", &wd::Element::is_enabled, release())
      .def("send_keys", [](wd::Element& e, py::args values) {
        std::string text = joined_keys(values);
        py::gil_scoped_release r;
        e.send_keys(text);
      })
      .def("find_element_by_xpath", &wd::Element::find_element_by_xpath, release())
      .def("find_elements_by_xpath", &wd::Element::find_elements_by_xpath, release())
      .def("find_element_by_id", &wd::Element::find_element_by_id, release())
      .def("__eq__", [](const wd::Element& a, const wd::Element& b) { return a == b; })
      .def("__hash__", [](const wd::Element& e) { return py::hash(py::str(e.id())); })
      .def("__repr__", [](const wd::Element& e) { return "<WebElement " + e.id() + ">"; });

  py::class_<wd::Session, std::shared_ptr<wd::Session>>(m, "_Browser")
      .def("get", &wd::Session::get, release())
      .def_property_readonly("title", &wd::Session::title, release())
      .def_property_readonly("capabilities", [](const wd::Session& s) { return s.capabilities(); })
      // The session's event channel (WebDriver BiDi): its address, or None without one;
      // the status says why there is none.
      .def_property_readonly("bidi_url",
                             [](const wd::Session& s) -> py::object {
                               auto channel = s.bidi();
                               if (!channel || !channel->connected()) return py::none();
                               return py::str(channel->url());
                             })
      .def_property_readonly("bidi_status", &wd::Session::bidi_status)
      .def_property_readonly("current_url", &wd::Session::current_url, release())
      .def_property_readonly("page_source", &wd::Session::page_source, release())
      .def_property_readonly("window_handles", &wd::Session::window_handles, release())
      .def_property_readonly("current_window_handle", &wd::Session::current_window_handle, release())
      .def("switch_to_window", &wd::Session::switch_to_window, release())
      .def("switch_to_frame", py::overload_cast<const wd::Element&>(&wd::Session::switch_to_frame), release())
      .def("switch_to_frame", py::overload_cast<int>(&wd::Session::switch_to_frame), release())
      .def("switch_to_frame", py::overload_cast<const std::string&>(&wd::Session::switch_to_frame), release())
      .def("switch_to_default_content", &wd::Session::switch_to_default_content, release())
      .def("switch_to_parent_frame", &wd::Session::switch_to_parent_frame, release())
      .def("execute_script", [](wd::Session& s, const std::string& script, py::args args) {
        Json a = script_args(args);
        Json result;
        {
          py::gil_scoped_release r;
          result = s.execute_script(script, a);
        }
        return script_result(s, result);
      })
      .def("find_element", [](wd::Session& s, const std::string& by, const std::string& value) {
        return s.find_element(wd::By::make(by, value));
      }, release(), py::arg("by") = "id", py::arg("value") = "")
      .def("find_elements", [](wd::Session& s, const std::string& by, const std::string& value) {
        return s.find_elements(wd::By::make(by, value));
      }, release(), py::arg("by") = "id", py::arg("value") = "")
      .def("find_element_by_id", &wd::Session::find_element_by_id, release())
      .def("find_element_by_xpath", &wd::Session::find_element_by_xpath, release())
      .def("find_elements_by_xpath", &wd::Session::find_elements_by_xpath, release())
      .def("find_element_by_css_selector", &wd::Session::find_element_by_css_selector, release())
      .def("find_element_by_class_name", &wd::Session::find_element_by_class_name, release())
      .def("find_element_by_name", &wd::Session::find_element_by_name, release())
      .def("get_screenshot_as_png", [](wd::Session& s) {
        std::vector<std::uint8_t> png;
        {
          py::gil_scoped_release r;
          png = s.get_screenshot_as_png();
        }
        return py::bytes(reinterpret_cast<const char*>(png.data()), png.size());
      })
      .def("save_screenshot", &wd::Session::save_screenshot, release())
      .def("quit", &wd::Session::quit, release())
      .def_property_readonly("command_count", &wd::Session::command_count);

  py::class_<wd::By>(m, "_By")
      .def_readonly_static("ID", &wd::By::ID)
      .def_readonly_static("XPATH", &wd::By::XPATH)
      .def_readonly_static("CLASS_NAME", &wd::By::CLASS_NAME)
      .def_readonly_static("CSS_SELECTOR", &wd::By::CSS_SELECTOR)
      .def_readonly_static("NAME", &wd::By::NAME)
      .def_readonly_static("TAG_NAME", &wd::By::TAG_NAME);

  py::class_<wd::Condition>(m, "_Condition");
  auto ec = m.def_submodule("_expected_conditions", "Wait conditions, as Selenium's expected_conditions.");
  ec.def("visibility_of_element_located", [](py::tuple by) { return wd::expected_conditions::visibility_of_element_located(locator(by)); });
  ec.def("presence_of_element_located", [](py::tuple by) { return wd::expected_conditions::presence_of_element_located(locator(by)); });
  ec.def("invisibility_of_element_located", [](py::tuple by) { return wd::expected_conditions::invisibility_of_element_located(locator(by)); });
  ec.def("title_is", &wd::expected_conditions::title_is);
  ec.def("title_contains", &wd::expected_conditions::title_contains);

  py::class_<wd::WebDriverWait>(m, "_WebDriverWait")
      .def(py::init<std::shared_ptr<wd::Session>, double, double>(), py::arg("driver"), py::arg("timeout"),
           py::arg("poll_frequency") = 0.5)
      .def("until", [](wd::WebDriverWait& w, py::object c, const std::string& message) {
        wd::Condition cond = as_condition(c);
        wd::ConditionResult r;
        {
          py::gil_scoped_release rel;
          r = w.until(cond, message);
        }
        return condition_value(r);
      }, py::arg("method"), py::arg("message") = "")
      .def("until_not", [](wd::WebDriverWait& w, py::object c, const std::string& message) {
        wd::Condition cond = as_condition(c);
        py::gil_scoped_release rel;
        return w.until_not(cond, message);
      }, py::arg("method"), py::arg("message") = "");

  py::class_<wd::Select>(m, "_Select")
      .def(py::init<wd::Element>(), release())
      .def_property_readonly("options", &wd::Select::options, release())
      .def_property_readonly("first_selected_option", &wd::Select::first_selected_option, release())
      .def("select_by_visible_text", &wd::Select::select_by_visible_text, release())
      .def("select_by_value", &wd::Select::select_by_value, release())
      .def("select_by_index", &wd::Select::select_by_index, release());

  // Key codes as plain text constants.
  py::object keys = py::module_::import("types").attr("SimpleNamespace")();
  const std::pair<const char*, const char*> kKeys[] = {
      {"NULL", wd::Keys::NULL_KEY}, {"BACKSPACE", wd::Keys::BACKSPACE}, {"TAB", wd::Keys::TAB},
      {"ENTER", wd::Keys::ENTER}, {"SHIFT", wd::Keys::SHIFT}, {"CONTROL", wd::Keys::CONTROL},
      {"ESCAPE", wd::Keys::ESCAPE}, {"SPACE", wd::Keys::SPACE}, {"PAGE_UP", wd::Keys::PAGE_UP},
      {"PAGE_DOWN", wd::Keys::PAGE_DOWN}, {"END", wd::Keys::END}, {"HOME", wd::Keys::HOME},
      {"LEFT", wd::Keys::LEFT}, {"UP", wd::Keys::UP}, {"RIGHT", wd::Keys::RIGHT},
      {"DOWN", wd::Keys::DOWN}, {"DELETE", wd::Keys::DELETE}};
  for (const auto& [name, code] : kKeys) keys.attr(name) = py::str(code);
  m.attr("_Keys") = keys;
}

}  // namespace vorna_py
