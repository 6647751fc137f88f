#include "platform/curl/CurlTransfer.h"

#include <QHostAddress>

#include "platform/curl/CurlErrors.h"

namespace quillmere {
namespace {

constexpr long connectionLifeSeconds = 90;  // many servers let go of an unused one after that

bool isThisComputer(const QString& host) {
  return host == u"localhost" || host.endsWith(u".localhost") || QHostAddress(host).isLoopback();
}

CurlTransfer* self(void* data) {
  return static_cast<CurlTransfer*>(data);
}

}  // namespace

CurlTransfer::CurlTransfer(const HttpRequest& request, CurlBody body, const CurlOptions& options, Events events)
    : url_(request.url),
      limits_(request.limits),
      body_(std::move(body)),
      events_(std::move(events)),
      handle_(curl_easy_init()) {
  describe(request, options);
}

void CurlTransfer::addHeader(const QByteArray& line) {
  if (curl_slist* const list = curl_slist_append(headers_.get(), line.constData())) {
    static_cast<void>(headers_.release());
    headers_.reset(list);
  }
}

void CurlTransfer::describe(const HttpRequest& request, const CurlOptions& options) {
  CURL* const curl = handle();
  curl_easy_setopt(curl, CURLOPT_URL, url_.toEncoded(QUrl::RemoveFragment).constData());
  curl_easy_setopt(curl, CURLOPT_PATH_AS_IS, 1L);
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  if (isThisComputer(url_.host())) curl_easy_setopt(curl, CURLOPT_PROXY, "");
  curl_easy_setopt(curl, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  if (!options.authoritiesFile.isEmpty())
    curl_easy_setopt(curl, CURLOPT_CAINFO, options.authoritiesFile.toUtf8().constData());
  curl_easy_setopt(curl, CURLOPT_USERAGENT, options.userAgent.constData());
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L);  // a cancel does not wait for the name service
  curl_easy_setopt(curl, CURLOPT_TCP_KEEPALIVE, 1L);
  curl_easy_setopt(curl, CURLOPT_MAXAGE_CONN, connectionLifeSeconds);
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, long(limits_.connect.count()));
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, long(limits_.total.count()));
  curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText_.data());

  for (const HttpHeader& header : request.headers)
    addHeader(header.name + (header.value.isEmpty() ? QByteArray(";") : ": " + header.value));
  const auto isGiven = [&](const char* name) {
    return std::any_of(request.headers.begin(), request.headers.end(), [name](const HttpHeader& header) {
      return header.name.compare(name, Qt::CaseInsensitive) == 0;
    });
  };
  if (const auto* form = std::get_if<HttpForm>(&request.body))
    addHeader("Content-Type: multipart/form-data; boundary=" + form->boundary);
  else if (!isGiven("Content-Type"))
    addHeader("Content-Type:");  // without a value: not the one that libcurl would choose
  for (const char* name : {"Accept", "Expect"})
    if (!isGiven(name)) addHeader(QByteArray(name) + ':');
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers_.get());

  const bool isEmptyUpload = request.method == "POST" || request.method == "PUT" || request.method == "PATCH";
  if (!body_.isAbsent() || isEmptyUpload) {
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t(body_.size()));
    curl_easy_setopt(curl, CURLOPT_READDATA, this);
    curl_easy_setopt(
        curl, CURLOPT_READFUNCTION, +[](char* to, size_t size, size_t count, void* data) -> size_t {
          const qint64 read = self(data)->body_.read(to, qint64(size * count));
          if (read < 0) self(data)->fail(UrlError::fileNotReadable);
          return read < 0 ? CURL_READFUNC_ABORT : size_t(read);
        });
    curl_easy_setopt(curl, CURLOPT_SEEKDATA, this);
    curl_easy_setopt(
        curl, CURLOPT_SEEKFUNCTION, +[](void* data, curl_off_t offset, int origin) {
          if (offset != 0 || origin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
          self(data)->body_.rewind();
          return CURL_SEEKFUNC_OK;
        });
  } else if (request.method == "HEAD") {
    curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
  }
  curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request.method.constData());

  curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(
      curl, CURLOPT_HEADERFUNCTION, +[](char* line, size_t size, size_t count, void* data) -> size_t {
        return self(data)->headLine(QByteArray(line, qsizetype(size * count))) ? size * count : 0;
      });
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(
      curl, CURLOPT_WRITEFUNCTION, +[](char* bytes, size_t size, size_t count, void* data) -> size_t {
        return self(data)->bodyBytes(bytes, size * count);
      });
  curl_easy_setopt(curl, CURLOPT_PREREQDATA, this);
  curl_easy_setopt(
      curl, CURLOPT_PREREQFUNCTION, +[](void* data, char*, char*, int, int) {
        self(data)->noteActivity();
        return CURL_PREREQFUNC_OK;
      });
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(
      curl, CURLOPT_XFERINFOFUNCTION, +[](void* data, curl_off_t, curl_off_t received, curl_off_t, curl_off_t sent) {
        if (std::exchange(self(data)->transferred_, received + sent) != received + sent) self(data)->noteActivity();
        return 0;
      });
}

bool CurlTransfer::headLine(const QByteArray& line) {
  if (isHeadTold_) return true;  // after the body; nobody asked for it
  noteActivity();
  headBytes_ += line.size();
  if (headBytes_ > limits_.headBytes) return fail(UrlError::answerTooLarge) != 0;
  if (line.startsWith("HTTP/")) {
    head_ = HttpResponseHead{0, url_, {}};
  } else if (const QByteArray text = line.trimmed(); text.isEmpty()) {
    long status = 0;
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
    head_.statusCode = int(status);
    if (status < 200) return true;  // an interim answer
    isHeadTold_ = true;
    events_.head(head_);
  } else if (const qsizetype colon = text.indexOf(':'); colon > 0 && !std::isspace(line[0])) {
    head_.headers.append(HttpHeader{text.left(colon).trimmed(), text.mid(colon + 1).trimmed()});
  } else if (!head_.headers.isEmpty()) {
    head_.headers.last().value += ' ' + text;
  }
  return true;
}

size_t CurlTransfer::bodyBytes(const char* data, size_t bytes) {
  noteActivity();
  if (unreadBytes_ >= bytesAhead) {
    isPaused_ = true;
    return CURL_WRITEFUNC_PAUSE;
  }
  bodyBytes_ += qint64(bytes);
  if (bodyBytes_ > limits_.bodyBytes) return fail(UrlError::answerTooLarge);
  unreadBytes_ += qint64(bytes);
  events_.piece(QByteArray(data, qsizetype(bytes)));
  return bytes;
}

// What the functions of libcurl return to stop it.
size_t CurlTransfer::fail(UrlError::Code code) {
  failure_ = urlError(code, code == UrlError::answerTooLarge ? url_.host() : QString());
  return 0;
}

void CurlTransfer::resume() {
  if (!std::exchange(isPaused_, false)) return;
  noteActivity();
  curl_easy_pause(handle(), CURLPAUSE_CONT);
}

std::optional<TimePoint> CurlTransfer::idleDeadline() const {
  if (!lastActivity_ || isPaused_ || limits_.idle.count() <= 0) return std::nullopt;
  return *lastActivity_ + limits_.idle;
}

void CurlTransfer::ended(CURLcode code) {
  std::optional<UrlError> error = failure_;
  if (!error && code != CURLE_OK) {
    long verifyResult = 0;
    curl_easy_getinfo(handle(), CURLINFO_SSL_VERIFYRESULT, &verifyResult);
    error = urlErrorOf(code, verifyResult, url_.host(), QString::fromUtf8(errorText_.data()));
  } else if (!error && !isHeadTold_) {
    error = urlError(UrlError::networkConnectionLost);
  }
  events_.ended(std::move(error));
}

}  // namespace quillmere
