#pragma once
#include <QCoreApplication>
#include <QSslConfiguration>
#include <QString>

#include "ports/WebSocket.h"

namespace quillmere {

// WebSockets through Qt. Sends "User-Agent: Quillmere/VERSION" with the handshake. The configuration is for tests.
class QtWebSocket final : public WebSocket {
 public:
  explicit QtWebSocket(const QString& version = QCoreApplication::applicationVersion(),
                       const QSslConfiguration& tls = QSslConfiguration::defaultConfiguration());
  Task<Result<std::unique_ptr<WebSocketConnection>, UrlError>> connect(WebSocketRequest request) override;

 private:
  const QByteArray userAgent_;
  const QSslConfiguration tls_;
};

}  // namespace quillmere
