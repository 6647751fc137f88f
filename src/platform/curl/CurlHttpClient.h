#pragma once
#include <QCoreApplication>
#include <QString>

#include "base/async/Executor.h"
#include "platform/curl/CurlThread.h"
#include "platform/curl/CurlTransfer.h"
#include "ports/HttpClient.h"

namespace quillmere {

// The web through libcurl, on a thread of its own. Speaks HTTP/2 where the server does, keeps connections for 90 s and
// takes them up again. Main thread; outlives its streams. The authorities file is for tests.
class CurlHttpClient final : public HttpClient {
 public:
  explicit CurlHttpClient(Executor& executor, const QString& version = QCoreApplication::applicationVersion(),
                          const QString& authoritiesFile = {});
  Task<Result<std::unique_ptr<HttpStream>, UrlError>> open(HttpRequest request) override;
  void prepare(const QUrl& url) override;

 private:
  Executor& executor_;
  const CurlOptions options_;
  CurlThread thread_;
};

}  // namespace quillmere
