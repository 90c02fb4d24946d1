// A loopback TCP connection with bounded connects and reads, behind a small interface
// so the protocol code can be fed scripted bytes in tests.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace webdriver {

class ByteStream {
 public:
  virtual ~ByteStream() = default;
  virtual void write_all(std::string_view bytes) = 0;
  // Some bytes (at least one); ConnectionException on end of stream, error or time-out.
  virtual std::string read_some(std::chrono::milliseconds timeout) = 0;
};

class TcpStream final : public ByteStream {
 public:
  TcpStream(const std::string& host, int port, std::chrono::milliseconds connect_timeout);
  ~TcpStream() override;
  TcpStream(const TcpStream&) = delete;
  TcpStream& operator=(const TcpStream&) = delete;
  TcpStream(TcpStream&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  TcpStream& operator=(TcpStream&& other) noexcept;
  void write_all(std::string_view bytes) override;
  std::string read_some(std::chrono::milliseconds timeout) override;

 private:
  int fd_ = -1;
};

}  // namespace webdriver
