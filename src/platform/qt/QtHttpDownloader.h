#pragma once
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QString>
#include <memory>

#include "ports/HttpDownloader.h"

namespace quillmere {

// The web through Qt Network. Lives on the main thread and outlives its downloads. Sends "User-Agent:
// Quillmere/VERSION"; speaks HTTP/2 where the server does; follows up to ten redirects.
class QtHttpDownloader final : public HttpDownloader {
 public:
  explicit QtHttpDownloader(const QString& version = QCoreApplication::applicationVersion());
  Task<Result<std::unique_ptr<HttpDownload>, UrlError>> open(HttpDownloadRequest request) override;

 private:
  std::unique_ptr<QNetworkAccessManager> manager_;  // made at the first download
  QByteArray userAgent_;
};

}  // namespace quillmere
