#include "webdriver/launcher.h"

#include <stdlib.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <thread>

#include "webdriver/detail/http_transport.h"
#include "webdriver/detail/marionette_transport.h"
#include "webdriver/detail/process.h"
#include "webdriver/errors.h"

namespace webdriver {
namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

// A temporary folder (mode 0700) removed when the session ends.
class TempDir final : public OwnedResource {
 public:
  explicit TempDir(const std::string& prefix) {
    std::string templ = (fs::temp_directory_path() / (prefix + "XXXXXX")).string();
    if (!::mkdtemp(templ.data())) throw SessionNotCreatedException("cannot make a temporary profile folder");
    path_ = templ;
  }
  ~TempDir() override { shutdown(); }
  void shutdown() noexcept override {
    if (path_.empty()) return;
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    path_.clear();
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// A browser or driver process owned by the session.
class OwnedProcess final : public OwnedResource {
 public:
  OwnedProcess(ChildProcess process, milliseconds grace) : process_(std::move(process)), grace_(grace) {}
  void shutdown() noexcept override { process_.stop(grace_); }
  void kill() noexcept override { process_.kill_now(); }
  int process_id() noexcept override { return process_.pid(); }
  bool alive() noexcept override { return process_.running(); }
  ChildProcess& process() { return process_; }

 private:
  ChildProcess process_;
  milliseconds grace_;
};

// Preferences of a profile that never phones home on a closed network, opens no
// first-run pages, and saves downloads silently into the given folder. The lines after
// the downloads' keep each browser to one content process, no prelaunched spares, no
// network or media helper processes and no disk cache or history: one console tab needs
// none of them, and many browsers on a small machine then cost about half the processes
// and memory. The last ones run the built-in add-ons in the browser's own process (no
// extension process), and turn off the work a page load starts beside the page itself
// (language detection for translation, the password manager's and form autofill's look
// at each form) and the periodic session and thumbnail saves.
}  // namespace

std::string firefox_prefs(const LaunchOptions& o) {
  std::string p = R"(user_pref("marionette.port", 0);
user_pref("app.update.disabledForTesting", true);
user_pref("app.update.auto", false);
user_pref("app.update.enabled", false);
user_pref("app.normandy.enabled", false);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("browser.startup.homepage_override.mstone", "ignore");
user_pref("browser.startup.page", 0);
user_pref("browser.startup.homepage", "about:blank");
user_pref("startup.homepage_welcome_url", "about:blank");
user_pref("startup.homepage_welcome_url.additional", "");
user_pref("browser.aboutwelcome.enabled", false);
user_pref("browser.newtabpage.enabled", false);
user_pref("browser.newtab.preload", false);
user_pref("browser.tabs.warnOnClose", false);
user_pref("browser.sessionstore.resume_from_crash", false);
user_pref("browser.safebrowsing.malware.enabled", false);
user_pref("browser.safebrowsing.phishing.enabled", false);
user_pref("browser.safebrowsing.downloads.enabled", false);
user_pref("browser.safebrowsing.blockedURIs.enabled", false);
user_pref("browser.search.update", false);
user_pref("browser.ping-centre.telemetry", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("datareporting.healthreport.uploadEnabled", false);
user_pref("toolkit.telemetry.enabled", false);
user_pref("toolkit.telemetry.unified", false);
user_pref("toolkit.telemetry.server", "");
user_pref("extensions.update.enabled", false);
user_pref("extensions.getAddons.cache.enabled", false);
user_pref("extensions.blocklist.enabled", false);
user_pref("network.captive-portal-service.enabled", false);
user_pref("network.connectivity-service.enabled", false);
user_pref("network.dns.disablePrefetch", true);
user_pref("network.http.speculative-parallel-limit", 0);
user_pref("network.prefetch-next", false);
user_pref("services.settings.server", "");
user_pref("media.gmp-manager.url", "");
user_pref("security.certerrors.mitm.priming.enabled", false);
user_pref("app.shield.optoutstudies.enabled", false);
user_pref("browser.discovery.enabled", false);
user_pref("browser.region.network.url", "");
user_pref("browser.region.update.enabled", false);
user_pref("browser.safebrowsing.provider.google4.updateURL", "");
user_pref("browser.safebrowsing.provider.mozilla.updateURL", "");
user_pref("browser.topsites.contile.enabled", false);
user_pref("browser.newtabpage.activity-stream.feeds.section.topstories", false);
user_pref("browser.newtabpage.activity-stream.feeds.system.topstories", false);
user_pref("browser.newtabpage.activity-stream.feeds.snippets", false);
user_pref("browser.newtabpage.activity-stream.telemetry", false);
user_pref("browser.uitour.enabled", false);
user_pref("captivedetect.canonicalURL", "");
user_pref("dom.push.connection.enabled", false);
user_pref("extensions.systemAddon.update.enabled", false);
user_pref("extensions.getAddons.discovery.api_url", "");
user_pref("geo.provider.network.url", "");
user_pref("identity.fxaccounts.enabled", false);
user_pref("media.gmp-gmpopenh264.autoupdate", false);
user_pref("network.trr.mode", 5);
user_pref("toolkit.telemetry.archive.enabled", false);
user_pref("toolkit.telemetry.newProfilePing.enabled", false);
user_pref("toolkit.telemetry.shutdownPingSender.enabled", false);
user_pref("toolkit.telemetry.firstShutdownPing.enabled", false);
user_pref("toolkit.telemetry.updatePing.enabled", false);
user_pref("toolkit.telemetry.bhrPing.enabled", false);
user_pref("datareporting.healthreport.service.enabled", false);
user_pref("messaging-system.rsexperimentloader.enabled", false);
user_pref("remote.prefs.recommended", true);
user_pref("dom.disable_beforeunload", true);
user_pref("pdfjs.disabled", true);
user_pref("browser.download.folderList", 2);
user_pref("browser.download.useDownloadDir", true);
user_pref("browser.download.manager.showWhenStarting", false);
user_pref("browser.download.always_ask_before_handling_new_types", false);
user_pref("browser.helperApps.alwaysAsk.force", false);
user_pref("browser.download.alwaysOpenPanel", false);
user_pref("browser.download.panel.shown", true);
user_pref("browser.download.start_downloads_in_tmp_dir", false);
user_pref("browser.download.open_pdf_attachments_inline", false);
user_pref("browser.download.viewableInternally.enabledTypes", "");
user_pref("browser.helperApps.neverAsk.saveToDisk", "application/gzip,application/x-gzip,application/x-tar,application/octet-stream,application/zip,text/plain,text/csv,application/json");
user_pref("fission.autostart", false);
user_pref("dom.ipc.processCount", 1);
user_pref("dom.ipc.processCount.webIsolated", 1);
user_pref("dom.ipc.processPrelaunch.enabled", false);
user_pref("browser.tabs.remote.separatePrivilegedContentProcess", false);
user_pref("network.process.enabled", false);
user_pref("media.rdd-process.enabled", false);
user_pref("browser.cache.disk.enable", false);
user_pref("places.history.enabled", false);
user_pref("extensions.webextensions.remote", false);
user_pref("browser.translations.enable", false);
user_pref("signon.rememberSignons", false);
user_pref("extensions.formautofill.addresses.enabled", false);
user_pref("extensions.formautofill.creditCards.enabled", false);
user_pref("browser.sessionstore.interval", 3600000);
user_pref("browser.pagethumbnails.capturing_disabled", true);
)";
  if (!o.download_dir.empty()) {
    Json dir = o.download_dir;
    p += "user_pref(\"browser.download.dir\", " + dir.dump() + ");\n";
  }
  if (o.prefs.is_object())
    for (const auto& [name, value] : o.prefs.items()) p += "user_pref(" + Json(name).dump() + ", " + value.dump() + ");\n";
  return p;
}

namespace {

std::string firefox_binary(const LaunchOptions& o) {
  std::string binary = find_executable({o.binary.empty() ? "firefox-esr" : o.binary, o.binary.empty() ? "firefox" : ""});
  if (binary.empty()) throw SessionNotCreatedException("Firefox was not found (install firefox-esr)");
  return binary;
}

// Starts Firefox on `profile` (its user.js written) with its remote protocol on a port
// of its choosing, and returns a session on it owning `resources` and the process.
std::shared_ptr<Session> start_firefox(const LaunchOptions& o, const std::string& profile, bool bidi,
                                       std::vector<std::unique_ptr<OwnedResource>> resources, Clock* clock) {
  std::vector<std::string> argv = {firefox_binary(o), "-marionette", "-no-remote", "-profile", profile};
  if (o.headless) argv.insert(argv.begin() + 2, "-headless");
  // The BiDi server binds loopback only, on a port the system picks; the session's
  // webSocketUrl names it.
  if (bidi) argv.insert(argv.begin() + 2, "--remote-debugging-port=0");
  std::map<std::string, std::string> env = {{"MOZ_CRASHREPORTER_DISABLE", "1"}, {"MOZ_NO_REMOTE", "1"}};
  if (o.headless) env["MOZ_HEADLESS"] = "1";
  auto process = std::make_unique<OwnedProcess>(ChildProcess(argv, env, profile + "/browser.log"),
                                                milliseconds(10000));

  // The browser writes the port it chose into the profile once it listens.
  std::string port_file = profile + "/MarionetteActivePort";
  auto deadline = std::chrono::steady_clock::now() + o.startup_timeout;
  int port = 0;
  while (true) {
    std::ifstream in(port_file);
    if (in >> port && port > 0) break;
    if (!process->process().running())
      throw SessionNotCreatedException("Firefox exited before it listened (see " + profile + "/browser.log)");
    if (std::chrono::steady_clock::now() >= deadline)
      throw SessionNotCreatedException("Firefox did not open its remote port within " +
                                       std::to_string(o.startup_timeout.count()) + " seconds");
    std::this_thread::sleep_for(milliseconds(50));
  }
  resources.push_back(std::move(process));  // the profile, if owned, shuts down after the browser
  std::unique_ptr<Transport> transport;
  try {
    transport = std::make_unique<MarionetteTransport>(
        std::make_unique<TcpStream>("127.0.0.1", port, milliseconds(10000)),
        std::chrono::duration_cast<milliseconds>(o.command_timeout),
        std::chrono::duration_cast<milliseconds>(o.startup_timeout));
  } catch (...) {
    for (auto it = resources.rbegin(); it != resources.rend(); ++it) (*it)->kill();
    throw;
  }
  // Firefox's own protocol takes the capabilities flat, not wrapped in alwaysMatch.
  Json caps = {{"acceptInsecureCerts", true}};
  if (bidi) caps["webSocketUrl"] = true;
  caps.update(o.extra_capabilities);
  return Session::create(std::move(transport), caps, std::move(resources), clock);
}

// What a first run leaves in a profile that a copy must not carry: the running
// browser's lock and port, its log, the preferences each launch writes anew, and the
// saved session (a browser restoring it starts one more content process).
bool left_out_of_copies(const std::string& name) {
  return name == "lock" || name == ".parentlock" || name == "parent.lock" || name == "MarionetteActivePort" ||
         name == "browser.log" || name == "user.js" || name == "sessionstore.jsonlz4" ||
         name == "sessionstore-backups" || name == "sessionCheckpoints.json";
}

// A profile Firefox has run on once: its databases made, its add-ons registered, its
// start-up cache written. Each browser then copies it instead of doing that work on its
// own first run. Made once per process and binary on first use (later launches wait for
// it), removed when the process exits. Empty when it cannot be made.
class ProfileTemplates {
 public:
  ~ProfileTemplates() {
    for (auto& [binary, t] : templates_)
      if (t) t->shutdown();
  }
  std::string path_for(const LaunchOptions& o) {
    std::string binary = firefox_binary(o);
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = templates_.find(binary);
    if (it != templates_.end()) return it->second ? it->second->path() : "";
    std::unique_ptr<TempDir> made;
    try {
      made = prepare(o);
    } catch (const std::exception&) {
      made.reset();  // the launch goes on with an empty profile
    }
    std::string path = made ? made->path() : "";
    templates_[binary] = std::move(made);
    return path;
  }

 private:
  static std::unique_ptr<TempDir> prepare(const LaunchOptions& o) {
    auto dir = std::make_unique<TempDir>("vorna-profile-template-");
    LaunchOptions plain;
    plain.binary = o.binary;
    plain.headless = true;
    plain.startup_timeout = o.startup_timeout;
    plain.command_timeout = std::chrono::seconds(60);
    {
      std::ofstream prefs(dir->path() + "/user.js");
      prefs << firefox_prefs(plain);
    }
    auto session = start_firefox(plain, dir->path(), /*bidi=*/false, {}, nullptr);
    session->quit();  // asks the browser to quit, then waits for its process
    std::error_code ec;
    for (const auto& name : {"lock", ".parentlock", "MarionetteActivePort", "browser.log", "user.js"})
      fs::remove(fs::path(dir->path()) / name, ec);
    return dir;
  }
  std::mutex mutex_;
  std::map<std::string, std::unique_ptr<TempDir>> templates_;
};

ProfileTemplates& profile_templates() {
  static ProfileTemplates templates;
  return templates;
}

// Copies the prepared profile into `to` (an empty folder); false, leaving `to` as it
// was found empty, when there is none or the copy fails.
bool copy_prepared_profile(const LaunchOptions& o, const std::string& to) {
  std::string from = profile_templates().path_for(o);
  if (from.empty()) return false;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(from, ec)) {
    if (left_out_of_copies(entry.path().filename().string())) continue;
    fs::copy(entry.path(), fs::path(to) / entry.path().filename(),
             fs::copy_options::recursive | fs::copy_options::copy_symlinks, ec);
    if (ec) break;
  }
  if (!ec) return true;
  for (const auto& entry : fs::directory_iterator(to, ec)) fs::remove_all(entry.path(), ec);
  return false;
}

std::shared_ptr<Session> launch_firefox_marionette(const LaunchOptions& o, Clock* clock) {
  auto profile = std::make_unique<TempDir>("vorna-firefox-");
  if (o.prepared_profile) copy_prepared_profile(o, profile->path());
  {
    std::ofstream prefs(profile->path() + "/user.js");
    prefs << firefox_prefs(o);
  }
  std::string path = profile->path();
  std::vector<std::unique_ptr<OwnedResource>> resources;
  resources.push_back(std::move(profile));  // shut down last: after the browser is gone
  return start_firefox(o, path, o.bidi, std::move(resources), clock);
}

int free_loopback_port() {
  // Ask the kernel for a free port by binding to 0, then release it for the driver.
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    if (fd >= 0) ::close(fd);
    throw SessionNotCreatedException("no free loopback port for the driver");
  }
  int port = ntohs(addr.sin_port);
  ::close(fd);
  return port;
}

Json http_capabilities(const LaunchOptions& o, const std::string& user_data_dir) {
  Json caps = {{"acceptInsecureCerts", true}};
  if (o.bidi) caps["webSocketUrl"] = true;
  if (o.browser == "chromium") {
    Json args = Json::array({"--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                             "--disable-background-networking", "--disable-component-update", "--disable-sync",
                             "--disable-default-apps"});
    if (!user_data_dir.empty()) args.push_back("--user-data-dir=" + user_data_dir);
    if (o.headless) args.push_back("--headless=new");
    Json chrome = {{"args", args}};
    // A Grid node's own configuration names its browser: a path found here would mean
    // nothing there, so a remote session names a binary only when told one.
    std::string binary = o.driver == "remote" ? o.binary : find_executable({o.binary.empty() ? "chromium" : o.binary});
    if (!binary.empty()) chrome["binary"] = binary;
    if (!o.download_dir.empty()) {
      chrome["prefs"] = {{"download.prompt_for_download", false},
                         {"download.directory_upgrade", true},
                         // A second download from a page is otherwise held for a prompt.
                         {"profile.default_content_setting_values.automatic_downloads", 1},
                         {"safebrowsing.enabled", false}};
      // A node with managed downloads names its own folder; a folder of ours means
      // nothing on another machine.
      if (o.driver != "remote") chrome["prefs"]["download.default_directory"] = o.download_dir;
    }
    caps["browserName"] = "chrome";
    caps["goog:chromeOptions"] = chrome;
  } else {
    Json args = Json::array();
    if (o.headless) args.push_back("-headless");
    Json moz = {{"args", args}, {"prefs", {{"browser.download.folderList", 2}}}};
    if (!o.download_dir.empty() && o.driver != "remote") moz["prefs"]["browser.download.dir"] = o.download_dir;
    if (o.prefs.is_object())
      for (const auto& [name, value] : o.prefs.items()) moz["prefs"][name] = value;
    if (!o.binary.empty()) moz["binary"] = o.binary;
    caps["browserName"] = "firefox";
    caps["moz:firefoxOptions"] = moz;
  }
  caps.update(o.extra_capabilities);
  return caps;
}

// True when the Grid's status shows a node whose slots for this browser keep downloads
// for fetching (managed downloads). Asking for them where no node offers them would
// hold the session in the Grid's queue until it gives up, so they are asked for only
// when offered; a remote end with no such status (a plain driver) offers none.
bool grid_offers_downloads(Transport& transport, const Json& browser_name) {
  Json status;
  try {
    status = transport.execute("Grid:Status", Json::object());
  } catch (const WebDriverException&) {
    return false;
  }
  if (!status.is_object() || !status.contains("nodes") || !status["nodes"].is_array()) return false;
  for (const auto& node : status["nodes"]) {
    if (!node.is_object() || !node.contains("slots") || !node["slots"].is_array()) continue;
    for (const auto& slot : node["slots"]) {
      if (!slot.is_object() || !slot.contains("stereotype")) continue;
      const Json& s = slot["stereotype"];
      if (s.is_object() && s.value("browserName", Json()) == browser_name && s.value("se:downloadsEnabled", Json()) == true)
        return true;
    }
  }
  return false;
}

std::shared_ptr<Session> launch_driver(const LaunchOptions& o, Clock* clock) {
  auto user_data = std::make_unique<TempDir>("vorna-browser-");
  std::vector<std::unique_ptr<OwnedResource>> resources;
  std::string url = o.remote_url;
  if (o.driver != "remote") {
    std::string driver = find_executable({o.driver_path.empty() ? o.driver : o.driver_path});
    if (driver.empty()) throw SessionNotCreatedException("the driver " + o.driver + " was not found");
    int port = free_loopback_port();
    std::vector<std::string> argv = {driver, "--port=" + std::to_string(port)};
    if (o.driver == "geckodriver") argv = {driver, "--port", std::to_string(port), "--host", "127.0.0.1"};
    // The session's deletion has closed the browser by the time the driver is stopped:
    // it is asked to end at once.
    auto process = std::make_unique<OwnedProcess>(ChildProcess(argv, {}, user_data->path() + "/driver.log"),
                                                  milliseconds(0));
    url = "http://127.0.0.1:" + std::to_string(port);
    auto deadline = std::chrono::steady_clock::now() + o.startup_timeout;
    while (true) {
      try {
        TcpStream probe("127.0.0.1", port, milliseconds(500));
        break;
      } catch (const ConnectionException&) {
      }
      if (!process->process().running() || std::chrono::steady_clock::now() >= deadline) {
        process->kill();
        throw SessionNotCreatedException("the driver " + o.driver + " did not start listening");
      }
      std::this_thread::sleep_for(milliseconds(50));
    }
    resources.push_back(std::move(user_data));
    resources.push_back(std::move(process));
  } else {
    resources.push_back(std::move(user_data));
  }
  // A remote browser runs on another machine: a folder of ours means nothing there.
  auto* dir = static_cast<TempDir*>(resources.front().get());
  Json caps = http_capabilities(o, o.driver == "remote" ? "" : dir->path() + "/profile");
  auto transport = std::make_unique<HttpTransport>(url, std::chrono::duration_cast<milliseconds>(o.command_timeout));
  if (o.driver == "remote" && !o.extra_capabilities.contains("se:downloadsEnabled") &&
      grid_offers_downloads(*transport, caps["browserName"]))
    caps["se:downloadsEnabled"] = true;
  auto session = Session::create(std::move(transport), caps, std::move(resources), clock);
  // Files typed into file inputs live here, the browser does not.
  if (o.driver == "remote") session->set_upload_files(true);
  return session;
}

}  // namespace

std::shared_ptr<Session> launch(const LaunchOptions& o, Clock* clock) {
  if (o.driver == "marionette") {
    if (o.browser != "firefox")
      throw InvalidArgumentException("only Firefox speaks its remote protocol directly", "invalid argument");
    return launch_firefox_marionette(o, clock);
  }
  if (o.driver == "chromedriver" || o.driver == "geckodriver" || o.driver == "remote") {
    if (o.driver == "remote" && o.remote_url.empty())
      throw InvalidArgumentException("a remote driver needs remote_url", "invalid argument");
    return launch_driver(o, clock);
  }
  throw InvalidArgumentException("unknown driver: " + o.driver, "invalid argument");
}

}  // namespace webdriver
