#pragma once
#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <chrono>
#include <memory>
#include <optional>

#include "base/Result.h"
#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "domain/Errors.h"
#include "ports/HttpStream.h"

namespace quillmere {

struct WebSocketRequest {
  QUrl url;                        // ws or wss
  QList<HttpHeader> headers = {};  // of the handshake
  std::chrono::milliseconds connectLimit{30'000};
  qint64 messageBytes = 4 * 1024 * 1024;  // a larger message of the server ends the connection
};

struct WebSocketMessage {
  enum class Kind { text, binary };
  Kind kind = Kind::text;
  QByteArray bytes;  // UTF-8 where it is text
  bool operator==(const WebSocketMessage&) const = default;
};

// How a connection ended.
struct WebSocketEnd {
  static constexpr int normal = 1000;
  static constexpr int abnormal = 1006;  // no side said goodbye
  static constexpr int messageTooBig = 1009;

  int code = normal;
  QString reason;
  std::optional<UrlError> error;  // where it broke
  bool operator==(const WebSocketEnd&) const = default;
};

// An open connection. Main thread. Owned by its user; destroying it drops the connection without a goodbye. What
// arrives is kept until it is read; 16 MiB of it unread end the connection with `answerTooLarge`.
class WebSocketConnection {
 public:
  virtual ~WebSocketConnection() = default;
  // The next message in the order of arrival. Once the connection has ended and all was read: how it ended, as often as
  // one asks. One receive at a time. A cancel loses nothing and leaves the connection as it is.
  virtual Task<Result<WebSocketMessage, WebSocketEnd>> receive() = 0;
  // Hands the message over for sending; false where the connection has ended. Never waits: see bytesWaiting().
  virtual bool send(const WebSocketMessage& message) = 0;
  // What was handed over and has not left this process yet.
  virtual qint64 bytesWaiting() const = 0;
  // Waits until no more than that are waiting; false where the connection ended first. One wait at a time.
  virtual Task<bool> waitUntilSent(qint64 bytesLeft = 0) = 0;
  // Sends a ping; how long the pong took, or how the connection ended meanwhile. One at a time; has no limit of its
  // own.
  virtual Task<Result<Duration, WebSocketEnd>> ping() = 0;
  // Says goodbye after what still waits, for two seconds at most; harmless on an ended connection. A cancel drops the
  // connection. Codes: 1000 or 3000 to 4999.
  virtual Task<void> close(int code = WebSocketEnd::normal, QString reason = {}) = 0;
  virtual bool isOpen() const = 0;
};

// WebSocket clients. Main thread. Certificates are always checked, redirects never followed. A server that answers with
// anything but a WebSocket is `badServerResponse`.
class WebSocket {
 public:
  virtual ~WebSocket() = default;
  // A cancel drops the attempt at once.
  virtual Task<Result<std::unique_ptr<WebSocketConnection>, UrlError>> connect(WebSocketRequest request) = 0;
};

}  // namespace quillmere
