#include "webdriver/http_transport.h"

#include <curl/curl.h>

#include <mutex>

#include "webdriver/errors.h"

namespace webdriver {
namespace {

std::string text(const Json& params, const char* key) {
  if (!params.contains(key) || !params[key].is_string())
    throw InvalidArgumentException(std::string("missing parameter ") + key, "invalid argument");
  return params[key].get<std::string>();
}

size_t collect(char* data, size_t size, size_t n, void* out) {
  static_cast<std::string*>(out)->append(data, size * n);
  return size * n;
}

void global_init() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

HttpTransport::HttpTransport(std::string base_url, std::chrono::milliseconds command_timeout)
    : base_(std::move(base_url)), timeout_(command_timeout) {
  while (!base_.empty() && base_.back() == '/') base_.pop_back();
  global_init();
  curl_ = curl_easy_init();
  if (!curl_) throw ConnectionException("cannot create an HTTP client", "connection error");
}

HttpTransport::~HttpTransport() { curl_easy_cleanup(static_cast<CURL*>(curl_)); }

HttpTransport::Route HttpTransport::route(std::string_view command, const Json& p, const std::string& sid) {
  const std::string s = "/session/" + sid;
  const std::string c(command);
  auto el = [&](const char* key = "id") { return s + "/element/" + text(p, key); };
  if (c == "WebDriver:NewSession") return {"POST", "/session", Json{{"capabilities", {{"alwaysMatch", p}}}}};
  if (c == "WebDriver:DeleteSession") return {"DELETE", s, nullptr};
  if (c == "WebDriver:Navigate") return {"POST", s + "/url", Json{{"url", text(p, "url")}}};
  if (c == "WebDriver:GetTitle") return {"GET", s + "/title", nullptr};
  if (c == "WebDriver:GetCurrentURL") return {"GET", s + "/url", nullptr};
  if (c == "WebDriver:GetPageSource") return {"GET", s + "/source", nullptr};
  if (c == "WebDriver:GetWindowHandles") return {"GET", s + "/window/handles", nullptr};
  if (c == "WebDriver:GetWindowHandle") return {"GET", s + "/window", nullptr};
  if (c == "WebDriver:SwitchToWindow") return {"POST", s + "/window", Json{{"handle", text(p, "handle")}}};
  if (c == "WebDriver:SwitchToFrame") {
    Json id = p.contains("element") ? Json{{kElementKey, p["element"]}} : p.value("id", Json(nullptr));
    return {"POST", s + "/frame", Json{{"id", id}}};
  }
  if (c == "WebDriver:SwitchToParentFrame") return {"POST", s + "/frame/parent", Json::object()};
  if (c == "WebDriver:ExecuteScript")
    return {"POST", s + "/execute/sync", Json{{"script", text(p, "script")}, {"args", p.value("args", Json::array())}}};
  if (c == "WebDriver:FindElement" || c == "WebDriver:FindElements") {
    std::string leaf = c == "WebDriver:FindElement" ? "/element" : "/elements";
    std::string base = p.contains("element") ? el("element") : s;
    return {"POST", base + leaf, Json{{"using", text(p, "using")}, {"value", text(p, "value")}}};
  }
  if (c == "WebDriver:GetElementText") return {"GET", el() + "/text", nullptr};
  if (c == "WebDriver:GetElementTagName") return {"GET", el() + "/name", nullptr};
  if (c == "WebDriver:IsElementDisplayed") return {"GET", el() + "/displayed", nullptr};
  if (c == "WebDriver:IsElementSelected") return {"GET", el() + "/selected", nullptr};
  if (c == "WebDriver:IsElementEnabled") return {"GET", el() + "/enabled", nullptr};
  if (c == "WebDriver:ElementClick") return {"POST", el() + "/click", Json::object()};
  if (c == "WebDriver:ElementClear") return {"POST", el() + "/clear", Json::object()};
  if (c == "WebDriver:ElementSendKeys") return {"POST", el() + "/value", Json{{"text", text(p, "text")}}};
  if (c == "WebDriver:GetElementAttribute") return {"GET", el() + "/attribute/" + text(p, "name"), nullptr};
  if (c == "WebDriver:GetElementProperty") return {"GET", el() + "/property/" + text(p, "name"), nullptr};
  if (c == "WebDriver:TakeScreenshot") return {"GET", s + "/screenshot", nullptr};
  throw InvalidArgumentException("the HTTP transport does not know the command " + c, "invalid argument");
}

Json HttpTransport::request(const Route& r) {
  CURL* curl = static_cast<CURL*>(curl_);
  std::string url = base_ + r.path;
  std::string body = r.body.is_null() ? "" : r.body.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string response;
  curl_easy_reset(curl);
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, r.method);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout_.count()));
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, 10000L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &collect);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response);
  curl_slist* headers = curl_slist_append(nullptr, "Content-Type: application/json; charset=utf-8");
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  if (!r.body.is_null()) {
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  }
  CURLcode rc = curl_easy_perform(curl);
  curl_slist_free_all(headers);
  if (rc != CURLE_OK) {
    std::string what = std::string(curl_easy_strerror(rc)) + " (" + r.method + " " + url + ")";
    if (rc == CURLE_OPERATION_TIMEDOUT) throw ConnectionException("no answer in time: " + what, "timeout");
    throw ConnectionException(what, "connection error");
  }
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  Json reply = Json::parse(response, nullptr, false);
  if (reply.is_discarded() || !reply.is_object())
    throw ProtocolException("malformed reply (HTTP " + std::to_string(status) + "): " + response.substr(0, 200),
                            "protocol error");
  Json value = reply.value("value", Json(nullptr));
  if (status >= 400 || (value.is_object() && value.contains("error") && value["error"].is_string())) {
    std::string code = value.is_object() ? value.value("error", "unknown error") : "unknown error";
    std::string message = value.is_object() ? value.value("message", "") : response;
    throw_w3c_error(code, message);
  }
  return value;
}

Json HttpTransport::execute(std::string_view command, const Json& params) {
  Json value = request(route(command, params.is_null() ? Json::object() : params, session_id_));
  if (command == "WebDriver:NewSession") {
    if (!value.is_object() || !value.contains("sessionId"))
      throw ProtocolException("new session reply without an id", "protocol error");
    session_id_ = value["sessionId"].get<std::string>();
  }
  return value;
}

}  // namespace webdriver
