#include "webdriver/detail/zip.h"

#include <array>
#include <limits>

#include <zlib.h>

#include "webdriver/errors.h"

namespace webdriver {
namespace {

std::array<std::uint32_t, 256> make_crc_table() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t n = 0; n < 256; ++n) {
    std::uint32_t c = n;
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    table[n] = c;
  }
  return table;
}

void put16(std::string& out, std::uint32_t v) {
  out += static_cast<char>(v & 0xFF);
  out += static_cast<char>((v >> 8) & 0xFF);
}

void put32(std::string& out, std::uint32_t v) {
  put16(out, v & 0xFFFF);
  put16(out, v >> 16);
}

// MS-DOS date and time of 1980-01-01 00:00, the earliest a ZIP can hold: the archive
// is the same bytes for the same file, whatever the clock says.
constexpr std::uint32_t kDosTime = 0;
constexpr std::uint32_t kDosDate = (0 << 9) | (1 << 5) | 1;
constexpr std::uint32_t kVersion = 20;      // 2.0: the oldest that readers all accept
constexpr std::uint32_t kUtf8Name = 1 << 11;

}  // namespace

std::uint32_t crc32(std::string_view data) {
  static const auto table = make_crc_table();
  std::uint32_t c = 0xFFFFFFFFu;
  for (unsigned char b : data) c = table[(c ^ b) & 0xFF] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

std::string stored_zip(const std::string& name, std::string_view content) {
  if (name.empty()) throw InvalidArgumentException("a ZIP member needs a name", "invalid argument");
  if (name.size() > 0xFFFF) throw InvalidArgumentException("a ZIP member name is at most 65535 bytes", "invalid argument");
  // Sizes and the central directory's offset must stay below 0xFFFFFFFF, which means
  // "look in the 64-bit record" to a reader.
  constexpr std::uint64_t kLimit = std::numeric_limits<std::uint32_t>::max() - 1;
  if (content.size() + 2 * (30 + name.size()) + 22 > kLimit)
    throw InvalidArgumentException("a file of " + std::to_string(content.size()) +
                                       " bytes is too large for a ZIP without 64-bit extensions",
                                   "invalid argument");
  const std::uint32_t crc = crc32(content);
  const auto size = static_cast<std::uint32_t>(content.size());
  const auto name_len = static_cast<std::uint32_t>(name.size());

  std::string out;
  out.reserve(content.size() + 2 * name.size() + 98);
  // Local file header, then the data.
  put32(out, 0x04034b50);
  put16(out, kVersion);
  put16(out, kUtf8Name);
  put16(out, 0);  // stored
  put16(out, kDosTime);
  put16(out, kDosDate);
  put32(out, crc);
  put32(out, size);  // compressed
  put32(out, size);  // uncompressed
  put16(out, name_len);
  put16(out, 0);  // no extra field
  out += name;
  out.append(content.data(), content.size());

  // Central directory: one entry pointing back at the local header at offset 0.
  const auto directory_at = static_cast<std::uint32_t>(out.size());
  put32(out, 0x02014b50);
  put16(out, (3 << 8) | kVersion);  // made by: Unix
  put16(out, kVersion);
  put16(out, kUtf8Name);
  put16(out, 0);
  put16(out, kDosTime);
  put16(out, kDosDate);
  put32(out, crc);
  put32(out, size);
  put32(out, size);
  put16(out, name_len);
  put16(out, 0);  // extra
  put16(out, 0);  // comment
  put16(out, 0);  // disk number
  put16(out, 0);  // internal attributes
  put32(out, 0100644u << 16);  // external attributes: a regular file, rw-r--r--
  put32(out, 0);               // local header offset
  out += name;
  const auto directory_size = static_cast<std::uint32_t>(out.size()) - directory_at;

  // End of central directory.
  put32(out, 0x06054b50);
  put16(out, 0);  // this disk
  put16(out, 0);  // disk with the directory
  put16(out, 1);  // entries on this disk
  put16(out, 1);  // entries in all
  put32(out, directory_size);
  put32(out, directory_at);
  put16(out, 0);  // no comment
  return out;
}

namespace {

std::uint32_t get16(std::string_view s, size_t at) {
  return static_cast<unsigned char>(s[at]) | (static_cast<unsigned char>(s[at + 1]) << 8);
}

std::uint32_t get32(std::string_view s, size_t at) { return get16(s, at) | (get16(s, at + 2) << 16); }

[[noreturn]] void damaged(const std::string& why) {
  throw ProtocolException("the remote end sent a damaged ZIP archive: " + why, "protocol error");
}

std::string inflate_raw(std::string_view data, std::uint32_t size) {
  std::string out(size, '\0');
  z_stream z{};
  if (inflateInit2(&z, -MAX_WBITS) != Z_OK) damaged("cannot start inflating");
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
  z.avail_in = static_cast<uInt>(data.size());
  z.next_out = reinterpret_cast<Bytef*>(out.data());
  z.avail_out = static_cast<uInt>(out.size());
  int rc = inflate(&z, Z_FINISH);
  size_t produced = z.total_out;
  inflateEnd(&z);
  if (rc != Z_STREAM_END || produced != size) damaged("the deflated data does not match its size");
  return out;
}

}  // namespace

std::string first_zip_member(std::string_view zip) {
  // The end-of-directory record sits within the last 64 KiB + 22 bytes (its comment).
  if (zip.size() < 22) damaged("too short");
  size_t end = std::string::npos;
  for (size_t at = zip.size() - 22 + 1; at-- > 0 && zip.size() - at <= 22 + 0xFFFF;)
    if (get32(zip, at) == 0x06054b50) {
      end = at;
      break;
    }
  if (end == std::string::npos) damaged("no end of central directory");
  if (get16(zip, end + 10) == 0) damaged("no member");
  size_t entry = get32(zip, end + 16);
  if (entry + 46 > zip.size() || get32(zip, entry) != 0x02014b50) damaged("no central directory entry");
  std::uint32_t method = get16(zip, entry + 10), crc = get32(zip, entry + 16);
  std::uint32_t packed = get32(zip, entry + 20), size = get32(zip, entry + 24);
  size_t local = get32(zip, entry + 42);
  if (local + 30 > zip.size() || get32(zip, local) != 0x04034b50) damaged("no local header");
  size_t data = local + 30 + get16(zip, local + 26) + get16(zip, local + 28);
  if (data > zip.size() || packed > zip.size() - data) damaged("the member runs past the end");
  std::string_view raw = zip.substr(data, packed);
  std::string content;
  if (method == 0) {
    if (packed != size) damaged("a stored member whose sizes differ");
    content.assign(raw);
  } else if (method == 8) {
    content = inflate_raw(raw, size);
  } else {
    damaged("compression method " + std::to_string(method));
  }
  if (crc32(content) != crc) damaged("the checksum differs");
  return content;
}

}  // namespace webdriver
