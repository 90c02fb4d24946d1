// A minimal ZIP writer: one member, stored (no compression). Enough for handing a file
// to a Selenium Grid, which takes uploads as a base64 ZIP archive; any unzip (Python's
// zipfile, Java's ZipInputStream) reads it. And the reader for the Grid's answer to a
// download: the first member of an archive, stored or deflated.
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

// The content of the archive's first member, found through the central directory (the
// Grid's archives write the sizes after the data). Stored and deflated members only;
// ProtocolException for anything else, a damaged archive or a checksum that differs.
std::string first_zip_member(std::string_view archive);

}  // namespace webdriver
