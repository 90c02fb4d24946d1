// A minimal ZIP writer: one member, stored (no compression). Enough for handing a file
// to a Selenium Grid, which takes uploads as a base64 ZIP archive; any unzip (Python's
// zipfile, Java's ZipInputStream) reads it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace webdriver {

// CRC-32 (IEEE 802.3, the ZIP and gzip checksum) of `data`.
std::uint32_t crc32(std::string_view data);

// An archive holding `content` under the member name `name` (UTF-8, flagged as such).
// InvalidArgumentException for an empty name, or content or a name too large for a
// ZIP without its 64-bit extensions (4 GiB, 64 KiB).
std::string stored_zip(const std::string& name, std::string_view content);

}  // namespace webdriver
