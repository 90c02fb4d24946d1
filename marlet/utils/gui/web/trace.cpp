#include "marlet/utils/gui/web/trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"
#include "marlet/utils/time.h"

namespace marlet {
namespace fs = std::filesystem;

namespace {

std::mutex& process_mutex() {
  static std::mutex m;
  return m;
}
std::optional<TraceSettings>& process_settings() {
  static std::optional<TraceSettings> s;
  return s;
}

std::string base64(const std::vector<std::uint8_t>& bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    unsigned n = bytes[i] << 16 | bytes[i + 1] << 8 | bytes[i + 2];
    out += {kDigits[n >> 18], kDigits[n >> 12 & 63], kDigits[n >> 6 & 63], kDigits[n & 63]};
  }
  if (i + 1 == bytes.size()) {
    unsigned n = bytes[i] << 16;
    out += {kDigits[n >> 18], kDigits[n >> 12 & 63], '=', '='};
  } else if (i + 2 == bytes.size()) {
    unsigned n = bytes[i] << 16 | bytes[i + 1] << 8;
    out += {kDigits[n >> 18], kDigits[n >> 12 & 63], kDigits[n >> 6 & 63], '='};
  }
  return out;
}

// A new file of its own: many wrappers of one process may start a session in the same
// millisecond, so the name carries the process id and a counter, and it is created
// exclusively.
std::pair<fs::path, int> claim_file(const fs::path& dir) {
  static std::atomic<unsigned> counter{0};
  const std::string base = local_timestamp() + "-" + std::to_string(::getpid());
  for (int attempt = 0; attempt < 1000; ++attempt) {
    fs::path file = dir / (base + "-" + std::to_string(++counter) + ".trace.jsonl");
    int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0644);
    if (fd >= 0) return {file, fd};
    if (errno != EEXIST) break;
  }
  throw std::runtime_error("cannot create a trace file in " + dir.string());
}

void mask_in_place(Json& value, const std::vector<std::string>& secrets) {
  if (value.is_string()) {
    value = mask(value.get<std::string>(), secrets);
  } else if (value.is_structured()) {
    for (auto& item : value) mask_in_place(item, secrets);
  }
}

// What names a command's target, short: the locator of a lookup, the address of a
// navigation, the typed text, the first line of a script.
void describe_command(Json& record, const Json& params) {
  if (!params.is_object()) return;
  if (params.contains("using") && params.contains("value") && params["value"].is_string())
    record["locator"] = params["using"].get<std::string>() + "=" + params["value"].get<std::string>();
  if (params.contains("url") && params["url"].is_string()) record["locator"] = params["url"];
  if (params.contains("text") && params["text"].is_string()) record["text"] = params["text"];
  if (params.contains("script") && params["script"].is_string()) {
    std::string script = params["script"].get<std::string>();
    std::string line;
    for (char c : script) {
      if (c == '\n' || c == '\r' || c == '\t') c = ' ';
      if (c == ' ' && (line.empty() || line.back() == ' ')) continue;
      line += c;
      if (line.size() >= 80) break;
    }
    record["script"] = line;
  }
}

}  // namespace

const char* trace_mode_name(TraceMode mode) { return mode == TraceMode::On ? "on" : "retain-on-failure"; }

TraceMode parse_trace_mode(const std::string& text, const std::string& what) {
  if (text == "on") return TraceMode::On;
  if (text == "retain-on-failure") return TraceMode::RetainOnFailure;
  throw ValueError(what + " must be 'on' or 'retain-on-failure', not " + py::repr_text(text));
}

TraceSettings parse_trace_settings(const Json& value, const std::string& what) {
  TraceSettings settings;
  const Json* dir = &value;
  if (value.is_object()) {
    for (auto it = value.begin(); it != value.end(); ++it)
      if (it.key() != "dir" && it.key() != "mode")
        throw ValueError(what + " takes 'dir' and 'mode', not " + py::repr_text(it.key()));
    if (!value.contains("dir")) throw ValueError(what + "['dir'] is required: the folder of the traces");
    dir = &value["dir"];
    if (value.contains("mode") && !value["mode"].is_null()) {
      if (!value["mode"].is_string())
        throw TypeError(what + "['mode'] must be a text, not " + std::string(py::type_name(value["mode"])));
      settings.mode = parse_trace_mode(value["mode"].get<std::string>(), what + "['mode']");
    }
  } else if (!value.is_string()) {
    throw TypeError(what + " must be a folder (text) or a map {'dir', 'mode'}, not " +
                    std::string(py::type_name(value)));
  }
  if (!dir->is_string()) throw TypeError(what + "['dir'] must be a text, not " + std::string(py::type_name(*dir)));
  settings.dir = dir->get<std::string>();
  if (settings.dir.empty()) throw ValueError(what + " names no folder");
  return settings;
}

void set_process_trace(std::optional<TraceSettings> settings) {
  std::lock_guard<std::mutex> lock(process_mutex());
  process_settings() = std::move(settings);
}

std::optional<TraceSettings> process_trace() {
  std::lock_guard<std::mutex> lock(process_mutex());
  return process_settings();
}

std::string mask(std::string text, const std::vector<std::string>& secrets) {
  for (const auto& secret : secrets) {
    if (secret.empty()) continue;
    for (size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + std::strlen(kMask)))
      text.replace(at, secret.size(), kMask);
  }
  return text;
}

TraceRecorder::TraceRecorder(const TraceSettings& settings, const Json& about, std::vector<std::string> secrets)
    : mode_(settings.mode), start_(std::chrono::steady_clock::now()), secrets_(std::move(secrets)) {
  fs::path dir(settings.dir);
  std::error_code ignored;
  fs::create_directories(dir, ignored);
  auto [file, fd] = claim_file(dir);
  path_ = fs::absolute(file, ignored).string();
  fd_ = fd;
  Json header = {{"type", "trace"}, {"t", 0.0}, {"version", 1}, {"started", local_timestamp()},
                 {"mode", trace_mode_name(mode_)}, {"time_scale", time_scale()}};
  for (auto it = about.begin(); it != about.end(); ++it) header[it.key()] = it.value();
  std::lock_guard<std::mutex> lock(mutex_);
  add(masked(std::move(header)));
  write_out();
}

TraceRecorder::~TraceRecorder() { finish(); }

bool TraceRecorder::failed() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return failed_;
}

double TraceRecorder::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

Json TraceRecorder::masked(Json value) const {
  mask_in_place(value, secrets_);
  if (value.is_structured() || value.is_string()) {
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (text.size() > kLongestValue) return {{"cut", text.substr(0, kLongestValue)}};
  }
  return value;
}

void TraceRecorder::add(Json record) {
  if (finished_) return;
  if (operation_) record["op"] = *operation_;
  buffer_ += record.dump(-1, ' ', false, Json::error_handler_t::replace);
  buffer_ += '\n';
  if (buffer_.size() >= kFlushBytes) write_out();
}

void TraceRecorder::write_out() {
  const char* p = buffer_.data();
  size_t left = buffer_.size();
  while (left > 0 && fd_ >= 0) {
    ssize_t n = ::write(fd_, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      break;  // a full disk loses the trace, never the operation
    }
    p += n;
    left -= static_cast<size_t>(n);
  }
  buffer_.clear();
}

void TraceRecorder::add_secret(const std::string& secret) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (secret.empty()) return;
  for (const auto& s : secrets_)
    if (s == secret) return;
  // Longer first, so a secret that holds another is masked whole.
  secrets_.push_back(secret);
  std::stable_sort(secrets_.begin(), secrets_.end(), [](const auto& a, const auto& b) { return a.size() > b.size(); });
}

void TraceRecorder::operation_begin(const std::string& name, const Json& args) {
  std::lock_guard<std::mutex> lock(mutex_);
  operation_.reset();
  operation_started_ = now();
  add({{"type", "operation"}, {"t", operation_started_}, {"id", ++operations_}, {"name", name}, {"args", masked(args)}});
  operation_ = operations_;
  write_out();
}

void TraceRecorder::operation_end(const Json& result, const std::string& error_type, const std::string& message) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!operation_) return;
  double t = now();
  Json record = {{"type", "end"}, {"t", t}, {"id", *operation_}, {"seconds", t - operation_started_}};
  if (error_type.empty()) {
    record["result"] = masked(result);
  } else {
    record["error"] = {{"type", error_type}, {"message", mask(message, secrets_)}};
    failed_ = true;
  }
  add(std::move(record));
  operation_.reset();
  write_out();
}

void TraceRecorder::command(std::string_view name, const Json& params, double seconds, const std::exception* error) {
  double t = now();
  std::string_view shown = name.substr(name.starts_with("WebDriver:") ? 10 : 0);
  Json record = {{"type", "command"}, {"t", t - seconds}, {"name", shown}, {"seconds", seconds}};
  describe_command(record, params);
  if (error) record["error"] = error->what();
  std::lock_guard<std::mutex> lock(mutex_);
  add(masked(std::move(record)));
}

void TraceRecorder::activity(const ActivityRecord& r, const std::string& policy) {
  double t = now();
  Json record = {{"type", r.kind}, {"t", t - r.wall}, {"asked", r.seconds}, {"taken", r.taken}, {"seconds", r.wall}};
  if (!r.what.empty()) record["what"] = r.what;
  if (r.kind == "settle" && !policy.empty()) record["policy"] = policy;
  if (r.depth > 0) record["depth"] = r.depth;
  std::lock_guard<std::mutex> lock(mutex_);
  add(masked(std::move(record)));
}

void TraceRecorder::log(LogLevel level, const std::string& line) {
  const char* name = level == LogLevel::Info ? "info" : level == LogLevel::Warn ? "warning" : "error";
  double t = now();
  std::lock_guard<std::mutex> lock(mutex_);
  add({{"type", "log"}, {"t", t}, {"level", name}, {"line", mask(line, secrets_)}});
}

void TraceRecorder::picture(const std::string& label, const std::vector<std::uint8_t>& png) {
  std::string data = base64(png);
  double t = now();
  std::lock_guard<std::mutex> lock(mutex_);
  add({{"type", "picture"}, {"t", t}, {"label", label}, {"png", std::move(data)}});
  write_out();
}

void TraceRecorder::console(const std::string& method, const Json& p) {
  Json record = {{"type", "console"}};
  auto text = [&](const Json& map, const char* key) -> Json {
    return map.is_object() && map.contains(key) && map[key].is_string() ? map[key] : Json(nullptr);
  };
  if (method == "log.entryAdded") {
    record["kind"] = "log";
    record["level"] = text(p, "level");
    record["text"] = text(p, "text");
    if (p.contains("source") && p["source"].is_object() && p["source"].contains("context"))
      record["context"] = p["source"]["context"];
  } else if (method == "network.responseCompleted" || method == "network.fetchError") {
    const Json& request = p.contains("request") ? p["request"] : Json::object();
    record["kind"] = "request";
    record["method"] = text(request, "method");
    record["url"] = text(request, "url");
    if (p.contains("response") && p["response"].is_object() && p["response"].contains("status"))
      record["status"] = p["response"]["status"];
    if (method == "network.fetchError") record["error"] = text(p, "errorText");
  } else {
    return;
  }
  record["t"] = now();
  std::lock_guard<std::mutex> lock(mutex_);
  add(masked(std::move(record)));
}

void TraceRecorder::flush() {
  std::lock_guard<std::mutex> lock(mutex_);
  write_out();
}

bool TraceRecorder::finish() noexcept {
  try {
    std::lock_guard<std::mutex> lock(mutex_);
    if (finished_) return fd_ >= 0 || !path_.empty();
    add({{"type", "closed"}, {"t", now()}, {"failed", failed_}});
    write_out();
    finished_ = true;
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    if (mode_ == TraceMode::RetainOnFailure && !failed_) {
      std::error_code ignored;
      fs::remove(path_, ignored);
      path_.clear();
      return false;
    }
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace marlet
