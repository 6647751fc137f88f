#include "platform/qt/QtHttpDownloader.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslError>
#include <QSslSocket>

#include "base/async/Completion.h"
#include "base/text/LocalizedText.h"
#include "platform/qt/QtHttpErrors.h"

namespace quillmere {
namespace {

constexpr qint64 largestPieceBytes = 1 << 20;
constexpr qint64 readBufferBytes = 16 << 20;  // how far the network may run ahead of the reader
constexpr int redirectsAllowed = 10;

bool isRedirectStatus(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// Qt reports a status from 400 on as an error as well (400, 407 and 418 in families of their own); here it is a
// response.
bool isOnlyTheStatus(QNetworkReply::NetworkError error) {
  return (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError) ||
         (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError) ||
         error == QNetworkReply::ProtocolInvalidOperationError ||
         error == QNetworkReply::ProxyAuthenticationRequiredError;
}

class QtHttpDownload final : public HttpDownload {
 public:
  explicit QtHttpDownload(QNetworkReply* reply) : reply_(reply) {
    reply_->setReadBufferSize(readBufferBytes);
    const auto wake = [this] { change_.resolve(); };
    QObject::connect(reply_, &QNetworkReply::metaDataChanged, &context_, wake);
    QObject::connect(reply_, &QNetworkReply::readyRead, &context_, wake);
    QObject::connect(reply_, &QNetworkReply::finished, &context_, wake);
    QObject::connect(reply_, &QNetworkReply::sslErrors, &context_, [this](const QList<QSslError>& errors) {
      for (const QSslError& error : errors) tlsReasons_ << error.errorString();
    });
  }

  ~QtHttpDownload() override {
    reply_->disconnect(&context_);
    reply_->abort();
    reply_->deleteLater();
  }

  const HttpResponseHead& head() const override { return head_; }

  // Nothing, or why no response came.
  Task<std::optional<UrlError>> waitForHead() {
    while (!reply_->isFinished() && (status() == 0 || isRedirectStatus(status()))) {
      co_await nextChange();
    }
    const bool isError = reply_->error() != QNetworkReply::NoError;
    if (status() == 0 || (isError && status() < 400 && isRedirectStatus(status()))) co_return error();
    head_.statusCode = status();
    head_.url = reply_->url();
    for (const auto& [name, value] : reply_->rawHeaderPairs()) head_.headers.append(HttpHeader{name, value});
    co_return std::nullopt;
  }

  Task<Result<QByteArray, UrlError>> read() override {
    while (reply_->bytesAvailable() == 0 && !reply_->isFinished()) {
      co_await nextChange();
    }
    if (reply_->bytesAvailable() > 0) {
      QByteArray piece = reply_->read(largestPieceBytes);
      bytesRead_ += piece.size();
      co_return piece;
    }
    if (reply_->error() != QNetworkReply::NoError && !isOnlyTheStatus(reply_->error())) co_return Failed{error()};
    // Qt takes a connection that closes early, right after its data, for the end of the body now and then.
    if (bytesRead_ < announcedBytes())
      co_return Failed{urlErrorOf(QNetworkReply::RemoteHostClosedError, reply_->url().host(), {})};
    co_return QByteArray();
  }

 private:
  int status() const { return reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(); }

  // 0 where nothing was said, or where it is no length of what arrives here.
  qint64 announcedBytes() const {
    if (head_.statusCode == 304 || head_.header("Transfer-Encoding")) return 0;
    return head_.header("Content-Length").value_or(QByteArray()).trimmed().toLongLong();
  }

  Task<void> nextChange() {
    change_ = Completion<>();
    return change_.wait();
  }

  UrlError error() const {
    // Only the transfer time-out cancels a reply that we still listen to.
    if (reply_->error() == QNetworkReply::OperationCanceledError)
      return urlErrorOf(QNetworkReply::TimeoutError, reply_->url().host(), {});
    const QString detail = tlsReasons_.isEmpty() ? reply_->errorString() : tlsReasons_.join(QStringLiteral("; "));
    return urlErrorOf(reply_->error(), reply_->url().host(), detail);
  }

  QObject context_;
  QNetworkReply* reply_;  // owned, see the destructor
  Completion<> change_;
  HttpResponseHead head_;
  qint64 bytesRead_ = 0;
  QStringList tlsReasons_;
};

}  // namespace

QtHttpDownloader::QtHttpDownloader(const QString& version) : userAgent_("Quillmere/" + version.toUtf8()) {}

Task<Result<std::unique_ptr<HttpDownload>, UrlError>> QtHttpDownloader::open(HttpDownloadRequest request) {
  const QString scheme = request.url.scheme();
  if (!request.url.isValid() || request.url.host().isEmpty() || (scheme != u"https" && scheme != u"http")) {
    const UrlError badUrl{UrlError::badUrl, QStringLiteral("badUrl"), {}};
    co_return Failed{badUrl};
  }
  if (scheme == u"https" && !QSslSocket::supportsSsl())
    co_return Failed{
        urlErrorOf(QNetworkReply::SslHandshakeFailedError, request.url.host(), localizedText("error.url.tlsMissing"))};

  QNetworkRequest qtRequest(request.url);
  qtRequest.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
  qtRequest.setMaximumRedirectsAllowed(redirectsAllowed);
  qtRequest.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
  qtRequest.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
  qtRequest.setTransferTimeout(static_cast<int>(request.idleTimeout.count()));
  qtRequest.setRawHeader("User-Agent", userAgent_);
  qtRequest.setRawHeader("Accept-Encoding", "identity");
  for (const HttpHeader& header : request.headers) qtRequest.setRawHeader(header.name, header.value);

  if (!manager_) manager_ = std::make_unique<QNetworkAccessManager>();
  auto download = std::make_unique<QtHttpDownload>(manager_->get(qtRequest));
  auto failure = co_await download->waitForHead();
  if (failure) co_return Failed{*failure};
  co_return std::unique_ptr<HttpDownload>(std::move(download));
}

}  // namespace quillmere
