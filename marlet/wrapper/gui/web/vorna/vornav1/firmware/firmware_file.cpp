#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware_file.h"

#include <filesystem>


namespace vorna::firmware {
namespace fs = std::filesystem;

bool path_exists(const std::string& path) {
  std::error_code ec;
  return !path.empty() && fs::exists(fs::path(path), ec);
}

std::string upload_path(const std::string& path) {
  std::error_code ec;
  fs::path p(path);
  if (path.empty() || p.is_absolute()) return path;
  fs::path absolute = fs::absolute(p, ec);
  return ec ? path : absolute.string();
}

}  // namespace vorna::firmware
