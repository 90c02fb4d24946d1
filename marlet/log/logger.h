// Log lines are behaviour: operations write them through this interface, and whoever
// owns the process decides where they go. In C++ the default writes to stderr via
// spdlog; the Python binding routes every line to the class attribute `logger`.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace marlet {

enum class LogLevel { Info, Warn, Error };

class Logger {
 public:
  virtual ~Logger() = default;
  virtual void log(LogLevel level, const std::string& line) = 0;
  void info(const std::string& line) { log(LogLevel::Info, line); }
  void warn(const std::string& line) { log(LogLevel::Warn, line); }
  void error(const std::string& line) { log(LogLevel::Error, line); }
  // A logger of its own for one kind of line beside the owner's ("<name>.console"), so
  // that the owner's lines stay as they are; null when there is none (lines dropped).
  virtual std::shared_ptr<Logger> child(const std::string& suffix) {
    (void)suffix;
    return nullptr;
  }
};

// Writes "<time> <LEVEL> <name>: <line>" to stderr.
std::shared_ptr<Logger> make_stderr_logger(const std::string& name);

// Keeps every line, for tests.
class RecordingLogger final : public Logger {
 public:
  struct Line {
    LogLevel level;
    std::string text;
    bool operator==(const Line&) const = default;
  };
  void log(LogLevel level, const std::string& line) override { lines.push_back({level, line}); }
  std::shared_ptr<Logger> child(const std::string& suffix) override {
    auto& c = children[suffix];
    if (!c) c = std::make_shared<RecordingLogger>();
    return c;
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> out;
    for (const auto& l : lines) out.push_back(l.text);
    return out;
  }
  std::vector<Line> lines;
  std::map<std::string, std::shared_ptr<RecordingLogger>> children;
};

}  // namespace marlet
