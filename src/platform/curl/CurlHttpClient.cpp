#include "platform/curl/CurlHttpClient.h"

#include "base/async/Completion.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

constexpr int redirectsAllowed = 10;
constexpr std::chrono::seconds prepareLimit{10};

std::optional<UrlError> refusal(const HttpRequest& request) {
  const QString scheme = request.url.scheme();
  if (!request.url.isValid() || request.url.host().isEmpty() || (scheme != u"https" && scheme != u"http"))
    return urlError(UrlError::badUrl);
  QList<HttpHeader> headers = request.headers;
  headers.append({request.method, {}});
  if (const auto* form = std::get_if<HttpForm>(&request.body)) {
    headers.append({form->boundary, {}});
    for (const HttpFormPart& part : form->parts) headers.append({"Content-Type", part.contentType});
  }
  for (const HttpHeader& header : headers)
    if (!header.isValid())
      return UrlError{-1, {}, localizedText("error.url.badHeader", QString::fromUtf8(header.name))};
  return std::nullopt;
}

// The answer to one request on its way from libcurl's thread to the reader.
class CurlStream final : public HttpStream {
 public:
  CurlStream(const HttpRequest& request, CurlBody body, const CurlOptions& options, CurlThread& thread,
             Executor& executor)
      : thread_(thread) {
    Executor* const main = &executor;
    const auto told = [main, box = box_](auto apply) {
      main->post([box, apply = std::move(apply)] {
        apply(*box);
        box->change.resolve();
      });
    };
    CurlTransfer::Events events;
    events.head = [told](const HttpResponseHead& head) { told([head](Mailbox& box) { box.head = head; }); };
    events.piece = [told](const QByteArray& piece) { told([piece](Mailbox& box) { box.pieces += piece; }); };
    events.ended = [told](const std::optional<UrlError>& error) {
      told([error](Mailbox& box) {
        box.isOver = true;
        box.error = error;
      });
    };
    transfer_ = std::make_shared<CurlTransfer>(request, std::move(body), options, std::move(events));
    thread_.add(transfer_);
  }
  CurlStream(const CurlStream&) = delete;
  CurlStream& operator=(const CurlStream&) = delete;
  ~CurlStream() override { thread_.remove(std::move(transfer_)); }

  const HttpResponseHead& head() const override { return *box_->head; }

  Task<Result<void, UrlError>> waitForHead() {
    while (!box_->head && !box_->isOver) co_await nextChange();
    if (!box_->head) co_return Failed{*box_->error};
    co_return Result<void, UrlError>{};
  }

  Task<Result<QByteArray, UrlError>> read() override {
    while (box_->pieces.isEmpty() && !box_->isOver) co_await nextChange();
    if (box_->pieces.isEmpty() && box_->error) co_return Failed{*box_->error};
    QByteArray piece = std::exchange(box_->pieces, {});
    const qint64 unread = transfer_->unreadBytes().fetch_sub(piece.size());
    if (unread >= CurlTransfer::bytesAhead && unread - piece.size() < CurlTransfer::bytesAhead)
      thread_.run([transfer = transfer_] { transfer->resume(); });
    co_return piece;
  }

 private:
  // Main thread only.
  struct Mailbox {
    std::optional<HttpResponseHead> head;
    QByteArray pieces;
    bool isOver = false;
    std::optional<UrlError> error;
    Completion<> change;
  };

  Task<void> nextChange() {
    box_->change = Completion<>();
    return box_->change.wait([this] { thread_.remove(transfer_); });
  }

  CurlThread& thread_;
  std::shared_ptr<Mailbox> box_ = std::make_shared<Mailbox>();
  std::shared_ptr<CurlTransfer> transfer_;
};

bool isRedirect(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

int portOf(const QUrl& url) {
  return url.port(url.scheme() == u"https" ? 443 : 80);
}

bool isSameOrigin(const QUrl& one, const QUrl& other) {
  return one.scheme() == other.scheme() && one.host() == other.host() && portOf(one) == portOf(other);
}

// The request that a redirect within the server asks for.
void redirect(HttpRequest& request, int status, const QUrl& target) {
  request.url = target;
  const bool becomesGet = status == 303 ? request.method != "HEAD" : status < 303 && request.method == "POST";
  if (!becomesGet) return;
  request.method = "GET";
  request.body = std::monostate();
  request.headers.removeIf([](const HttpHeader& header) {
    return header.name.startsWith("Content-") || header.name.startsWith("content-");
  });
}

}  // namespace

CurlHttpClient::CurlHttpClient(Executor& executor, const QString& version, const QString& authoritiesFile)
    : executor_(executor), options_{"Quillmere/" + version.toUtf8(), authoritiesFile} {}

Task<Result<std::unique_ptr<HttpStream>, UrlError>> CurlHttpClient::open(HttpRequest request) {
  const TimePoint started = executor_.now();
  const std::chrono::milliseconds total = request.limits.total;
  for (int redirects = 0;; ++redirects) {
    if (const auto refused = refusal(request)) co_return Failed{*refused};
    CO_TRY(auto body, CurlBody::open(request.body));
    auto stream = std::make_unique<CurlStream>(request, std::move(body), options_, thread_, executor_);
    CO_TRY_OK(co_await stream->waitForHead());
    const auto location = stream->head().header("Location");
    if (!isRedirect(stream->head().statusCode) || !location) co_return std::unique_ptr<HttpStream>(std::move(stream));
    const QUrl target = request.url.resolved(QUrl::fromEncoded(*location));
    if (!isSameOrigin(request.url, target))
      co_return Failed{
          urlError(UrlError::redirectRefused, request.url.host(), target.scheme() + "://" + target.host())};
    if (redirects == redirectsAllowed) co_return Failed{urlError(UrlError::tooManyRedirects, request.url.host())};
    redirect(request, stream->head().statusCode, target);
    if (total.count() > 0) {
      const auto spent = std::chrono::duration_cast<std::chrono::milliseconds>(executor_.now() - started);
      if (spent >= total) co_return Failed{urlError(UrlError::timedOut)};
      request.limits.total = total - spent;
    }
  }
}

void CurlHttpClient::prepare(const QUrl& url) {
  // libcurl takes a connection up again only where a request went over it.
  HttpRequest request;
  request.method = "HEAD";
  request.url.setScheme(url.scheme());
  request.url.setHost(url.host());
  request.url.setPort(url.port());
  request.url.setPath(QStringLiteral("/"));
  request.limits.total = prepareLimit;
  if (refusal(request)) return;
  CurlTransfer::Events nobody{[](const HttpResponseHead&) {}, [](const QByteArray&) {},
                              [](const std::optional<UrlError>&) {}};
  auto body = CurlBody::open(request.body);
  thread_.add(std::make_shared<CurlTransfer>(request, std::move(*body), options_, std::move(nobody)));
}

}  // namespace quillmere
