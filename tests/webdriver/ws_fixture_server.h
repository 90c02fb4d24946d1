// A scripted WebSocket peer on 127.0.0.1 for the BiDi channel's tests, written with the
// same library as the client. Each command it receives ({"id", "method", "params"}) is
// answered by its method:
//   echo        success with the params as the result
//   session.subscribe, script.addPreloadScript   success
//   fail        an error answer with params.error as its code
//   fragments   success {"text": params.bytes x's}, sent in frames of params.piece bytes
//   storm       params.count events "log.entryAdded" {"n": i}, then success
//   cut         the TCP connection is cut, no close frame and no answer
//   close       a close frame (1001, going away), no answer
//   anything else: no answer
#pragma once

#include <atomic>
#include <memory>
#include <string>

namespace webdriver::testing {

class WsFixtureServer {
 public:
  WsFixtureServer();
  ~WsFixtureServer();
  WsFixtureServer(const WsFixtureServer&) = delete;
  WsFixtureServer& operator=(const WsFixtureServer&) = delete;

  std::string url() const;  // ws://127.0.0.1:<port>/session/fixture
  int port() const noexcept;
  // What the handshakes carried.
  int connections() const noexcept;
  bool saw_origin() const noexcept;
  std::string last_host() const;

  struct Impl;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace webdriver::testing
