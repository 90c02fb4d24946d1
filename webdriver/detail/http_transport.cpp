#include "webdriver/detail/http_transport.h"

#include <curl/curl.h>

#include <algorithm>
#include <exception>
#include <mutex>

#include "webdriver/clock.h"
#include "webdriver/errors.h"

namespace webdriver {
namespace {

struct Command {
  std::string_view name;
  const char* method;
  std::string_view path;  // $sessionId and $<parameter> are filled in
};

// Command names as Firefox's remote protocol spells them, to W3C HTTP routes.
constexpr Command kCommands[] = {
    {"WebDriver:NewSession", "POST", "/session"},
    {"WebDriver:DeleteSession", "DELETE", "/session/$sessionId"},
    {"WebDriver:GetTimeouts", "GET", "/session/$sessionId/timeouts"},
    {"WebDriver:SetTimeouts", "POST", "/session/$sessionId/timeouts"},
    {"WebDriver:Navigate", "POST", "/session/$sessionId/url"},
    {"WebDriver:GetCurrentURL", "GET", "/session/$sessionId/url"},
    {"WebDriver:Back", "POST", "/session/$sessionId/back"},
    {"WebDriver:Forward", "POST", "/session/$sessionId/forward"},
    {"WebDriver:Refresh", "POST", "/session/$sessionId/refresh"},
    {"WebDriver:GetTitle", "GET", "/session/$sessionId/title"},
    {"WebDriver:GetPageSource", "GET", "/session/$sessionId/source"},
    {"WebDriver:GetWindowHandle", "GET", "/session/$sessionId/window"},
    {"WebDriver:CloseWindow", "DELETE", "/session/$sessionId/window"},
    {"WebDriver:SwitchToWindow", "POST", "/session/$sessionId/window"},
    {"WebDriver:GetWindowHandles", "GET", "/session/$sessionId/window/handles"},
    {"WebDriver:NewWindow", "POST", "/session/$sessionId/window/new"},
    {"WebDriver:GetWindowRect", "GET", "/session/$sessionId/window/rect"},
    {"WebDriver:SetWindowRect", "POST", "/session/$sessionId/window/rect"},
    {"WebDriver:SwitchToFrame", "POST", "/session/$sessionId/frame"},
    {"WebDriver:SwitchToParentFrame", "POST", "/session/$sessionId/frame/parent"},
    {"WebDriver:GetActiveElement", "GET", "/session/$sessionId/element/active"},
    {"WebDriver:FindElement", "POST", "/session/$sessionId/element"},
    {"WebDriver:FindElements", "POST", "/session/$sessionId/elements"},
    {"WebDriver:IsElementSelected", "GET", "/session/$sessionId/element/$id/selected"},
    {"WebDriver:IsElementDisplayed", "GET", "/session/$sessionId/element/$id/displayed"},
    {"WebDriver:IsElementEnabled", "GET", "/session/$sessionId/element/$id/enabled"},
    {"WebDriver:GetElementAttribute", "GET", "/session/$sessionId/element/$id/attribute/$name"},
    {"WebDriver:GetElementProperty", "GET", "/session/$sessionId/element/$id/property/$name"},
    {"WebDriver:GetElementCSSValue", "GET", "/session/$sessionId/element/$id/css/$propertyName"},
    {"WebDriver:GetElementText", "GET", "/session/$sessionId/element/$id/text"},
    {"WebDriver:GetElementTagName", "GET", "/session/$sessionId/element/$id/name"},
    {"WebDriver:GetElementRect", "GET", "/session/$sessionId/element/$id/rect"},
    {"WebDriver:ElementClick", "POST", "/session/$sessionId/element/$id/click"},
    {"WebDriver:ElementClear", "POST", "/session/$sessionId/element/$id/clear"},
    {"WebDriver:ElementSendKeys", "POST", "/session/$sessionId/element/$id/value"},
    {"WebDriver:ExecuteScript", "POST", "/session/$sessionId/execute/sync"},
    {"WebDriver:ExecuteAsyncScript", "POST", "/session/$sessionId/execute/async"},
    {"WebDriver:GetCookies", "GET", "/session/$sessionId/cookie"},
    {"WebDriver:AddCookie", "POST", "/session/$sessionId/cookie"},
    {"WebDriver:DeleteAllCookies", "DELETE", "/session/$sessionId/cookie"},
    {"WebDriver:PerformActions", "POST", "/session/$sessionId/actions"},
    {"WebDriver:ReleaseActions", "DELETE", "/session/$sessionId/actions"},
    {"WebDriver:DismissAlert", "POST", "/session/$sessionId/alert/dismiss"},
    {"WebDriver:AcceptAlert", "POST", "/session/$sessionId/alert/accept"},
    {"WebDriver:GetAlertText", "GET", "/session/$sessionId/alert/text"},
    {"WebDriver:SendAlertText", "POST", "/session/$sessionId/alert/text"},
    {"WebDriver:TakeScreenshot", "GET", "/session/$sessionId/screenshot"},
    // Selenium Grid's own: a base64 ZIP of one file in, the node's path of it out.
    {"Grid:UploadFile", "POST", "/session/$sessionId/se/file"},
    // Managed downloads: the files the browser saved on the node, listed, and one fetched
    // by name as a base64 ZIP. And the Grid's status, which shows what its nodes offer.
    {"Grid:ListDownloads", "GET", "/session/$sessionId/se/files"},
    {"Grid:FetchDownload", "POST", "/session/$sessionId/se/files"},
    {"Grid:Status", "GET", "/status"},
};

// Percent-encodes a path segment (element ids are safe; attribute names need not be).
std::string escape_segment(const std::string& s) {
  static const char* hex = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : s) {
    if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

size_t collect(char* data, size_t size, size_t n, void* out) {
  static_cast<std::string*>(out)->append(data, size * n);
  return size * n;
}

// libcurl's progress callback, called while a request waits (about once a second when
// nothing moves): runs the process clock's sleep check, so that a Ctrl-C ends a command
// that a driver answers late, as it does over Firefox's own protocol. An exception must
// not cross libcurl's C frames: it is kept, the transfer aborted, and it is thrown again
// once curl_easy_perform has returned.
int check_interrupt(void* pending, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
  try {
    run_sleep_check();
  } catch (...) {
    *static_cast<std::exception_ptr*>(pending) = std::current_exception();
    return 1;
  }
  return 0;
}

void global_init() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

HttpTransport::Route HttpTransport::route(std::string_view command, const Json& params, const std::string& sid) {
  const Command* found = nullptr;
  for (const auto& c : kCommands)
    if (c.name == command) found = &c;
  if (!found)
    throw InvalidArgumentException("the HTTP transport does not know the command " + std::string(command),
                                   "invalid argument");
  Json body = params.is_object() ? params : Json::object();
  std::string_view templ = found->path;

  // Firefox's protocol names the element to search from and the frame to switch to by
  // parameters where W3C HTTP uses the path or a reference.
  std::string element_scope;
  if ((command == "WebDriver:FindElement" || command == "WebDriver:FindElements") && body.contains("element")) {
    element_scope = "/element/$element";
  }
  if (command == "WebDriver:SwitchToFrame" && body.contains("element")) {
    body = Json{{"id", {{kElementKey, body["element"]}}}};
  }
  if (command == "WebDriver:NewSession") body = Json{{"capabilities", {{"alwaysMatch", body}}}};
  if (command == "WebDriver:TakeScreenshot") body = Json::object();  // viewport only, as over Marionette

  std::string full(templ);
  if (!element_scope.empty()) full.insert(full.rfind('/'), element_scope);
  std::string path;
  for (size_t i = 0; i < full.size();) {
    if (full[i] != '$') {
      path += full[i++];
      continue;
    }
    size_t end = full.find('/', i);
    std::string key = full.substr(i + 1, end == std::string::npos ? std::string::npos : end - i - 1);
    i = end == std::string::npos ? full.size() : end;
    if (key == "sessionId") {
      path += sid;
      continue;
    }
    if (!body.contains(key) || !body[key].is_string())
      throw InvalidArgumentException("missing parameter " + key + " for " + std::string(command), "invalid argument");
    path += escape_segment(body[key].get<std::string>());
    body.erase(key);
  }
  bool has_body = std::string_view(found->method) == "POST";
  return {found->method, path, has_body ? body : Json(nullptr)};
}

HttpTransport::HttpTransport(std::string base_url, std::chrono::milliseconds command_timeout)
    : base_(std::move(base_url)), timeout_(command_timeout) {
  while (!base_.empty() && base_.back() == '/') base_.pop_back();
  global_init();
  curl_ = curl_easy_init();
  if (!curl_) throw ConnectionException("cannot create an HTTP client", "connection error");
  curl_slist* h = curl_slist_append(nullptr, "Content-Type: application/json; charset=utf-8");
  h = curl_slist_append(h, "Accept: application/json");
  // Without this libcurl asks for "100 Continue" on larger bodies (scripts) and drivers
  // that never send it cost a second per command.
  h = curl_slist_append(h, "Expect:");
  headers_ = h;
  CURL* curl = static_cast<CURL*>(curl_);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, 10000L);
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");  // the driver is local or named exactly
  curl_easy_setopt(curl, CURLOPT_TCP_NODELAY, 1L);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &collect);
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, h);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &check_interrupt);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
}

HttpTransport::~HttpTransport() {
  curl_easy_cleanup(static_cast<CURL*>(curl_));
  curl_slist_free_all(static_cast<curl_slist*>(headers_));
}

Json HttpTransport::request(const Route& r, std::chrono::milliseconds timeout) {
  CURL* curl = static_cast<CURL*>(curl_);
  std::string url = base_ + r.path;
  std::string body = r.body.is_null() ? "" : r.body.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string response;
  curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout.count()));
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response);
  if (r.body.is_null()) {
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);  // also drops a previous request's body
  } else {
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  }
  curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, r.method);
  std::exception_ptr interrupted;
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &interrupted);
  CURLcode rc = curl_easy_perform(curl);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, nullptr);  // `body` dies with this call
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, nullptr);
  // The aborted transfer's connection is closed; the next command opens a new one, and
  // the late answer is never read.
  if (interrupted) std::rethrow_exception(interrupted);
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
  Json value = reply.contains("value") ? reply["value"] : Json(nullptr);
  // Only the status marks an error: a script may well return {"error": ...} as its value.
  bool has_error = value.is_object() && value.contains("error") && value["error"].is_string();
  if (status >= 400) {
    std::string code = has_error ? value["error"].get<std::string>() : "unknown error";
    std::string message = value.is_object() && value.contains("message") && value["message"].is_string()
                              ? value["message"].get<std::string>()
                              : "HTTP " + std::to_string(status) + ": " + response.substr(0, 200);
    throw_w3c_error(code, message);
  }
  return value;
}

Json HttpTransport::execute(std::string_view command, const Json& params) {
  bool deleting = command == "WebDriver:DeleteSession";
  Json value = request(route(command, params.is_null() ? Json::object() : params, session_id_),
                       deleting ? std::min(timeout_, kQuitTimeout) : timeout_);
  if (command == "WebDriver:NewSession") {
    if (!value.is_object() || !value.contains("sessionId") || !value["sessionId"].is_string())
      throw ProtocolException("new session reply without an id: " + value.dump().substr(0, 200), "protocol error");
    session_id_ = value["sessionId"].get<std::string>();
  }
  if (deleting) session_id_.clear();
  return value;
}

}  // namespace webdriver
