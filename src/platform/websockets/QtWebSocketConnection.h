#pragma once
#include <QSslError>
#include <QWebSocket>
#include <deque>

#include "base/async/Completion.h"
#include "ports/WebSocket.h"

namespace quillmere {

// One connection, also while it is made.
class QtWebSocketConnection final : public WebSocketConnection {
 public:
  explicit QtWebSocketConnection(const WebSocketRequest& request);
  QtWebSocketConnection(const QtWebSocketConnection&) = delete;
  QtWebSocketConnection& operator=(const QtWebSocketConnection&) = delete;
  ~QtWebSocketConnection() override;

  QWebSocket& socket() { return socket_; }
  // Waits for the end of the handshake; nothing, or why there is no connection. Once.
  Task<std::optional<UrlError>> waitUntilOpen();

  Task<Result<WebSocketMessage, WebSocketEnd>> receive() override;
  bool send(const WebSocketMessage& message) override;
  qint64 bytesWaiting() const override { return isOpen() ? socket_.bytesToWrite() : 0; }
  Task<bool> waitUntilSent(qint64 bytesLeft) override;
  Task<Result<Duration, WebSocketEnd>> ping() override;
  Task<void> close(int code, QString reason) override;
  bool isOpen() const override { return isOpened_ && !end_; }

 private:
  void received(WebSocketMessage message);
  void failed(QAbstractSocket::SocketError error);
  void over(WebSocketEnd end);
  UrlError errorOf(QAbstractSocket::SocketError error) const;

  const QString host_;
  bool isOpened_ = false;
  bool isGoodbyeSaid_ = false;
  std::deque<WebSocketMessage> messages_;
  qint64 unreadBytes_ = 0;
  std::optional<WebSocketEnd> end_;
  QList<QSslError> tlsErrors_;
  quint64 pings_ = 0;
  Completion<> arrival_;
  Completion<> written_;
  Completion<> ended_;
  Completion<Duration> pong_;
  QObject context_;
  QWebSocket socket_;
};

}  // namespace quillmere
