// Files for a browser on another machine (a Selenium Grid node). A path typed into a
// file input names a file here, which that browser cannot open; as Selenium's remote
// file detector does, each such file is first sent to the Grid (POST
// /session/{id}/se/file with a base64 ZIP of the file) and the input gets the path
// the node saved it under. The other way, a file the browser saved on a node with
// managed downloads is listed and fetched through the session (GET and POST
// /session/{id}/se/files, the second answering a base64 ZIP of the file).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace webdriver {

class Element;

// Standard base64 (RFC 4648, with padding).
std::string base64_encode(std::string_view bytes);
// Its inverse; white space is skipped. ProtocolException for any other character.
std::string base64_decode(std::string_view text);

// The paths `text` names, one per line, when every line is the path of a regular file
// on this machine; empty otherwise (ordinary keys, a file that is not here).
std::vector<std::string> local_files(const std::string& text);

// What to type into `element` in place of `text`: the remote copies' paths, one per
// line, after uploading each local file. nullopt, with nothing uploaded, when the text
// names no local file or the element is no file input; nullopt too when the remote end
// has no upload endpoint (a plain W3C driver: the path goes as it is).
// InvalidArgumentException when a named file cannot be read.
std::optional<std::string> upload_for_file_input(Element& element, const std::string& text);

class Session;

// True when the session's node keeps the browser's downloads for fetching: the session
// asked for them and the Grid granted them (capability se:downloadsEnabled).
bool managed_downloads(const Session& session);
// The names of the files in the session's download folder on the node.
std::vector<std::string> remote_download_names(Session& session);
// The bytes of one of them.
std::string fetch_remote_download(Session& session, const std::string& name);

}  // namespace webdriver
