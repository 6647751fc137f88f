#pragma once
#include <curl/curl.h>

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

#include "base/async/Executor.h"
#include "platform/curl/CurlBody.h"
#include "ports/HttpClient.h"

namespace quillmere {

struct CurlOptions {
  QByteArray userAgent;
  QString authoritiesFile;  // empty: the system's
};

// One request without its redirects. Made anywhere, then only touched on the thread of libcurl; the events are called
// there, and after `ended` none is.
class CurlTransfer {
 public:
  struct Events {
    std::function<void(HttpResponseHead)> head;
    std::function<void(QByteArray)> piece;
    std::function<void(std::optional<UrlError>)> ended;
  };
  static constexpr qint64 bytesAhead = 1 << 20;  // how far the network may run ahead of the reader

  CurlTransfer(const HttpRequest& request, CurlBody body, const CurlOptions& options, Events events);
  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  CURL* handle() const { return handle_.get(); }
  // Bytes that were told and not read yet. Any thread.
  std::atomic<qint64>& unreadBytes() { return unreadBytes_; }
  // The reader has room again.
  void resume();
  // None before the connection stands and while the reader has no room.
  std::optional<TimePoint> idleDeadline() const;
  void ended(CURLcode code);

 private:
  void describe(const HttpRequest& request, const CurlOptions& options);
  void addHeader(const QByteArray& line);
  void noteActivity() { lastActivity_ = std::chrono::steady_clock::now(); }
  bool headLine(const QByteArray& line);
  size_t bodyBytes(const char* data, size_t bytes);
  size_t fail(UrlError::Code code);

  template <auto function>
  struct Free {
    template <typename P>
    void operator()(P* pointer) const {
      function(pointer);
    }
  };
  const QUrl url_;
  const HttpLimits limits_;
  CurlBody body_;
  const Events events_;
  std::unique_ptr<curl_slist, Free<curl_slist_free_all>> headers_;
  std::unique_ptr<CURL, Free<curl_easy_cleanup>> handle_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
  std::optional<TimePoint> lastActivity_;
  curl_off_t transferred_ = 0;
  HttpResponseHead head_;
  qint64 headBytes_ = 0;
  qint64 bodyBytes_ = 0;
  bool isHeadTold_ = false;
  bool isPaused_ = false;
  std::atomic<qint64> unreadBytes_ = 0;
  std::optional<UrlError> failure_;  // why one of our functions stopped the transfer
};

}  // namespace quillmere
