// Logs into one console, reads its main board and serial number, prints them as JSON on
// standard output, and logs out (also when the reading fails).
//
//   vorna_example ADDRESS PORT USER PASSWORD_FILE [TIME_SCALE]
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "marlet/log/logger.h"
#include "marlet/utils/time.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/inventory/inventory.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/network/network.h"
#include "marlet/wrapper/gui/web/vorna/vornav1/vornawebwrapper.h"

namespace {

// The wrapper's log lines on stderr, with the password masked: the login logs it.
class MaskingLogger final : public marlet::Logger {
 public:
  explicit MaskingLogger(std::string secret) : secret_(std::move(secret)) {}
  void log(marlet::LogLevel level, const std::string& line) override {
    std::string text = line;
    for (size_t at; !secret_.empty() && (at = text.find(secret_)) != std::string::npos;)
      text.replace(at, secret_.size(), "********");
    std::cerr << (level == marlet::LogLevel::Info ? "INFO " : level == marlet::LogLevel::Warn ? "WARN " : "ERROR ")
              << text << "\n";
  }

 private:
  std::string secret_;
};

int usage(std::ostream& out, int code) {
  out << "usage: vorna_example ADDRESS PORT USER PASSWORD_FILE [TIME_SCALE]\n"
         "Logs into the console at https://ADDRESS:PORT, prints its main board and serial\n"
         "number as JSON, and logs out. TIME_SCALE scales every settle and wait (default 1).\n";
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 2 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) return usage(std::cout, 0);
  if (argc < 5 || argc > 6) return usage(std::cerr, 2);
  std::string address = argv[1], user = argv[3], password;
  int port = 0;
  try {
    port = std::stoi(argv[2]);
    if (argc == 6) marlet::set_time_scale(std::stod(argv[5]));
  } catch (const std::exception&) {
    return usage(std::cerr, 2);
  }
  std::ifstream file(argv[4]);
  if (!file || !std::getline(file, password)) {
    std::cerr << "cannot read the password from " << argv[4] << "\n";
    return 2;
  }

  vorna::VornaWebWrapper w(marlet::Json{{"browser", {{"headless", true}}}}, std::make_shared<MaskingLogger>(password));
  int code = 0;
  try {
    w.web_login({{"bmc", {{"local_ip", address}, {"username", user}, {"password", password},
                          {"extra_port", {{"https", port}}}}}});
    marlet::Json out = marlet::Json::object();
    out["main_board"] = vorna::web_get_main_board_info(w);
    out["serial_number"] = vorna::get_product_sn(w);
    std::cout << out.dump(2) << std::endl;
  } catch (const std::exception& e) {  // MarletException, or a typed error of the params
    std::cerr << "failed: " << e.what() << "\n";
    code = 1;
  }
  try {
    w.web_logout();
  } catch (const std::exception& e) {
    std::cerr << "logout failed: " << e.what() << "\n";
  }
  w.web_close();
  return code;
}
