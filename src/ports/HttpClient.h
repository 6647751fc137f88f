#pragma once
#include <QString>
#include <chrono>
#include <memory>
#include <utility>
#include <variant>
#include <vector>

#include "ports/HttpStream.h"

namespace quillmere {

// A file that is sent as it lies on the disk, never held in memory as a whole.
struct HttpFile {
  QString path;
  bool operator==(const HttpFile&) const = default;
};

// A part of a form: a header with the name, then the bytes.
struct HttpFormPart {
  QByteArray name;
  std::variant<QByteArray, HttpFile> content;
  QString fileName = {};        // empty: a field and no file
  QByteArray contentType = {};  // empty: none is said
  bool operator==(const HttpFormPart&) const = default;
};

// multipart/form-data in the order of the parts. The boundary is the sender's choice: nothing in the parts may hold it.
struct HttpForm {
  QByteArray boundary;
  std::vector<HttpFormPart> parts;
  bool operator==(const HttpForm&) const = default;
};

using HttpBody = std::variant<std::monostate, QByteArray, HttpFile, HttpForm>;

struct HttpLimits {
  // Until the connection stands, name and TLS included.
  std::chrono::milliseconds connect{30'000};
  // From then on without a byte in either direction. Time that the reader lets pass does not count.
  std::chrono::milliseconds idle{60'000};
  // From the call to the last byte of the answer; zero: as long as it takes.
  std::chrono::milliseconds total{0};
  qint64 headBytes = 64 * 1024;
  qint64 bodyBytes = 32 * 1024 * 1024;
};

struct HttpRequest {
  QByteArray method = "GET";
  QUrl url;
  QList<HttpHeader> headers;  // sent as they are; a form brings its own Content-Type
  HttpBody body;
  HttpLimits limits;
};

struct HttpResponse {
  HttpResponseHead head;
  QByteArray body;
};

// Requests of any kind over HTTP(S). Main thread. Sends what the request says, Host, Content-Length and a User-Agent,
// nothing else; bodies arrive undecoded. Certificates are always checked. Redirects are followed within the same
// scheme, host and port only, so that a key never reaches another server; anything else is `redirectRefused`. Proxies
// of the environment are used, but not for this computer itself. A request is not repeated once its answer may have
// begun. A status such as 404 is a response, not an error. Errors: the UrlError codes; -1 with a sentence where none
// fits, such as a header with a line break in it. Logs nothing.
class HttpClient {
 public:
  virtual ~HttpClient() = default;
  // Sends the request and waits for the head of the answer. A cancel closes the connection at once.
  virtual Task<Result<std::unique_ptr<HttpStream>, UrlError>> open(HttpRequest request) = 0;
  // The same, and the whole body. A cancel closes the connection at once.
  Task<Result<HttpResponse, UrlError>> send(HttpRequest request) {
    CO_TRY(const auto stream, co_await open(std::move(request)));
    HttpResponse response{stream->head(), {}};
    for (;;) {
      CO_TRY(const QByteArray piece, co_await stream->read());
      if (piece.isEmpty()) co_return response;
      response.body += piece;
    }
  }
  // Opens a connection to the server of the address in the background, so that the next request starts sooner. Sends
  // nothing of the address but the host. Cheap to repeat; says nothing of how it went.
  virtual void prepare(const QUrl& url) = 0;
};

}  // namespace quillmere
