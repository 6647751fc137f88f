#pragma once
#include <QByteArray>
#include <QList>
#include <QUrl>
#include <algorithm>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

struct HttpHeader {
  QByteArray name;
  QByteArray value;
  bool operator==(const HttpHeader&) const = default;
  // Whether it is one line with a name, so that nothing else can be slipped into a request with it.
  bool isValid() const {
    const auto isPrintable = [](char c) { return static_cast<unsigned char>(c) >= ' ' && c != '\x7f'; };
    const auto isOfName = [&](char c) {
      return isPrintable(c) && static_cast<unsigned char>(c) < 0x80 &&
             !QByteArrayView(" ()<>@,;:\\\"/[]?={}").contains(c);
    };
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), isOfName) &&
           std::all_of(value.begin(), value.end(), [&](char c) { return isPrintable(c) || c == '\t'; });
  }
};

// What the final response (after redirects) said before its body.
struct HttpResponseHead {
  int statusCode = 0;
  QUrl url;  // where the body really comes from
  QList<HttpHeader> headers;
  // The value of the first header of that name (any case), or nothing.
  std::optional<QByteArray> header(const QByteArray& name) const {
    for (const HttpHeader& entry : headers)
      if (entry.name.compare(name, Qt::CaseInsensitive) == 0) return entry.value;
    return std::nullopt;
  }
};

// The body of one response, read piece by piece as it arrives. Main thread. Owned by the reader; destroying it ends the
// transfer and closes the connection unless the body is over.
class HttpStream {
 public:
  virtual ~HttpStream() = default;
  virtual const HttpResponseHead& head() const = 0;
  // The next bytes (at most about 1 MiB), or an empty array at the end of the body. A body that breaks off is an error,
  // but one of which neither length nor end was announced looks complete. One read at a time. After a cancelled one the
  // stream is good for nothing but its destructor.
  virtual Task<Result<QByteArray, UrlError>> read() = 0;
};

}  // namespace quillmere
