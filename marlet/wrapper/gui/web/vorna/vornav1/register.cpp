// Logins from params alone, with the wrapper's attributes as defaults: web_register, which
// can go through the console's forced password change at an account's first login, and
// web_register_web, which reports a failed login by its result.
#include "marlet/exception/exceptions.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/operation_params.h"

namespace vorna {
namespace py = marlet::py;

namespace {

constexpr const char* kCopyright = "//span[contains(text(),'Copyright')]";

// The value of `key`, or the wrapper's attribute when the value is empty or null. With
// neither there is nothing to log in with: KeyError naming the key.
Json with_default(const Json& params, const char* key, const Json& attribute) {
  Json value = py::get(params, key);
  if (py::truthy(value)) return value;
  if (py::truthy(attribute)) return attribute;
  throw marlet::KeyError(key);
}

std::string text_of(const Json& value, const char* key) {
  if (!value.is_string())
    throw marlet::TypeError(py::format("%s must be a text, not %s", key, py::type_name(value)));
  return value.get<std::string>();
}

}  // namespace

VornaWebWrapper::RegisterLogin VornaWebWrapper::register_start(const Json& params, const char* operation) {
  require_params_map(params, operation);
  Json address = with_default(params, "ipv4", bmc_ip);
  Json user = with_default(params, "username", username);
  Json pass = with_default(params, "password", password);
  // An address object of the harness stands for its text; names and passwords are typed.
  if (!address.is_string() && !address.is_binary())
    throw marlet::TypeError(py::format("ipv4 must be a text, not %s", py::type_name(address)));
  RegisterLogin login{py::str(address), typed_text(text_of(user, "username"), "username"),
                     typed_text(text_of(pass, "password"), "password")};

  logger().info("[login] Login BMC Web ...");
  logger().info(py::format("[login] ipv4_address: %s", address));
  logger().info(py::format("[login] username: %s", user));
  logger().info(py::format("[login] password: %s", pass));

  if (isClosed()) {
    browser = openFirefox();
    // No port: the console answers on the standard HTTPS port.
    // A console that never answers, or drops the connection, leaves a browser stuck on
    // a page that is not the console's: it is closed, so that the next login starts anew.
    try {
      browser->get(py::format("https://%s/login.html", login.address));
    } catch (...) {
      close();
      throw;
    }
  }
  waitElement("xpath", kCopyright, 20, 1);
  fillElementById("iptUserName", login.user);
  fillElementById("iptPassword", login.password);
  locateElementById("btnLogin", {.click = true});
  return login;
}

bool VornaWebWrapper::web_register(const Json& params) {
  // "new_pwd" is checked before anything happens: a change that cannot be typed must not
  // begin.
  Json new_pwd = py::get(params, "new_pwd");
  if (py::truthy(new_pwd) && !new_pwd.is_string())
    throw marlet::TypeError(py::format("new_pwd must be a text, not %s", py::type_name(new_pwd)));
  if (py::truthy(new_pwd)) typed_text(new_pwd.get<std::string>(), "new_pwd");
  RegisterLogin login = register_start(params, "web_register");

  if (py::truthy(py::get(params, "isFirst"))) {
    try {
      waitElement("id", "changePWDTips", 5, 1);
      _screenshot();
      if (py::truthy(new_pwd)) {
        const std::string changed = new_pwd.get<std::string>();
        fillElementById("changePwdO", login.password);
        fillElementById("changePwdN", changed);
        fillElementById("changePwdNC", changed);
        locateElementById("ok_change", {.click = true});
        page_settle();
        // The console ends the login after the change and shows its login page again.
        waitElement("xpath", kCopyright, 20, 1);
        fillElementById("iptUserName", login.user);
        fillElementById("iptPassword", changed);
        locateElementById("btnLogin", {.click = true});
      } else {
        // Keep the password: the dialog is dismissed unchanged.
        locateElementById("modify_pwd_tips", {.click = true});
        locateElementById("ok_change", {.click = true});
      }
    } catch (const std::exception& e) {
      auto cause = std::current_exception();
      std::string text = e.what();
      logger().error(py::format("[login] Login failed, title: %s", browser->title()));
      throw marlet::WebLoginException(text, cause);
    }
  }

  logger().info(py::format("[login] Login success, title: %s", browser->title()));
  current_user = login.user;
  isLogin = true;
  return true;
}

bool VornaWebWrapper::web_register_web(const Json& params) {
  RegisterLogin login = register_start(params, "web_register_web");
  try {
    waitElement("id", "menu_INFO", 5, 1);
    logger().info(py::format("[login] Login success, title: %s", browser->title()));
    current_user = login.user;
    isLogin = true;
    return true;
  } catch (const std::exception& e) {
    logger().warn(py::format("Login Bmc Web Fail! %s", e.what()));
    return false;
  }
}

}  // namespace vorna
