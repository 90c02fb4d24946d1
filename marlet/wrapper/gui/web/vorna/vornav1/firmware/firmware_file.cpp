#include "marlet/wrapper/gui/web/vorna/vornav1/firmware/firmware_file.h"

#include <filesystem>
#include <fstream>

#include "marlet/exception/exceptions.h"
#include "marlet/utils/pytext.h"

namespace vorna::firmware {
namespace fs = std::filesystem;

bool path_exists(const std::string& path) {
  std::error_code ec;
  return !path.empty() && fs::exists(fs::path(path), ec);
}

std::string upload_path(const std::string& path, const char* argument) {
  namespace py = marlet::py;
  std::error_code ec;
  fs::path p(path);
  if (path.empty()) throw marlet::ValueError(py::format("%s: the path of the firmware file is empty", argument));
  fs::path absolute = p.is_absolute() ? p : fs::absolute(p, ec);
  if (ec) absolute = p;
  if (!fs::exists(absolute, ec)) return absolute.string();
  if (!fs::is_regular_file(absolute, ec))
    throw marlet::ValueError(py::format("%s: %s is no file that can be uploaded", argument, py::repr_text(path)));
  std::ifstream probe(absolute, std::ios::binary);
  if (!probe) throw marlet::ValueError(py::format("%s: %s cannot be read", argument, py::repr_text(path)));
  return absolute.string();
}

}  // namespace vorna::firmware
