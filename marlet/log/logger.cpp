#include "marlet/log/logger.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

namespace marlet {
namespace {

class SpdLogger final : public Logger {
 public:
  explicit SpdLogger(const std::string& name) : name_(name) {
    logger_ = spdlog::get(name);
    if (!logger_) logger_ = spdlog::stderr_logger_mt(name);
  }
  void log(LogLevel level, const std::string& line) override {
    switch (level) {
      case LogLevel::Info: logger_->info(line); break;
      case LogLevel::Warn: logger_->warn(line); break;
      case LogLevel::Error: logger_->error(line); break;
    }
  }
  std::shared_ptr<Logger> child(const std::string& suffix) override {
    return std::make_shared<SpdLogger>(name_ + "." + suffix);
  }

 private:
  std::string name_;
  std::shared_ptr<spdlog::logger> logger_;
};

}  // namespace

std::shared_ptr<Logger> make_stderr_logger(const std::string& name) {
  return std::make_shared<SpdLogger>(name);
}

}  // namespace marlet
