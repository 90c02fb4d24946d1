// The firmware file's path: whether anything stands there, and the form of it that the
// browser's file input accepts.
#pragma once

#include <string>

namespace vorna::firmware {

// True when a file or folder stands at `path` (a dangling link is nothing).
bool path_exists(const std::string& path);

// The path as the file input takes it: the browser accepts only absolute paths, and a
// relative one means the same file as it does to the driver's own process. An empty path
// stays empty. Nothing is refused here: the file input decides, at the upload's step (a
// folder or an unreadable file fails there with the browser's "invalid argument" kind).
std::string upload_path(const std::string& path);

}  // namespace vorna::firmware
