#include "platform/qt/QtHttpErrors.h"

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

constexpr int tooManyRedirects = -1007;
constexpr int secureConnectionFailed = -1200;
constexpr int unknown = -1;

UrlError known(UrlError::Code code, const char* name) {
  return {code, QString::fromLatin1(name), {}};
}

}  // namespace

UrlError urlErrorOf(QNetworkReply::NetworkError error, const QString& host, const QString& detail) {
  switch (error) {
    case QNetworkReply::OperationCanceledError:
      return known(UrlError::cancelled, "cancelled");
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
      return known(UrlError::timedOut, "timedOut");
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::ProxyNotFoundError:
      return known(UrlError::cannotFindHost, "cannotFindHost");
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::ProxyConnectionRefusedError:
      return known(UrlError::cannotConnectToHost, "cannotConnectToHost");
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::UnknownNetworkError:
      return known(UrlError::networkConnectionLost, "networkConnectionLost");
    case QNetworkReply::NetworkSessionFailedError:
      return known(UrlError::notConnectedToInternet, "notConnectedToInternet");
    case QNetworkReply::SslHandshakeFailedError:
      return {secureConnectionFailed, {}, localizedText("error.url.tls", host, detail)};
    case QNetworkReply::TooManyRedirectsError:
      return {tooManyRedirects, {}, localizedText("error.url.tooManyRedirects", host)};
    case QNetworkReply::InsecureRedirectError:
      return {UrlError::badServerResponse, QStringLiteral("badServerResponse"),
              localizedText("error.url.insecureRedirect", host)};
    case QNetworkReply::ProtocolUnknownError:
      return known(UrlError::badUrl, "badUrl");
    case QNetworkReply::ProtocolFailure:
    case QNetworkReply::ProtocolInvalidOperationError:
      return known(UrlError::badServerResponse, "badServerResponse");
    default:
      return {unknown, {}, detail};
  }
}

}  // namespace quillmere
