#include "platform/qt/QtHttpErrors.h"

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

constexpr int unknown = -1;

}  // namespace

UrlError urlErrorOf(QNetworkReply::NetworkError error, const QString& host, const QString& detail) {
  switch (error) {
    case QNetworkReply::OperationCanceledError:
      return urlError(UrlError::cancelled);
    case QNetworkReply::TimeoutError:
    case QNetworkReply::ProxyTimeoutError:
      return urlError(UrlError::timedOut);
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::ProxyNotFoundError:
      return urlError(UrlError::cannotFindHost);
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::ProxyConnectionRefusedError:
      return urlError(UrlError::cannotConnectToHost);
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::UnknownNetworkError:
      return urlError(UrlError::networkConnectionLost);
    case QNetworkReply::NetworkSessionFailedError:
      return urlError(UrlError::notConnectedToInternet);
    case QNetworkReply::SslHandshakeFailedError:
      return urlError(UrlError::secureConnectionFailed, host, detail);
    case QNetworkReply::TooManyRedirectsError:
      return urlError(UrlError::tooManyRedirects, host);
    case QNetworkReply::InsecureRedirectError:
      return {UrlError::badServerResponse, QStringLiteral("badServerResponse"),
              localizedText("error.url.insecureRedirect", host)};
    case QNetworkReply::ProtocolUnknownError:
      return urlError(UrlError::badUrl);
    case QNetworkReply::ProtocolFailure:
    case QNetworkReply::ProtocolInvalidOperationError:
      return urlError(UrlError::badServerResponse);
    default:
      return {unknown, {}, detail};
  }
}

}  // namespace quillmere
