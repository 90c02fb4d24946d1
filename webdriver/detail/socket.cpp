#include "webdriver/detail/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include "webdriver/clock.h"
#include "webdriver/errors.h"

namespace webdriver {
namespace {
ConnectionException error(const std::string& what) {
  return ConnectionException(what + ": " + std::strerror(errno), "connection error");
}
}  // namespace

TcpStream::TcpStream(const std::string& host, int port, std::chrono::milliseconds connect_timeout) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* res = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &res) != 0 || !res)
    throw ConnectionException("cannot resolve " + host, "connection error");
  fd_ = ::socket(res->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (fd_ < 0) {
    freeaddrinfo(res);
    throw error("socket");
  }
  int rc = ::connect(fd_, res->ai_addr, res->ai_addrlen);
  freeaddrinfo(res);
  if (rc != 0 && errno != EINPROGRESS) {
    auto e = error("connect to " + host + ":" + std::to_string(port));
    ::close(fd_);
    throw e;
  }
  pollfd p{fd_, POLLOUT, 0};
  int soerr = 0;
  socklen_t len = sizeof soerr;
  if (::poll(&p, 1, static_cast<int>(connect_timeout.count())) != 1 ||
      getsockopt(fd_, SOL_SOCKET, SO_ERROR, &soerr, &len) != 0 || soerr != 0) {
    ::close(fd_);
    throw ConnectionException("cannot connect to " + host + ":" + std::to_string(port), "connection error");
  }
  int one = 1;
  setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

TcpStream::~TcpStream() {
  if (fd_ >= 0) ::close(fd_);
}

TcpStream& TcpStream::operator=(TcpStream&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = other.fd_;
    other.fd_ = -1;
  }
  return *this;
}

void TcpStream::write_all(std::string_view bytes) {
  if (fd_ < 0) throw ConnectionException("the connection is closed", "connection error");
  while (!bytes.empty()) {
    ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN) {
        pollfd p{fd_, POLLOUT, 0};
        if (::poll(&p, 1, 30000) != 1) throw ConnectionException("send timed out", "connection error");
        continue;
      }
      throw error("send");
    }
    bytes.remove_prefix(static_cast<size_t>(n));
  }
}

std::string TcpStream::read_some(std::chrono::milliseconds timeout) {
  if (fd_ < 0) throw ConnectionException("the connection is closed", "connection error");
  pollfd p{fd_, POLLIN, 0};
  // Waited in slices with the sleep check between them, so that a Ctrl-C ends a command
  // that takes long (a page that does not load). The reply that comes later is skipped
  // by its id (marionette_transport.cpp).
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (true) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
    if (left.count() < 0) left = std::chrono::milliseconds(0);
    auto slice = std::min<std::chrono::milliseconds>(left, kSleepSlice);
    int rc = ::poll(&p, 1, static_cast<int>(slice.count()));
    if (rc < 0 && errno == EINTR) continue;
    if (rc < 0) throw error("poll");
    if (rc > 0) break;
    if (left <= slice) throw ConnectionException("no answer from the browser within the command time-out", "timeout");
    run_sleep_check();
  }
  char buf[65536];
  while (true) {
    ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
    if (n > 0) return std::string(buf, static_cast<size_t>(n));
    if (n == 0) throw ConnectionException("the browser closed the connection", "connection error");
    if (errno == EINTR) continue;
    throw error("recv");
  }
}

}  // namespace webdriver
