#include "platform/websockets/QtWebSocketConnection.h"

#include <QHostAddress>

#include "base/async/Combinators.h"

namespace quillmere {
namespace {

constexpr qint64 largestUnreadBytes = 16 * 1024 * 1024;
constexpr Duration goodbyeLimit = std::chrono::seconds(2);

UrlError::Code codeOf(const QSslError& error) {
  switch (error.error()) {
    case QSslError::CertificateExpired:
      return UrlError::certificateOutOfDate;
    case QSslError::CertificateNotYetValid:
      return UrlError::certificateNotYetValid;
    case QSslError::SelfSignedCertificate:
    case QSslError::SelfSignedCertificateInChain:
    case QSslError::UnableToGetIssuerCertificate:
    case QSslError::UnableToGetLocalIssuerCertificate:
    case QSslError::UnableToVerifyFirstCertificate:
      return UrlError::certificateOfUnknownAuthority;
    default:
      return UrlError::certificateUntrusted;
  }
}

}  // namespace

QtWebSocketConnection::QtWebSocketConnection(const WebSocketRequest& request) : host_(request.url.host()) {
  socket_.setMaxAllowedIncomingMessageSize(quint64(request.messageBytes));
  socket_.setMaxAllowedIncomingFrameSize(quint64(request.messageBytes));
  QObject::connect(&socket_, &QWebSocket::connected, &context_, [this] {
    isOpened_ = true;
    arrival_.resolve();
  });
  QObject::connect(&socket_, &QWebSocket::textMessageReceived, &context_, [this](const QString& text) {
    received({WebSocketMessage::Kind::text, text.toUtf8()});
  });
  QObject::connect(&socket_, &QWebSocket::binaryMessageReceived, &context_, [this](const QByteArray& bytes) {
    received({WebSocketMessage::Kind::binary, bytes});
  });
  QObject::connect(&socket_, &QWebSocket::bytesWritten, &context_, [this] { written_.resolve(); });
  QObject::connect(&socket_, &QWebSocket::pong, &context_, [this](quint64 milliseconds, const QByteArray& number) {
    if (number == QByteArray::number(pings_)) pong_.resolve(std::chrono::milliseconds(milliseconds));
  });
  QObject::connect(&socket_, &QWebSocket::sslErrors, &context_,
                   [this](const QList<QSslError>& errors) { tlsErrors_ += errors; });
  QObject::connect(&socket_, qOverload<QAbstractSocket::SocketError>(&QWebSocket::error), &context_,
                   [this](QAbstractSocket::SocketError error) { failed(error); });
  // Only a goodbye of either side gets here before the connection is gone.
  QObject::connect(&socket_, &QWebSocket::aboutToClose, &context_, [this] { isGoodbyeSaid_ = true; });
  QObject::connect(&socket_, &QWebSocket::disconnected, &context_, [this] {
    if (isGoodbyeSaid_) return over({int(socket_.closeCode()), socket_.closeReason(), std::nullopt});
    failed(socket_.error());
  });
}

QtWebSocketConnection::~QtWebSocketConnection() {
  socket_.disconnect(&context_);
  socket_.abort();
}

Task<std::optional<UrlError>> QtWebSocketConnection::waitUntilOpen() {
  if (!isOpened_ && !end_) co_await arrival_.wait();
  if (!end_) co_return std::nullopt;
  co_return end_->error.value_or(urlError(UrlError::networkConnectionLost));
}

void QtWebSocketConnection::received(WebSocketMessage message) {
  if (end_) return;
  unreadBytes_ += message.bytes.size();
  messages_.push_back(std::move(message));
  arrival_.resolve();
  if (unreadBytes_ <= largestUnreadBytes) return;
  over({WebSocketEnd::messageTooBig, {}, urlError(UrlError::answerTooLarge, host_)});
  socket_.abort();
}

// A refused connection comes here, or one that breaks.
void QtWebSocketConnection::failed(QAbstractSocket::SocketError error) {
  if (isGoodbyeSaid_) return;
  over({WebSocketEnd::abnormal, {}, errorOf(error)});
}

UrlError QtWebSocketConnection::errorOf(QAbstractSocket::SocketError error) const {
  if (!tlsErrors_.isEmpty()) return urlError(codeOf(tlsErrors_[0]), host_, tlsErrors_[0].errorString());
  switch (error) {
    case QAbstractSocket::HostNotFoundError:
    case QAbstractSocket::ProxyNotFoundError:
      return urlError(UrlError::cannotFindHost);
    case QAbstractSocket::SslHandshakeFailedError:
    case QAbstractSocket::SslInternalError:
    case QAbstractSocket::SslInvalidUserDataError:
      return urlError(UrlError::secureConnectionFailed, host_, socket_.errorString());
    case QAbstractSocket::SocketTimeoutError:
      return urlError(UrlError::timedOut);
    case QAbstractSocket::NetworkError:
    case QAbstractSocket::ProxyConnectionRefusedError:
      return urlError(UrlError::cannotConnectToHost);
    case QAbstractSocket::ConnectionRefusedError:
      // Qt says the same of a server that answers with something else than a WebSocket.
      return urlError(socket_.peerAddress().isNull() ? UrlError::cannotConnectToHost : UrlError::badServerResponse);
    default:
      return urlError(UrlError::networkConnectionLost);
  }
}

void QtWebSocketConnection::over(WebSocketEnd end) {
  if (end_) return;
  end_ = std::move(end);
  arrival_.resolve();
  written_.resolve();
  ended_.resolve();
  pong_.resolve(Duration::zero());
}

Task<Result<WebSocketMessage, WebSocketEnd>> QtWebSocketConnection::receive() {
  while (messages_.empty() && !end_) {
    arrival_ = Completion<>();
    co_await arrival_.wait();
  }
  if (messages_.empty()) co_return Failed{*end_};
  WebSocketMessage message = std::move(messages_.front());
  messages_.pop_front();
  unreadBytes_ -= message.bytes.size();
  co_return message;
}

bool QtWebSocketConnection::send(const WebSocketMessage& message) {
  if (!isOpen()) return false;
  if (message.kind == WebSocketMessage::Kind::text)
    socket_.sendTextMessage(QString::fromUtf8(message.bytes));
  else
    socket_.sendBinaryMessage(message.bytes);
  return true;
}

Task<bool> QtWebSocketConnection::waitUntilSent(qint64 bytesLeft) {
  while (isOpen() && bytesWaiting() > bytesLeft) {
    written_ = Completion<>();
    co_await written_.wait();
  }
  co_return isOpen();
}

Task<Result<Duration, WebSocketEnd>> QtWebSocketConnection::ping() {
  if (isOpen()) {
    pong_ = Completion<Duration>();
    socket_.ping(QByteArray::number(++pings_));
    const Duration taken = co_await pong_.wait();
    if (isOpen()) co_return taken;
  }
  co_return Failed{*end_};
}

Task<void> QtWebSocketConnection::close(int code, QString reason) {
  if (!isOpen()) co_return;
  socket_.close(QWebSocketProtocol::CloseCode(code), reason);
  if (!end_) {
    auto gone = ended_.wait([this] { socket_.abort(); });
    if (!co_await withTimeout(goodbyeLimit, std::move(gone))) socket_.abort();
  }
  over({code, reason, std::nullopt});
}

}  // namespace quillmere
