#include "platform/websockets/QtWebSocket.h"

#include <QHostAddress>
#include <QNetworkProxy>
#include <QNetworkRequest>

#include "base/async/Combinators.h"
#include "base/text/LocalizedText.h"
#include "platform/websockets/QtWebSocketConnection.h"

namespace quillmere {
namespace {

// The proxy that the environment names for the address, as curl and others read it.
QNetworkProxy proxyFor(const QUrl& url) {
  const QNetworkProxy none(QNetworkProxy::NoProxy);
  const QString host = url.host();
  if (host == u"localhost" || QHostAddress(host).isLoopback()) return none;
  const auto variable = [](const char* name) {
    const QString value = qEnvironmentVariable(name);
    return value.isEmpty() ? qEnvironmentVariable(QByteArray(name).toUpper().constData()) : value;
  };
  for (const QString& entry : variable("no_proxy").split(u',', Qt::SkipEmptyParts)) {
    const QString name = entry.trimmed();
    if (name == u"*" || host == name || host.endsWith(name.startsWith(u'.') ? name : u'.' + name)) return none;
  }
  QString address = variable(url.scheme() == u"wss" ? "https_proxy" : "http_proxy");
  if (address.isEmpty()) address = variable("all_proxy");
  const QUrl proxy(address.contains(u"://") ? address : QStringLiteral("http://") + address);
  if (address.isEmpty() || proxy.host().isEmpty()) return none;
  const auto kind = proxy.scheme().startsWith(u"socks") ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy;
  return QNetworkProxy(kind, proxy.host(), quint16(proxy.port(1080)), proxy.userName(), proxy.password());
}

}  // namespace

QtWebSocket::QtWebSocket(const QString& version, const QSslConfiguration& tls)
    : userAgent_("Quillmere/" + version.toUtf8()), tls_(tls) {}

Task<Result<std::unique_ptr<WebSocketConnection>, UrlError>> QtWebSocket::connect(WebSocketRequest request) {
  const QString scheme = request.url.scheme();
  if (!request.url.isValid() || request.url.host().isEmpty() || (scheme != u"wss" && scheme != u"ws"))
    co_return Failed{urlError(UrlError::badUrl)};
  QNetworkRequest handshake(request.url);
  handshake.setRawHeader("User-Agent", userAgent_);
  for (const HttpHeader& header : request.headers) {
    if (!header.isValid())
      co_return Failed{UrlError{-1, {}, localizedText("error.url.badHeader", QString::fromUtf8(header.name))}};
    handshake.setRawHeader(header.name, header.value);
  }

  auto connection = std::make_unique<QtWebSocketConnection>(request);
  QWebSocket& socket = connection->socket();
  socket.setSslConfiguration(tls_);
  socket.setProxy(proxyFor(request.url));
  socket.open(handshake);
  const auto refused = co_await withTimeout(request.connectLimit, connection->waitUntilOpen());
  if (!refused) co_return Failed{urlError(UrlError::timedOut)};
  if (*refused) co_return Failed{**refused};
  co_return std::unique_ptr<WebSocketConnection>(std::move(connection));
}

}  // namespace quillmere
