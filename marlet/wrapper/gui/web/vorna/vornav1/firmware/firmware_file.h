// What the firmware operations check of the file they are given before the browser
// takes it, and the form of its path that the browser's file input accepts.
#pragma once

#include <string>

namespace vorna::firmware {

// True when a file or folder stands at `path` (a dangling link is nothing).
bool path_exists(const std::string& path);

// The path as the file input takes it: the browser accepts only absolute paths, and a
// relative one means the same file as it does to the driver's own process. ValueError
// naming `argument` when nothing readable as a file stands there (a folder, a file
// without read permission); a path where nothing stands is handed on unchanged in form,
// so that the browser's own refusal decides.
std::string upload_path(const std::string& path, const char* argument);

}  // namespace vorna::firmware
