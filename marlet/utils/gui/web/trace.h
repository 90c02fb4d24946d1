// Trace: one file per browser session that tells what happened to a console, to attach to
// a bug report and to open as a page (`vorna show-trace`).
//
// The file is JSON lines, one record each, every one with "type" and "t" (real seconds
// since the trace began): the header ("trace"), each operation ("operation" when it
// begins, "end" when it returns or raises), each command the session sent ("command":
// name, locator, seconds, error), each settle and bounded wait ("settle", "wait": the
// seconds asked and taken on the console's clock, the real seconds), the log lines
// ("log"), pictures inline as base64 PNG ("picture"), what the browser itself reported
// ("console": its messages and requests), and "closed" at the end. One self-contained
// text file: nothing to collect beside it, readable with any JSON tool, and a crash loses
// at most the records since the last flush.
//
// Recording is cheap: records go to a memory buffer, written out when an operation
// begins or ends, before each settle or wait (the operation is about to idle anyway),
// with each picture, and past kFlushBytes. Every text is masked: a password the recorder
// was told of reads as kMask wherever it would show.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlet/log/logger.h"
#include "marlet/utils/gui/web/activity.h"
#include "webdriver/json.h"

namespace marlet {

using Json = webdriver::Json;

// "on": every session's trace is kept, with a picture after each operation.
// "retain-on-failure": pictures at failures only, and a session's trace is deleted when
// it ends with no operation failed.
enum class TraceMode { On, RetainOnFailure };

struct TraceSettings {
  std::string dir;
  TraceMode mode = TraceMode::On;
};

const char* trace_mode_name(TraceMode mode);
// "on" or "retain-on-failure"; ValueError naming `what` otherwise.
TraceMode parse_trace_mode(const std::string& text, const std::string& what);
// A constructor's "trace" value: a folder text (mode "on") or {"dir", "mode"}. TypeError
// for another shape or a value that is no text, ValueError for an empty folder or an
// unknown mode. `what` names the value in messages ("params['trace']").
TraceSettings parse_trace_settings(const Json& value, const std::string& what);

// The setting of the process, for every object whose params have no "trace" key; read
// when a browser session begins. None: no trace.
void set_process_trace(std::optional<TraceSettings> settings);
std::optional<TraceSettings> process_trace();

// Every occurrence of each secret in `text` replaced by kMask (empty secrets are none).
// The command line masks its output with the same function.
inline constexpr const char* kMask = "********";
std::string mask(std::string text, const std::vector<std::string>& secrets);

class TraceRecorder {
 public:
  // Writing starts past this many buffered bytes even between operations.
  static constexpr std::size_t kFlushBytes = 64 * 1024;
  // A result or argument longer than this, as JSON text, is kept as its first this many
  // characters (a whole inventory fits; a runaway value does not fill the disk).
  static constexpr std::size_t kLongestValue = 256 * 1024;

  // Creates a new file in settings.dir (made when absent) and writes the header with
  // `about` (the browser, the time scale, ...) in it; std::runtime_error when it cannot.
  TraceRecorder(const TraceSettings& settings, const Json& about, std::vector<std::string> secrets);
  ~TraceRecorder();  // finish(), never throws
  TraceRecorder(const TraceRecorder&) = delete;
  TraceRecorder& operator=(const TraceRecorder&) = delete;

  const std::string& path() const noexcept { return path_; }
  TraceMode mode() const noexcept { return mode_; }
  bool failed() const;

  void add_secret(const std::string& secret);
  // An operation begins (records carry its number until it ends); `args` are masked here.
  void operation_begin(const std::string& name, const Json& args);
  // It returned `result` (masked here), or raised (error_type non-empty) with `message`.
  void operation_end(const Json& result, const std::string& error_type, const std::string& message);
  void command(std::string_view name, const Json& params, double seconds, const std::exception* error);
  // A settle (with the policy it followed) or a wait that ended.
  void activity(const ActivityRecord& record, const std::string& policy);
  void log(LogLevel level, const std::string& line);
  void picture(const std::string& label, const std::vector<std::uint8_t>& png);
  // An event of the browser's own channel: "log.entryAdded", "network.responseCompleted",
  // "network.fetchError"; anything else is ignored.
  void console(const std::string& method, const Json& params);
  // Writes out what is buffered.
  void flush();
  // Writes the closing record and closes the file; under retain-on-failure deletes it
  // when no operation failed. True when the file is kept. Only the first call acts.
  bool finish() noexcept;

 private:
  double now() const;
  Json masked(Json value) const;  // every text inside masked, then cut at kLongestValue
  void add(Json record);           // the caller holds mutex_
  void write_out();                // the caller holds mutex_

  mutable std::mutex mutex_;
  std::string path_;
  TraceMode mode_;
  int fd_ = -1;
  std::chrono::steady_clock::time_point start_;
  std::string buffer_;
  std::vector<std::string> secrets_;
  std::optional<long> operation_;  // the number of the operation under way
  double operation_started_ = 0;
  long operations_ = 0;
  bool failed_ = false;
  bool finished_ = false;
};

}  // namespace marlet
