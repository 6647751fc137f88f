#include "models/ModelTransfer.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <array>
#include <cerrno>

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "domain/WhisperModel.h"
#include "models/ContentRange.h"
#include "models/PartialDownload.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr Duration idleTimeout = 60s;  // without a byte: the connection is dead
constexpr Duration networkInterval = 1s;
constexpr Duration resourceTimeout = 43'200s;
constexpr std::array<Duration, 3> retryDelays{1s, 2s, 4s};
constexpr qint64 progressThatForgivesFailures = 1 << 20;
constexpr qint64 copyChunkBytes = 4'194'304;

PlatformError filesystemError(int number, QString text) {
  return {QStringLiteral("filesystem"), number, std::move(text)};
}

PlatformError damagedError() {
  return {QStringLiteral("models"), EBADMSG, localizedText("models.error.checksumFailed")};
}

UrlError statusError(int status, const QString& filename, const QString& host) {
  UrlError error = urlError(UrlError::badServerResponse);
  error.description = status == 404 || status == 410 ? localizedText("models.error.notOnHub", filename, host)
                                                     : localizedText("models.error.httpStatus", host, status);
  return error;
}

bool isTransientStatus(int status) {
  return status == 408 || status == 429 || status == 500 || (status >= 502 && status <= 504);
}

qint64 fileSystemAnswer(const QString& folder) {
  const QStorageInfo storage(folder);
  return storage.isValid() && storage.isReady() ? storage.bytesAvailable() : -1;
}

QByteArray trimmedHeader(const HttpResponseHead& head, const char* name) {
  return head.header(name).value_or(QByteArray()).trimmed();
}

PartialDownload::Source sourceOf(const HttpResponseHead& head, const QString& url) {
  PartialDownload::Source source{url, trimmedHeader(head, "ETag"), trimmedHeader(head, "Last-Modified")};
  bool isNumber = false;
  const qint64 bytes = trimmedHeader(head, "Content-Length").toLongLong(&isNumber);
  if (isNumber && bytes >= 0) source.totalBytes = bytes;
  return source;
}

bool isEncoded(const HttpResponseHead& head) {
  const QByteArray encoding = trimmedHeader(head, "Content-Encoding").toLower();
  return !encoding.isEmpty() && encoding != "identity";
}

}  // namespace

// One download under way.
struct ModelTransfer::Job {
  ModelTransferRequest request;
  std::vector<std::shared_ptr<PartialDownload>> partials{};
  size_t current = 0;      // the file that is being fetched
  qint64 bytesBefore = 0;  // of the files before it

  const ModelFile& file() const { return request.files[current]; }
  const std::shared_ptr<PartialDownload>& partial() const { return partials[current]; }
  QString filename() const { return QFileInfo(file().destination).fileName(); }
  // Of the current file.
  void report(qint64 bytes, qint64 total) const {
    if (total >= 0) total += bytesBefore;
    for (size_t i = current + 1; i < request.files.size(); ++i) {
      const qint64 size = request.files[i].sizeInBytes;
      total = total < 0 || size < 0 ? -1 : total + size;
    }
    if (request.progress) request.progress(bytesBefore + bytes, total);
  }
};

// Why an attempt failed, and whether another one can help.
struct ModelTransfer::Failure {
  explicit Failure(AnyError failure) : error(std::move(failure)), isWorthARetry(classify(error).isRetryable) {}
  Failure(AnyError failure, bool canHelp) : error(std::move(failure)), isWorthARetry(canHelp) {}
  AnyError error;
  bool isWorthARetry;
};

// A copy from a folder. A copy is never continued, so it leaves nothing unless it is complete. Shared with the worker:
// the last one of the two ends it.
struct ModelTransfer::FileCopy {
  FileCopy(const QString& path, std::shared_ptr<PartialDownload> target) : source(path), partial(std::move(target)) {}
  ~FileCopy() {
    if (!isComplete) partial->remove();
  }
  QFile source;
  std::shared_ptr<PartialDownload> partial;
  QByteArray chunk = QByteArray(copyChunkBytes, Qt::Uninitialized);
  qint64 chunkBytes = 0;  // read last; negative after a failure
  bool isComplete = false;

  Result<void, PlatformError> copyChunk() {
    chunkBytes = source.read(chunk.data(), chunk.size());
    return chunkBytes > 0 ? partial->append(chunk.constData(), chunkBytes) : Result<void, PlatformError>();
  }
};

ModelTransfer::ModelTransfer(HttpDownloader& downloader, Executor& executor, WorkerPool& pool, Logger logger,
                             SpaceCheck availableBytes, NetworkCheck isOnline)
    : downloader_(downloader),
      pool_(pool),
      logger_(std::move(logger)),
      availableBytes_(availableBytes ? std::move(availableBytes) : fileSystemAnswer),
      isOnline_(isOnline ? std::move(isOnline) : [] { return true; }),
      scope_(executor) {}

Task<ModelTransfer::Outcome> ModelTransfer::download(ModelTransferRequest request) {
  std::erase_if(running_, [](const Running& running) { return running.handle.isDone(); });
  const QString name = request.name;
  auto handle = scope_.spawn(run(std::move(request)));
  auto joined = handle.join();
  running_.push_back({name, std::move(handle)});
  logger_.info("📥 Started download task #%ld for %s", static_cast<long>(++lastNumber_), name);
  return joined;
}

void ModelTransfer::cancel(const QString& name) {
  for (Running& running : running_)
    if (running.name == name) running.handle.cancel();
  std::erase_if(running_, [&](const Running& running) { return running.name == name; });
}

bool ModelTransfer::isRunning(const QString& name) const {
  return std::ranges::any_of(running_,
                             [&](const Running& running) { return running.name == name && !running.handle.isDone(); });
}

qint64 ModelTransfer::partialBytes(const QString& destination) {
  const QFileInfo place(destination);
  const PartialDownload partial(place.path(), place.fileName());
  return partial.source() ? partial.bytes() : 0;
}

void ModelTransfer::discardPartial(const QString& destination) {
  const QFileInfo place(destination);
  PartialDownload partial(place.path(), place.fileName());
  if (partial.lock()) partial.remove();
}

Task<ModelTransfer::Outcome> ModelTransfer::run(ModelTransferRequest request) {
  // A cancelled download of the same model may still be closing its files.
  const auto pass = co_await gates_[request.name].enter();
  Job job{std::move(request)};
  for (const ModelFile& file : job.request.files) {
    const QFileInfo place(file.destination);
    QDir().mkpath(place.path());
    job.partials.push_back(std::make_shared<PartialDownload>(place.path(), place.fileName()));
    CO_TRY_OK(job.partials.back()->lock());
    if (job.request.fresh) job.partials.back()->remove();
  }
  for (; job.current < job.partials.size(); ++job.current) {
    CO_TRY_OK(co_await fetch(job));
    CO_TRY_OK(co_await verify(job));
    job.bytesBefore += job.partial()->bytes();
  }
  for (job.current = 0; job.current < job.partials.size(); ++job.current) CO_TRY_OK(co_await install(job));
  co_return Outcome();
}

Task<ModelTransfer::Outcome> ModelTransfer::fetch(Job& job) {
  std::optional<Outcome> fetched;
  if (std::holds_alternative<QUrl>(job.file().source))
    fetched = co_await withTimeout(resourceTimeout, fetchFromServer(job));
  else
    fetched = co_await copyFromFolder(job);
  if (!fetched) fetched = Failed{AnyError(urlError(UrlError::timedOut))};
  if (!*fetched) {
    const auto* web = std::get_if<UrlError>(&fetched->error());
    if (web && web->code == UrlError::cancelled) throw Cancelled{};
    logger_.error("❌ Download failed for %s: %@", job.request.name, localizedDescription(fetched->error()));
  }
  co_return *std::move(fetched);
}

Task<ModelTransfer::Outcome> ModelTransfer::fetchFromServer(Job& job) {
  PartialDownload& partial = *job.partial();
  size_t failures = 0;
  bool hasStartedOver = false;
  for (;;) {
    const qint64 bytesBefore = partial.bytes();
    const auto end = co_await attempt(job);
    if (end && *end == AttemptEnd::complete) co_return Outcome();
    if (end) {
      if (hasStartedOver) co_return Failed{AnyError(urlError(UrlError::badServerResponse))};
      hasStartedOver = true;
      partial.remove();
      logger_.warning("The server does not continue %s, starting over", job.request.name);
      continue;
    }
    const Failure& failure = end.error();
    if (partial.bytes() - bytesBefore >= progressThatForgivesFailures) failures = 0;
    if (failure.isWorthARetry && !isOnline_()) {
      co_await waitForNetwork(job);
      failures = 0;
      continue;
    }
    if (!failure.isWorthARetry || failures == retryDelays.size()) co_return Failed{failure.error};
    const Duration delay = retryDelays[failures++];
    logger_.warning("Download of %s broke off (%@), trying again in %ld s", job.request.name,
                    localizedDescription(failure.error),
                    static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(delay).count()));
    co_await sleepFor(delay);
  }
}

Task<void> ModelTransfer::waitForNetwork(Job& job) {
  logger_.warning("Download of %s waits for the network", job.request.name);
  if (job.request.waiting) job.request.waiting(true);
  while (!isOnline_()) co_await sleepFor(networkInterval);
  if (job.request.waiting) job.request.waiting(false);
}

Task<Result<ModelTransfer::AttemptEnd, ModelTransfer::Failure>> ModelTransfer::attempt(Job& job) {
  PartialDownload& partial = *job.partial();
  const qint64 knownBytes = job.file().sizeInBytes;
  HttpDownloadRequest request;
  request.url = std::get<QUrl>(job.file().source);
  request.idleTimeout = std::chrono::duration_cast<std::chrono::milliseconds>(idleTimeout);
  const QString shownUrl = request.url.toString(QUrl::RemoveUserInfo);
  std::optional<PartialDownload::Source> earlier = partial.source();
  if (earlier && (earlier->url != shownUrl || earlier->validator().isEmpty())) earlier.reset();
  const qint64 offset = earlier ? partial.bytes() : 0;
  if (earlier && earlier->totalBytes >= 0) {
    if (offset == earlier->totalBytes) co_return AttemptEnd::complete;
    if (offset > earlier->totalBytes) co_return AttemptEnd::startOver;
  }
  if (earlier) {
    request.headers.append(HttpHeader{"Range", "bytes=" + QByteArray::number(offset) + "-"});
    request.headers.append(HttpHeader{"If-Range", earlier->validator()});
  }

  CO_TRY(const std::unique_ptr<HttpDownload> body, co_await downloader_.open(std::move(request)));
  const HttpResponseHead& head = body->head();
  PartialDownload::Source source = sourceOf(head, shownUrl);
  if (source.totalBytes < 0) source.totalBytes = knownBytes;
  if (head.statusCode == 206 && earlier) {
    const auto range = ContentRange::parse(head.header("Content-Range").value_or(QByteArray()));
    const bool isOurs = range && range->first == offset && !isEncoded(head) &&
                        (source.etag.isEmpty() || earlier->etag.isEmpty() || source.etag == earlier->etag) &&
                        (!range->total || earlier->totalBytes < 0 || *range->total == earlier->totalBytes);
    if (!isOurs) co_return AttemptEnd::startOver;
    source = *earlier;
    if (range->total) source.totalBytes = *range->total;
    logger_.info("Continuing download of %s at %lld bytes", job.request.name, offset);
  } else if (head.statusCode == 416 && earlier) {
    co_return AttemptEnd::startOver;
  } else if (head.statusCode == 200 && !isEncoded(head)) {
    CO_TRY_OK(partial.restart(source));
  } else {
    const AnyError error = statusError(head.statusCode, job.filename(), head.url.host());
    co_return Failed{Failure(error, isTransientStatus(head.statusCode))};
  }

  qint64 bytes = partial.bytes();
  const qint64 total = source.totalBytes;
  if (knownBytes >= 0 && total != knownBytes) {
    partial.remove();
    co_return Failed{urlError(UrlError::badServerResponse)};
  }
  if (total >= 0) CO_TRY_OK(checkSpace(job, total - bytes));
  for (;;) {
    CO_TRY(const QByteArray data, co_await body->read());
    if (data.isEmpty()) break;
    bytes += data.size();
    if (total >= 0 && bytes > total) {
      partial.remove();
      co_return Failed{urlError(UrlError::badServerResponse)};
    }
    auto writing = offload(
        pool_, [file = job.partial(), data](const StopFlag&) { return file->append(data.constData(), data.size()); });
    CO_TRY_OK(co_await std::move(writing));
    job.report(bytes, total);
  }
  if (total >= 0 && bytes < total) co_return Failed{urlError(UrlError::networkConnectionLost)};
  co_return AttemptEnd::complete;
}

Task<ModelTransfer::Outcome> ModelTransfer::copyFromFolder(Job& job) {
  const QStringList& candidates = std::get<QStringList>(job.file().source);
  const auto found = std::ranges::find_if(candidates, [](const QString& path) { return QFileInfo(path).isFile(); });
  if (found == candidates.end()) {
    const QString folder = QFileInfo(candidates.first()).path();
    co_return Failed{filesystemError(ENOENT, localizedText("models.error.hubFileMissing", job.filename(), folder))};
  }
  const auto copy = std::make_shared<FileCopy>(*found, job.partial());
  const auto readError = [&copy] {
    return filesystemError(
        EIO, localizedText("models.error.readFailed", copy->source.fileName(), copy->source.errorString()));
  };
  if (!copy->source.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) co_return Failed{readError()};
  const qint64 total = copy->source.size();
  CO_TRY_OK(checkSpace(job, total));
  PartialDownload::Source origin;
  origin.url = QUrl::fromLocalFile(*found).toString();
  CO_TRY_OK(job.partial()->restart(origin));

  for (qint64 bytes = 0;;) {
    auto copying = offload(pool_, [copy](const StopFlag&) { return copy->copyChunk(); });
    auto copied = co_await std::move(copying);
    if (copy->chunkBytes < 0) co_return Failed{readError()};
    CO_TRY_OK(std::move(copied));
    if (copy->chunkBytes == 0) break;
    bytes += copy->chunkBytes;
    job.report(bytes, total);
  }
  copy->isComplete = true;
  co_return Outcome();
}

Task<ModelTransfer::Outcome> ModelTransfer::verify(Job& job) {
  const std::shared_ptr<PartialDownload>& partial = job.partial();
  const QString filename = job.filename();
  const QString expected = job.file().sha256.toLower();
  if (job.file().sizeInBytes >= 0 && partial->bytes() != job.file().sizeInBytes) {
    logger_.error("❌ Size mismatch for %s: %lld bytes", filename, partial->bytes());
    partial->remove();
    co_return Failed{damagedError()};
  }
  if (expected.isEmpty()) {
    logger_.warning("⚠️ No checksum available for %s, skipping verification", filename);
    co_return Outcome();
  }
  logger_.info("🔐 Verifying checksum for %s...", filename);
  auto hashing = offload(pool_, [partial](const StopFlag& stop) { return partial->sha256(stop.atomic()); });
  const auto actual = co_await std::move(hashing);
  if (!actual) {
    logger_.error("Failed to calculate checksum for %s: %s", filename, actual.error().description);
    logger_.warning("⚠️ Could not calculate checksum for %s, proceeding anyway", filename);
  } else if (*actual != expected) {
    logger_.error("❌ Checksum mismatch for %s", filename);
    logger_.error("   Expected: %s", expected);
    logger_.error("   Actual:   %s", *actual);
    partial->remove();
    co_return Failed{damagedError()};
  } else {
    logger_.info("✅ Checksum verified for %s", filename);
  }
  co_return Outcome();
}

Task<ModelTransfer::Outcome> ModelTransfer::install(Job& job) {
  const QString destination = job.file().destination;
  auto moving = offload(pool_, [partial = job.partial(), destination](const StopFlag&) {
    auto synced = partial->sync();
    return synced ? partial->moveTo(destination) : synced;
  });
  auto moved = co_await std::move(moving);
  if (!moved) {
    logger_.error("❌ Failed to move downloaded file: %@", moved.error().description);
    co_return Failed{moved.error()};
  }
  logger_.info("✅ Downloaded %s to %s", job.request.name, destination);
  co_return Outcome();
}

// `neededBytes` is what the current file still needs; the later ones add theirs.
Result<void, PlatformError> ModelTransfer::checkSpace(const Job& job, qint64 neededBytes) const {
  for (size_t i = job.current + 1; i < job.partials.size(); ++i)
    neededBytes += std::max<qint64>(0, job.request.files[i].sizeInBytes - job.partials[i]->bytes());
  const QString folder = QFileInfo(job.file().destination).path();
  const qint64 available = availableBytes_(folder);
  if (available < 0 || available >= neededBytes) return {};
  return Failed{filesystemError(
      ENOSPC, localizedText("models.error.noSpace", modelSizeText(neededBytes), modelSizeText(available), folder))};
}

}  // namespace quillmere
