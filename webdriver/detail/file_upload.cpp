#include "webdriver/detail/file_upload.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "webdriver/detail/zip.h"
#include "webdriver/errors.h"
#include "webdriver/session.h"

namespace webdriver {
namespace fs = std::filesystem;

std::string base64_encode(std::string_view bytes) {
  static const char* kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    std::uint32_t v = (static_cast<unsigned char>(bytes[i]) << 16) | (static_cast<unsigned char>(bytes[i + 1]) << 8) |
                      static_cast<unsigned char>(bytes[i + 2]);
    out += kAlphabet[(v >> 18) & 63];
    out += kAlphabet[(v >> 12) & 63];
    out += kAlphabet[(v >> 6) & 63];
    out += kAlphabet[v & 63];
  }
  size_t rest = bytes.size() - i;
  if (rest > 0) {
    std::uint32_t v = static_cast<unsigned char>(bytes[i]) << 16;
    if (rest == 2) v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
    out += kAlphabet[(v >> 18) & 63];
    out += kAlphabet[(v >> 12) & 63];
    out += rest == 2 ? kAlphabet[(v >> 6) & 63] : '=';
    out += '=';
  }
  return out;
}

std::string base64_decode(std::string_view text) {
  std::string out;
  out.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  int count = 0;
  for (char c : text) {
    int v;
    if (c >= 'A' && c <= 'Z') v = c - 'A';
    else if (c >= 'a' && c <= 'z') v = c - 'a' + 26;
    else if (c >= '0' && c <= '9') v = c - '0' + 52;
    else if (c == '+') v = 62;
    else if (c == '/') v = 63;
    else if (c == '=' || c == '\n' || c == '\r' || c == ' ' || c == '\t') continue;
    else throw ProtocolException("the remote end sent a file that is not base64", "protocol error");
    bits = (bits << 6) | static_cast<std::uint32_t>(v);
    if (++count == 4) {
      out += static_cast<char>((bits >> 16) & 0xFF);
      out += static_cast<char>((bits >> 8) & 0xFF);
      out += static_cast<char>(bits & 0xFF);
      bits = 0;
      count = 0;
    }
  }
  if (count == 2) out += static_cast<char>((bits >> 4) & 0xFF);
  if (count == 3) {
    out += static_cast<char>((bits >> 10) & 0xFF);
    out += static_cast<char>((bits >> 2) & 0xFF);
  }
  return out;
}

std::vector<std::string> local_files(const std::string& text) {
  std::vector<std::string> paths;
  size_t start = 0;
  while (true) {
    size_t end = text.find('\n', start);
    std::string line = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
    std::error_code ec;
    if (line.empty() || !fs::is_regular_file(line, ec)) return {};
    paths.push_back(line);
    if (end == std::string::npos) return paths;
    start = end + 1;
  }
}

namespace {

bool is_file_input(Element& element) {
  if (element.tag_name() != "input") return false;
  Json type = element.get_property("type");
  return type.is_string() && type.get<std::string>() == "file";
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    throw InvalidArgumentException("cannot open " + path + " to upload it to the remote browser", "invalid argument");
  std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (in.bad())
    throw InvalidArgumentException("cannot read " + path + " to upload it to the remote browser", "invalid argument");
  return data;
}

}  // namespace

std::optional<std::string> upload_for_file_input(Element& element, const std::string& text) {
  // The local look first: it costs no command, and most typed text names no file.
  std::vector<std::string> paths = local_files(text);
  if (paths.empty() || !is_file_input(element)) return std::nullopt;
  std::string remote;
  for (const auto& path : paths) {
    // The whole file travels in one request, as Selenium's clients send it.
    std::string archive = stored_zip(fs::path(path).filename().string(), read_file(path));
    Json saved;
    try {
      saved = element.session().execute("Grid:UploadFile", Json{{"file", base64_encode(archive)}});
    } catch (const WebDriverException& e) {
      if (e.error_code() == "unknown command" || e.error_code() == "unknown method") return std::nullopt;
      throw;
    }
    if (!saved.is_string() || saved.get<std::string>().empty())
      throw ProtocolException("the remote end answered an upload with no path: " + saved.dump(), "protocol error");
    if (!remote.empty()) remote += '\n';
    remote += saved.get<std::string>();
  }
  return remote;
}

bool managed_downloads(const Session& session) {
  const Json& caps = session.capabilities();
  return caps.is_object() && caps.contains("se:downloadsEnabled") && caps["se:downloadsEnabled"] == true;
}

std::vector<std::string> remote_download_names(Session& session) {
  Json listed = session.execute("Grid:ListDownloads");
  std::vector<std::string> names;
  if (!listed.is_object() || !listed.contains("names") || !listed["names"].is_array())
    throw ProtocolException("the remote end listed its downloads as " + listed.dump().substr(0, 200), "protocol error");
  for (const auto& name : listed["names"])
    if (name.is_string()) names.push_back(name.get<std::string>());
  return names;
}

std::string fetch_remote_download(Session& session, const std::string& name) {
  Json got = session.execute("Grid:FetchDownload", Json{{"name", name}});
  if (!got.is_object() || !got.contains("contents") || !got["contents"].is_string())
    throw ProtocolException("the remote end sent no contents for " + name, "protocol error");
  return first_zip_member(base64_decode(got["contents"].get<std::string>()));
}

}  // namespace webdriver
