// Logins and the small operations that end or reset the browser.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/console_idioms.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;

namespace {

// The controller record's attribute, as the harness's object would give it.
Json record_attribute(const Json& bmc, const char* name) {
  if (!bmc.is_object() || !bmc.contains(name))
    throw marlet::AttributeError(py::format("controller record has no attribute %s", py::repr_text(name)));
  return bmc[name];
}

// A text, or a harness object that stands for one (an address object) by its str().
std::string text_value(const Json& value, const char* what) {
  if (value.is_string() || value.is_binary()) return py::str(value);
  throw marlet::ValueError(py::format("%s must be a text, not %s", what, py::repr(value)));
}

// A password: a text, refused with its type alone, so that the error never shows it.
std::string secret_value(const Json& value, const char* what) {
  if (value.is_string() || value.is_binary()) return py::str(value);
  throw marlet::ValueError(py::format("%s must be a text, not %s", what, py::type_name(value)));
}

int port_value(const Json& value, const char* what) {
  if (!value.is_number_integer() || value.get<long long>() < 0 || value.get<long long>() > 65535)
    throw marlet::ValueError(py::format("%s must be an integer from 0 to 65535, not %s", what, py::repr(value)));
  return static_cast<int>(value.get<long long>());
}

}  // namespace

bool VornaWebWrapper::web_login(const Json& params) {
  require_params_map(params, "web_login");
  if (!params.contains("bmc")) throw marlet::KeyError("bmc");
  const Json& record = params["bmc"];

  // Everything is read and checked before a browser is touched.
  Json local_ip = record_attribute(record, "local_ip");
  Json record_user = record_attribute(record, "username");
  Json record_password = record_attribute(record, "password");
  Json extra_port = record.is_object() && record.contains("extra_port") ? record["extra_port"] : Json(nullptr);

  Json address = py::truthy(py::get(params, "ip_address")) ? py::get(params, "ip_address") : local_ip;
  Json user = py::truthy(py::get(params, "username")) ? py::get(params, "username") : record_user;
  Json pass = py::truthy(py::get(params, "password")) ? py::get(params, "password") : record_password;
  std::string protocol = py::truthy(py::get(params, "web_protocol")) ? text_value(params["web_protocol"], "web_protocol")
                                                                  : "https";
  if (protocol != "https" && protocol != "http")
    throw marlet::ValueError("web_protocol must be 'https' or 'http', not " + py::repr_text(protocol));
  int port;
  if (py::truthy(py::get(params, "web_port"))) {
    port = port_value(params["web_port"], "web_port");
  } else {
    // The default is the record's "https" port whatever the protocol.
    Json https_port = extra_port.is_object() && extra_port.contains("https") ? extra_port["https"] : Json(443);
    port = port_value(https_port, "bmc.extra_port['https']");
  }
  std::string address_text = text_value(address, "the controller address");
  std::string user_text = typed_text(text_value(user, "username"), "username");
  std::string pass_text = typed_text(secret_value(pass, "password"), "password");

  bmc_ip = local_ip;
  username = record_user;
  password = record_password;

  logger().info("[login] Login BMC Web ...");
  logger().info(py::format("[login] ipv4_address: %s", address));
  logger().info(py::format("[login] username: %s", user));
  logger().info(py::format("[login] password: %s", pass));
  logger().info(py::format("[login] protocol: %s", protocol));
  logger().info(py::format("[login] port: %s", port));

  if (isClosed()) {
    browser = openFirefox();
    std::string url = py::format("%s://%s:%d/login.html", protocol, address_text, port);
    logger().info(py::format("[login] url: %s", url));
    // A console that never answers, or drops the connection, leaves a browser stuck on
    // a page that is not the console's: it is closed, so that the next login starts anew.
    try {
      browser->get(url);
    } catch (...) {
      close();
      throw;
    }
  }

  waitElement("id", "iptUserName", 20, 1);
  settle(10);
  fillElementById("iptUserName", user_text);
  fillElementById("iptPassword", pass_text);
  locateElementById("btnLogin", {.click = true});
  settle(30);

  bool tips_dialog = true;
  try {
    waitElement("id", "loginAutherP", 5, 1);
  } catch (const std::exception& e) {
    tips_dialog = false;
    logger().warn(e.what());
    logger().warn("No need to update password.");
  }
  if (tips_dialog) {
    locateElementById("modify_pwd_tips", {.click = true});
    locateElementById("ok_change", {.click = true});
  }

  try {
    waitElement("id", "menu_INFO", 5, 1);
  } catch (const std::exception& e) {
    auto cause = std::current_exception();
    std::string text = e.what();
    _screenshot("web_login");  // the page that refused the login, before the browser goes
    close();
    throw marlet::WebLoginException(py::format("Login Bmc Web Fail!%s", text), cause);
  }

  logger().info(py::format("[login] Login success, title: %s", browser->title()));
  current_user = user;
  isLogin = true;
  return true;
}

void VornaWebWrapper::web_logout() {
  if (isClosed()) return;
  if (!isLogin) return;
  logger().info("[logout] Logout BMC Web ...");
  settle(5);
  auto elements = quiet_lookups(*this, R"(//span[text()="Log Out"])");
  if (elements.empty()) throw marlet::IndexError("list index out of range");
  session().execute_script("arguments[0].click();", Json::array({elements.front().to_json()}));
  wait_until_visible_class(*this, "loginMain", 20, 1);
  _screenshot();
  logger().info(py::format("[logout] Logout success, title: %s", browser->title()));
  isLogin = false;
}

void VornaWebWrapper::web_close() { close(); }

void VornaWebWrapper::web_kill_firefox() { killFirefox(); }

void VornaWebWrapper::web_switch_page_logout() {
  auto handles = session().window_handles();
  if (handles.empty()) throw marlet::IndexError("list index out of range");
  browser->switch_to_window(handles.front());
  browser->switch_to_default_content();
}

}  // namespace vorna
