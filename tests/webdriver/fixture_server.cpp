#include "tests/webdriver/fixture_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace webdriver::testing {
namespace {

std::string content_type(const std::string& path) {
  auto ends = [&](const char* ext) {
    std::string e(ext);
    return path.size() >= e.size() && path.compare(path.size() - e.size(), e.size(), e) == 0;
  };
  if (ends(".html")) return "text/html; charset=utf-8";
  if (ends(".csv")) return "text/csv";
  if (ends(".gz")) return "application/gzip";
  if (ends(".png")) return "image/png";
  return "application/octet-stream";
}

void send_all(int fd, const std::string& data) {
  size_t sent = 0;
  while (sent < data.size()) {
    ssize_t n = ::send(fd, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
    if (n <= 0) return;
    sent += static_cast<size_t>(n);
  }
}

}  // namespace

FixtureServer::FixtureServer(std::string root) : root_(std::move(root)) {
  listen_fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (listen_fd_ < 0 || ::bind(listen_fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      ::listen(listen_fd_, 64) != 0 || ::getsockname(listen_fd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
    throw std::runtime_error("the fixture server cannot listen on 127.0.0.1");
  port_ = ntohs(addr.sin_port);
  acceptor_ = std::thread([this] { accept_loop(); });
}

FixtureServer::~FixtureServer() {
  stopping_ = true;
  acceptor_.join();
  ::close(listen_fd_);
  std::lock_guard<std::mutex> lock(workers_mutex_);
  for (auto& w : workers_) w.join();
}

std::string FixtureServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

void FixtureServer::accept_loop() {
  while (!stopping_) {
    pollfd p{listen_fd_, POLLIN, 0};
    if (::poll(&p, 1, 100) != 1) continue;  // wakes up often enough to notice stopping_
    int fd = ::accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    std::lock_guard<std::mutex> lock(workers_mutex_);
    workers_.emplace_back([this, fd] {
      serve(fd);
      ::close(fd);
    });
  }
}

void FixtureServer::serve(int fd) {
  // Browsers open speculative connections that never send a request: give up after a
  // while instead of holding the server's shutdown hostage.
  std::string request;
  while (request.find("\r\n\r\n") == std::string::npos && request.size() < 65536) {
    pollfd p{fd, POLLIN, 0};
    if (stopping_ || ::poll(&p, 1, 2000) != 1) return;
    char buf[4096];
    ssize_t n = ::recv(fd, buf, sizeof buf, 0);
    if (n <= 0) return;
    request.append(buf, static_cast<size_t>(n));
  }
  std::istringstream line(request.substr(0, request.find("\r\n")));
  std::string method, target;
  line >> method >> target;
  std::string path = target.substr(0, target.find('?'));
  std::string status = "200 OK", body, type;
  std::ifstream in;
  if (path.find("..") == std::string::npos && !path.empty() && path[0] == '/') in.open(root_ + path, std::ios::binary);
  if (path == "/" || !in) {
    status = "404 Not Found";
    body = "<title>Not found</title>not found";
    type = "text/html";
  } else {
    std::ostringstream all;
    all << in.rdbuf();
    body = all.str();
    type = content_type(path);
  }
  std::string head = "HTTP/1.1 " + status + "\r\nContent-Type: " + type +
                     "\r\nContent-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n";
  if (path.rfind("/download/", 0) == 0)
    head += "Content-Disposition: attachment; filename=\"" + path.substr(path.rfind('/') + 1) + "\"\r\n";
  send_all(fd, head + "\r\n" + (method == "HEAD" ? "" : body));
}

}  // namespace webdriver::testing
