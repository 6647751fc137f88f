#pragma once
#include <deque>
#include <optional>

#include "base/async/Async.h"
#include "ports/WebSocket.h"

namespace quillmere {

// A connection whose other side is the test.
class FakeWebSocketConnection final : public WebSocketConnection {
 public:
  struct Peer {  // outlives the connection
    std::vector<WebSocketMessage> sent;
    std::optional<WebSocketEnd> goodbye;  // of our side
    bool isStalled = false;               // takes nothing in and answers no ping
    std::deque<WebSocketMessage> arrived;
    std::optional<WebSocketEnd> end;
    Completion<> change;
    int connections = 0;

    void deliver(WebSocketMessage message) {
      arrived.push_back(std::move(message));
      change.resolve();
    }
    void finish(WebSocketEnd how) {
      if (!end) end = std::move(how);
      change.resolve();
    }
  };

  explicit FakeWebSocketConnection(Peer& peer) : peer_(peer) { ++peer_.connections; }
  FakeWebSocketConnection(const FakeWebSocketConnection&) = delete;
  FakeWebSocketConnection& operator=(const FakeWebSocketConnection&) = delete;
  ~FakeWebSocketConnection() override { --peer_.connections; }

  Task<Result<WebSocketMessage, WebSocketEnd>> receive() override {
    while (peer_.arrived.empty() && !peer_.end) co_await nextChange();
    if (peer_.arrived.empty()) co_return Failed{*peer_.end};
    WebSocketMessage message = peer_.arrived.front();
    peer_.arrived.pop_front();
    co_return message;
  }
  bool send(const WebSocketMessage& message) override {
    if (!isOpen()) return false;
    peer_.sent.push_back(message);
    if (peer_.isStalled) bytesWaiting_ += message.bytes.size();
    return true;
  }
  qint64 bytesWaiting() const override { return isOpen() ? bytesWaiting_ : 0; }
  Task<bool> waitUntilSent(qint64 bytesLeft) override {
    while (isOpen() && peer_.isStalled && bytesWaiting_ > bytesLeft) co_await nextChange();
    if (!peer_.isStalled) bytesWaiting_ = 0;
    co_return isOpen();
  }
  Task<Result<Duration, WebSocketEnd>> ping() override {
    while (isOpen() && peer_.isStalled) co_await nextChange();
    if (!isOpen()) co_return Failed{*peer_.end};
    co_return Duration::zero();
  }
  Task<void> close(int code, QString reason) override {
    if (!isOpen()) co_return;
    peer_.goodbye = WebSocketEnd{code, reason, std::nullopt};
    peer_.finish(*peer_.goodbye);
  }
  bool isOpen() const override { return !peer_.end; }

 private:
  Task<void> nextChange() {
    peer_.change = Completion<>();
    return peer_.change.wait();
  }
  Peer& peer_;
  qint64 bytesWaiting_ = 0;
};

// Connects to one peer.
class FakeWebSocket final : public WebSocket {
 public:
  FakeWebSocketConnection::Peer peer;

  Task<Result<std::unique_ptr<WebSocketConnection>, UrlError>> connect(WebSocketRequest) override {
    co_await yieldNow();
    std::unique_ptr<WebSocketConnection> connection = std::make_unique<FakeWebSocketConnection>(peer);
    co_return connection;
  }
};

}  // namespace quillmere
