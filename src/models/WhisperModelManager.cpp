#include "models/WhisperModelManager.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <array>
#include <cerrno>

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "models/ContentRange.h"
#include "models/CustomModelHeader.h"
#include "models/ModelHub.h"
#include "models/PartialDownload.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr Duration activationInterval = 2s;
constexpr Duration idleTimeout = 3600s;
constexpr Duration resourceTimeout = 43'200s;
constexpr Duration busyPollInterval = 10ms;
constexpr std::array<Duration, 3> retryDelays{1s, 2s, 4s};
constexpr qint64 progressThatForgivesFailures = 1 << 20;
constexpr qint64 copyChunkBytes = 4'194'304;
constexpr int checksumFailedCode = 1001;

const QString managerDomain = QStringLiteral("WhisperModelManager");
const QString filesystemDomain = QStringLiteral("filesystem");

QString hiddenUserInfo(const QUrl& url) {
  return url.toString(QUrl::RemoveUserInfo);
}

qint64 fileSystemAnswer(const QString& folder) {
  const QStorageInfo storage(folder);
  return storage.isValid() && storage.isReady() ? storage.bytesAvailable() : -1;
}

QStringList namesOf(const std::vector<WhisperCppModel>& models) {
  QStringList names;
  for (const auto& model : models) names << model.name;
  return names;
}

QSet<QString> nameSetOf(const std::vector<WhisperCppModel>& models) {
  const QStringList names = namesOf(models);
  return {names.begin(), names.end()};
}

const WhisperCppModel* named(const std::vector<WhisperCppModel>& models, const QString& name) {
  for (const auto& model : models)
    if (model.name == name) return &model;
  return nullptr;
}

// An imported file or one named by its path.
WhisperCppModel modelOfFile(const QFileInfo& file, const QString& name, const QMap<QString, QString>& displayNames) {
  WhisperCppModel model;
  model.id = QUuid::createUuid();
  model.name = name;
  model.displayName = displayNames.value(name, name);
  model.filename = file.fileName();
  model.sizeInBytes = file.size();
  model.size = sizeText(file.size());
  model.isEnglishOnly = isEnglishOnlyModelFile(file.absoluteFilePath());
  model.url = QUrl::fromLocalFile(file.absoluteFilePath());
  return model;
}

bool isSameFile(const WhisperCppModel& a, const WhisperCppModel& b) {
  return a.name == b.name && a.url == b.url && a.sizeInBytes == b.sizeInBytes && a.displayName == b.displayName &&
         a.isEnglishOnly == b.isEnglishOnly;
}

bool isTransientStatus(int status) {
  return status == 408 || status == 429 || status == 500 || (status >= 502 && status <= 504);
}

UrlError badResponse(const QString& description) {
  return {UrlError::badServerResponse, QStringLiteral("badServerResponse"), description};
}

UrlError connectionLost() {
  return {UrlError::networkConnectionLost, QStringLiteral("networkConnectionLost"), {}};
}

UrlError statusError(int status, const QString& filename, const QString& host) {
  const QString text = status == 404 || status == 410 ? localizedText("models.error.notOnHub", filename, host)
                                                      : localizedText("models.error.httpStatus", host, status);
  return badResponse(text);
}

bool isCancellation(const AnyError& error) {
  const auto* url = std::get_if<UrlError>(&error);
  return url && url->code == UrlError::cancelled;
}

PartialDownload::Source sourceOf(const HttpResponseHead& head, const QUrl& requested) {
  PartialDownload::Source source;
  source.url = hiddenUserInfo(requested);
  source.etag = head.header("ETag").value_or(QByteArray()).trimmed();
  source.lastModified = head.header("Last-Modified").value_or(QByteArray()).trimmed();
  if (const auto length = head.header("Content-Length")) {
    bool isNumber = false;
    const qint64 bytes = length->trimmed().toLongLong(&isNumber);
    if (isNumber && bytes >= 0) source.totalBytes = bytes;
  }
  return source;
}

bool isEncoded(const HttpResponseHead& head) {
  const QByteArray encoding = head.header("Content-Encoding").value_or(QByteArray()).trimmed().toLower();
  return !encoding.isEmpty() && encoding != "identity";
}

}  // namespace

// One download over the network: what its attempts share.
struct WhisperModelManager::Attempt {
  WhisperCppModel model;
  QUrl url;
  std::shared_ptr<PartialDownload> partial;
  AnyError error = UrlError{};
};

// A copy from a folder. A copy is never continued, so it leaves nothing behind unless it is complete. Shared with the
// worker: the last one of the two ends it.
struct WhisperModelManager::FileCopy {
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

QMap<QString, QString> WhisperModelManagerConfiguration::catalogChecksums() {
  QMap<QString, QString> sums;
  for (const auto& [model, raw] : RawValues<WhisperModel>::values) sums.insert(fileName(model), expectedSha256(model));
  return sums;
}

WhisperModelManager::WhisperModelManager(WhisperModelManagerConfiguration configuration, HttpDownloader& downloader,
                                         Executor& executor, WorkerPool& pool, Logging logging)
    : configuration_(std::move(configuration)),
      downloader_(downloader),
      executor_(executor),
      pool_(pool),
      logger_(logging.logger(QStringLiteral("WhisperModelManager"))),
      scope_(executor) {
  if (!configuration_.hubBaseUrl) configuration_.hubBaseUrl = [] { return QString::fromLatin1(defaultModelHub); };
  if (!configuration_.modelDisplayNames) configuration_.modelDisplayNames = [] { return QMap<QString, QString>(); };
  if (!configuration_.availableBytes) configuration_.availableBytes = fileSystemAnswer;
  configuration_.modelsDirectory = QDir::cleanPath(QDir(configuration_.modelsDirectory).absolutePath());

  errno = 0;
  if (QDir().mkpath(configuration_.modelsDirectory))
    logger_.info("📁 Models directory ready: %s", configuration_.modelsDirectory);
  else
    logger_.error("Failed to create models directory: %@", qt_error_string(errno));

  const QMap<QString, QString> displayNames = configuration_.modelDisplayNames();
  std::vector<WhisperCppModel> models;
  for (const auto& [model, raw] : RawValues<WhisperModel>::values) {
    models.push_back({QUuid::createUuid(), rawValue(model), quillmere::displayName(model, displayNames),
                      fileName(model), sizeLabel(model), nominalSizeInBytes(model), quillmere::isEnglishOnly(model),
                      std::nullopt});
  }
  availableModels_.set(std::move(models));
  scanForModels();
  logger_.info("🚀 WhisperModelManager initialized");
}

WhisperModelManager::~WhisperModelManager() = default;

std::optional<WhisperCppModel> WhisperModelManager::findDownloaded(const QString& name) const {
  for (const auto* models : {&downloadedModels_.get(), &customModels_.get(), &std::as_const(transientModels_)})
    if (const WhisperCppModel* model = named(*models, name)) return *model;
  return std::nullopt;
}

QString WhisperModelManager::addTransientModel(const QString& path) {
  const QFileInfo file(path);
  const QString canonical = file.canonicalFilePath().isEmpty() ? file.absoluteFilePath() : file.canonicalFilePath();
  for (const auto* models : {&downloadedModels_.get(), &customModels_.get(), &std::as_const(transientModels_)})
    for (const auto& model : *models)
      if (QFileInfo(model.url->toLocalFile()).canonicalFilePath() == canonical) return model.name;

  QString name = file.fileName();
  if (name.endsWith(QLatin1String(".bin"))) name.chop(4);
  if (name.isEmpty() || named(availableModels_.get(), name) || findDownloaded(name)) name = canonical;
  WhisperCppModel model = modelOfFile(QFileInfo(canonical), name, configuration_.modelDisplayNames());
  model.displayName = configuration_.modelDisplayNames().value(name, file.fileName());
  transientModels_.push_back(std::move(model));
  return name;
}

void WhisperModelManager::scanForModels() {
  const QString& directory = configuration_.modelsDirectory;
  logger_.info("🔍 Scanning for models in: %s", directory);
  const QFileInfo info(directory);
  if (!info.isDir() || !info.isReadable() || !info.isExecutable()) {
    const int number = !info.exists() ? ENOENT : !info.isDir() ? ENOTDIR : EACCES;
    logger_.error("Failed to scan downloaded models: %@", qt_error_string(number));
    return;
  }
  const QFileInfoList files = QDir(directory).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
  logger_.info("📁 Found %ld total files in models directory", static_cast<long>(files.size()));

  std::vector<WhisperCppModel> found;
  for (const QFileInfo& file : files) {
    if (file.suffix() != u"bin" || !file.isFile()) continue;
    const QString name = file.fileName();
    logger_.info("🔍 Checking file: %s", name);
    const auto& known = availableModels_.get();
    const auto match = std::ranges::find(known, name, &WhisperCppModel::filename);
    if (match == known.end()) {
      QStringList filenames;
      for (const auto& model : known) filenames << model.filename;
      logger_.warning("⚠️ No model definition found for file: %s", name);
      logger_.warning("   Available model filenames: %s", filenames.join(QStringLiteral(", ")));
      continue;
    }
    logger_.info("✅ Matched %s to model: %s", name, match->name);
    WhisperCppModel model = *match;
    model.id = QUuid::createUuid();
    model.url = QUrl::fromLocalFile(file.absoluteFilePath());
    found.push_back(std::move(model));
  }
  if (nameSetOf(found) == nameSetOf(downloadedModels_.get())) {
    logger_.info("📦 Model list unchanged (%ld models)", static_cast<long>(found.size()));
  } else {
    downloadedModels_.set(found);
    logger_.info("📦 Model list changed! Found %ld downloaded models: %s", static_cast<long>(found.size()),
                 namesOf(found).join(QStringLiteral(", ")));
    for (const auto& model : found) logger_.info("  - %s: %s", model.name, model.url->toLocalFile());
  }
  scanCustomModels();
}

void WhisperModelManager::scanCustomModels() {
  const QDir directory(configuration_.modelsDirectory + QStringLiteral("/custom"));
  const QMap<QString, QString> displayNames = configuration_.modelDisplayNames();
  std::vector<WhisperCppModel> found;
  for (const QFileInfo& file : directory.entryInfoList(QDir::Files, QDir::Name)) {
    if (file.suffix() != u"bin") continue;
    WhisperCppModel model = modelOfFile(file, file.completeBaseName(), displayNames);
    for (const auto& old : customModels_.get())
      if (isSameFile(old, model)) model.id = old.id;
    found.push_back(std::move(model));
  }
  customModels_.set(std::move(found));
}

void WhisperModelManager::applicationDidBecomeActive() {
  const TimePoint now = executor_.now();
  if (lastScanTime_ && now - *lastScanTime_ < activationInterval) {
    const double seconds = std::chrono::duration<double>(now - *lastScanTime_).count();
    logger_.debug("📱 Skipping model scan - last scan was %fs ago", seconds);
    return;
  }
  lastScanTime_ = now;
  logger_.info("📱 App became active, scanning for models");
  scanForModels();
}

QString WhisperModelManager::destinationFor(const QString& filename) const {
  return configuration_.modelsDirectory + u'/' + filename;
}

void WhisperModelManager::setDownloading(const QString& name, bool isDownloading) {
  auto names = downloadingModels_.get();
  auto progress = downloadProgress_.get();
  if (isDownloading) {
    names.insert(name);
    progress.insert(name, 0.0);
  } else {
    names.remove(name);
    progress.remove(name);
  }
  downloadingModels_.set(std::move(names));
  downloadProgress_.set(std::move(progress));
}

void WhisperModelManager::reportProgress(const QString& name, qint64 bytes, qint64 total) {
  auto progress = downloadProgress_.get();
  if (!progress.contains(name)) return;  // cancelled meanwhile
  if (total > 0) {
    progress[name] = static_cast<double>(bytes) / static_cast<double>(total);
  } else {
    logger_.debug("📥 Download progress for %s: %lld bytes (size unknown)", name, bytes);
    progress[name] = -static_cast<double>(bytes);
  }
  downloadProgress_.set(std::move(progress));
}

Task<void> WhisperModelManager::download(WhisperCppModel model, bool fresh) {
  if (downloadingModels_.get().contains(model.name)) {
    logger_.warning("⚠️ Already downloading %s", model.name);
    co_return;
  }
  errorMessage_.set(std::nullopt);
  const auto location = locateOnHub(configuration_.hubBaseUrl(), model.filename);
  const QString from = !location ? configuration_.hubBaseUrl()
                       : std::holds_alternative<QUrl>(location.value())
                           ? hiddenUserInfo(std::get<QUrl>(location.value()))
                           : std::get<QStringList>(location.value()).first();
  logger_.info("🔽 Starting download for %s from %s", model.name, from);
  setDownloading(model.name, true);

  const int identifier = ++lastTaskIdentifier_;
  auto handle = scope_.spawn(transfer(model, fresh));
  auto joined = handle.join();
  downloadTasks_.insert_or_assign(model.name, ActiveDownload{identifier, std::move(handle)});
  logger_.info("📥 Started download task #%ld for %s", static_cast<long>(identifier), model.name);

  std::optional<Outcome> outcome;
  try {
    outcome = co_await std::move(joined);
  } catch (const Cancelled&) {
    // told below
  }

  if (outcome && outcome->hasValue()) {
    if (QFileInfo::exists(outcome->value())) {
      logger_.info("✅ Successfully downloaded %s to %s", model.name, outcome->value());
      scanForModels();
    } else {
      logger_.error("❌ File not found after download: %s", outcome->value());
    }
  } else if (!outcome || isCancellation(outcome->error())) {
    logger_.info("🛑 Cancelled download for %s", model.name);
  } else {
    const QString description = localizedDescription(outcome->error());
    logger_.error("❌ Failed to download %s: %@", model.name, description);
    errorMessage_.set(QStringLiteral("Failed to download ") + model.displayName + QStringLiteral(": ") + description);
  }
  const auto active = downloadTasks_.find(model.name);
  const bool isSuperseded = active != downloadTasks_.end() && active->second.identifier != identifier;
  if (!isSuperseded) {
    if (active != downloadTasks_.end()) downloadTasks_.erase(active);
    setDownloading(model.name, false);
  }
  logger_.info("🏁 Download task completed for %s", model.name);
  if (!outcome) co_await throwIfCancelled();  // the caller itself was cancelled, not just the download
}

void WhisperModelManager::cancelDownload(QString modelName) {
  const auto active = downloadTasks_.find(modelName);
  if (active != downloadTasks_.end()) {
    active->second.handle.cancel();
    downloadTasks_.erase(active);
  }
  setDownloading(modelName, false);
}

Task<WhisperModelManager::Outcome> WhisperModelManager::transfer(WhisperCppModel model, bool fresh) {
  // A cancelled download of the same model may still be closing its files.
  while (transferringFiles_.contains(model.filename)) co_await sleepFor(busyPollInterval);
  const TransferMark mark(transferringFiles_, model.filename);

  auto location = locateOnHub(configuration_.hubBaseUrl(), model.filename);
  if (!location) co_return Failed{AnyError(location.error())};
  QDir().mkpath(configuration_.modelsDirectory);
  const auto partial = std::make_shared<PartialDownload>(configuration_.modelsDirectory, model.filename);
  auto locked = partial->lock();
  if (!locked) co_return Failed{AnyError(locked.error())};
  if (fresh) partial->remove();

  std::optional<Result<void, AnyError>> fetched;
  if (const auto* url = std::get_if<QUrl>(&location.value())) {
    auto fetch = fetchFromServer(model, *url, partial);
    auto limited = withTimeout(resourceTimeout, std::move(fetch));
    fetched = co_await std::move(limited);
  } else {
    auto copy = copyFromFolder(model, std::get<QStringList>(location.value()), partial);
    fetched = co_await std::move(copy);
  }
  if (!fetched) fetched = Failed{AnyError(UrlError{UrlError::timedOut, QStringLiteral("timedOut"), {}})};
  if (!fetched->hasValue()) {
    if (!isCancellation(fetched->error()))
      logger_.error("❌ Download failed for %s: %@", model.name, localizedDescription(fetched->error()));
    co_return Failed{fetched->error()};
  }
  auto end = finish(model, partial);
  co_return co_await std::move(end);
}

Task<Result<void, AnyError>> WhisperModelManager::fetchFromServer(WhisperCppModel model, QUrl url,
                                                                  std::shared_ptr<PartialDownload> partial) {
  Attempt state{model, url, partial};
  size_t failures = 0;
  bool hasStartedOver = false;
  for (;;) {
    const qint64 bytesBefore = partial->bytes();
    auto next = attempt(state);
    const AttemptEnd end = co_await std::move(next);
    switch (end) {
      case AttemptEnd::complete:
        co_return Result<void, AnyError>();
      case AttemptEnd::failed:
        co_return Failed{state.error};
      case AttemptEnd::startOver:
        if (hasStartedOver) co_return Failed{AnyError(badResponse({}))};
        hasStartedOver = true;
        partial->remove();
        logger_.warning("The server does not continue %s, starting over", model.name);
        break;
      case AttemptEnd::retryLater:
        if (partial->bytes() - bytesBefore >= progressThatForgivesFailures) failures = 0;
        if (failures == retryDelays.size()) co_return Failed{state.error};
        logger_.warning(
            "Download of %s broke off (%@), trying again in %ld s", model.name, localizedDescription(state.error),
            static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(retryDelays[failures]).count()));
        co_await sleepFor(retryDelays[failures]);
        ++failures;
        break;
    }
  }
}

Task<WhisperModelManager::AttemptEnd> WhisperModelManager::attempt(Attempt& state) {
  PartialDownload& partial = *state.partial;
  const auto fail = [&state](AnyError error) {
    state.error = std::move(error);
    return AttemptEnd::failed;
  };
  const auto failOrRetry = [&state](AnyError error) {
    const bool isWorthARetry = classify(error).isRetryable;
    state.error = std::move(error);
    return isWorthARetry ? AttemptEnd::retryLater : AttemptEnd::failed;
  };

  HttpDownloadRequest request;
  request.url = state.url;
  request.idleTimeout = std::chrono::duration_cast<std::chrono::milliseconds>(idleTimeout);
  std::optional<PartialDownload::Source> earlier = partial.source();
  if (earlier && (earlier->url != hiddenUserInfo(state.url) || earlier->validator().isEmpty())) earlier.reset();
  const qint64 offset = earlier ? partial.bytes() : 0;
  if (earlier && earlier->totalBytes >= 0) {
    if (offset == earlier->totalBytes) co_return AttemptEnd::complete;
    if (offset > earlier->totalBytes) co_return AttemptEnd::startOver;
  }
  if (earlier) {
    request.headers.append(HttpHeader{"Range", "bytes=" + QByteArray::number(offset) + "-"});
    request.headers.append(HttpHeader{"If-Range", earlier->validator()});
  }

  auto opening = downloader_.open(std::move(request));
  auto opened = co_await std::move(opening);
  if (!opened) co_return failOrRetry(opened.error());
  const std::unique_ptr<HttpDownload> body = std::move(opened).value();
  const HttpResponseHead& head = body->head();

  PartialDownload::Source source = sourceOf(head, state.url);
  if (head.statusCode == 206 && earlier) {
    const auto range = ContentRange::parse(head.header("Content-Range").value_or(QByteArray()));
    const bool isOurs = range && range->first == offset && !isEncoded(head) &&
                        (source.etag.isEmpty() || earlier->etag.isEmpty() || source.etag == earlier->etag) &&
                        (!range->total || earlier->totalBytes < 0 || *range->total == earlier->totalBytes);
    if (!isOurs) co_return AttemptEnd::startOver;
    source = *earlier;
    if (range->total) source.totalBytes = *range->total;
    logger_.info("Continuing download of %s at %lld bytes", state.model.name, offset);
  } else if (head.statusCode == 416 && earlier) {
    co_return AttemptEnd::startOver;
  } else if (head.statusCode == 200 && !isEncoded(head)) {
    if (auto restarted = partial.restart(source); !restarted) co_return fail(restarted.error());
  } else {
    const AnyError error = statusError(head.statusCode, state.model.filename, head.url.host());
    if (!isTransientStatus(head.statusCode)) co_return fail(error);
    state.error = error;
    co_return AttemptEnd::retryLater;
  }

  qint64 bytes = partial.bytes();
  if (source.totalBytes >= 0) {
    if (const auto noRoom = spaceError(source.totalBytes - bytes)) co_return fail(*noRoom);
  }
  for (;;) {
    auto reading = body->read();
    auto piece = co_await std::move(reading);
    if (!piece) co_return failOrRetry(piece.error());
    if (piece->isEmpty()) break;
    const QByteArray data = std::move(piece).value();
    if (source.totalBytes >= 0 && bytes + data.size() > source.totalBytes) {
      partial.remove();
      co_return fail(badResponse({}));
    }
    auto writing = offload(
        pool_, [file = state.partial, data](const StopFlag&) { return file->append(data.constData(), data.size()); });
    auto written = co_await std::move(writing);
    if (!written) co_return fail(written.error());
    bytes += data.size();
    reportProgress(state.model.name, bytes, source.totalBytes);
  }
  if (source.totalBytes >= 0 && bytes < source.totalBytes) co_return failOrRetry(connectionLost());
  co_return AttemptEnd::complete;
}

Task<Result<void, AnyError>> WhisperModelManager::copyFromFolder(WhisperCppModel model, QStringList candidates,
                                                                 std::shared_ptr<PartialDownload> partial) {
  const auto found = std::ranges::find_if(candidates, [](const QString& path) { return QFileInfo(path).isFile(); });
  if (found == candidates.end()) {
    const QString folder = QFileInfo(candidates.first()).path();
    const PlatformError missing{filesystemDomain, ENOENT,
                                localizedText("models.error.hubFileMissing", model.filename, folder)};
    co_return Failed{AnyError(missing)};
  }
  const auto copy = std::make_shared<FileCopy>(*found, partial);
  const auto readError = [&copy] {
    const QString text = localizedText("models.error.readFailed", copy->source.fileName(), copy->source.errorString());
    return AnyError(PlatformError{filesystemDomain, EIO, text});
  };
  if (!copy->source.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) co_return Failed{readError()};
  const qint64 total = copy->source.size();
  if (const auto noRoom = spaceError(total)) co_return Failed{AnyError(*noRoom)};
  PartialDownload::Source origin;
  origin.url = QUrl::fromLocalFile(*found).toString();
  if (auto restarted = partial->restart(origin); !restarted) co_return Failed{AnyError(restarted.error())};

  qint64 bytes = 0;
  for (;;) {
    auto copying = offload(pool_, [copy](const StopFlag&) { return copy->copyChunk(); });
    auto copied = co_await std::move(copying);
    if (copy->chunkBytes < 0) co_return Failed{readError()};
    if (!copied) co_return Failed{AnyError(copied.error())};
    if (copy->chunkBytes == 0) break;
    bytes += copy->chunkBytes;
    reportProgress(model.name, bytes, total);
  }
  copy->isComplete = true;
  co_return Result<void, AnyError>();
}

Task<WhisperModelManager::Outcome> WhisperModelManager::finish(WhisperCppModel model,
                                                               std::shared_ptr<PartialDownload> partial) {
  const QString expected = configuration_.checksums.value(model.filename).toLower();
  if (expected.isEmpty()) {
    logger_.warning("⚠️ No checksum available for %s, skipping verification", model.filename);
  } else {
    logger_.info("🔐 Verifying checksum for %s...", model.filename);
    auto hashing = offload(pool_, [partial](const StopFlag& stop) { return partial->sha256(stop.atomic()); });
    const auto actual = co_await std::move(hashing);
    if (!actual) {
      logger_.error("Failed to calculate checksum for %s: %s", model.filename, actual.error().description);
      logger_.warning("⚠️ Could not calculate checksum for %s, proceeding anyway", model.filename);
    } else if (actual.value().toLower() != expected) {
      logger_.error("❌ Checksum mismatch for %s", model.filename);
      logger_.error("   Expected: %s", expected);
      logger_.error("   Actual:   %s", actual.value());
      partial->remove();
      const PlatformError mismatch{managerDomain, checksumFailedCode, localizedText("models.error.checksumFailed")};
      co_return Failed{AnyError(mismatch)};
    } else {
      logger_.info("✅ Checksum verified for %s", model.filename);
    }
  }
  const QString destination = destinationFor(model.filename);
  auto moving = offload(pool_, [partial, destination](const StopFlag&) {
    auto synced = partial->sync();
    return synced ? partial->moveTo(destination) : synced;
  });
  auto moved = co_await std::move(moving);
  if (!moved) {
    logger_.error("❌ Failed to move downloaded file: %@", moved.error().description);
    co_return Failed{AnyError(moved.error())};
  }
  logger_.info("✅ Downloaded %s to %s", model.name, destination);
  co_return destination;
}

std::optional<PlatformError> WhisperModelManager::spaceError(qint64 neededBytes) const {
  const qint64 available = configuration_.availableBytes(configuration_.modelsDirectory);
  if (available < 0 || available >= neededBytes) return std::nullopt;
  return PlatformError{filesystemDomain, ENOSPC,
                       localizedText("models.error.noSpace", sizeText(neededBytes), sizeText(available),
                                     configuration_.modelsDirectory)};
}

Task<void> WhisperModelManager::deleteModel(WhisperCppModel model) {
  if (!model.url) co_return;
  const auto isThisOne = [&model](const WhisperCppModel& other) {
    return other.name == model.name && other.url == model.url;
  };
  if (std::erase_if(transientModels_, isThisOne) > 0) co_return;

  QFile file(model.url->toLocalFile());
  if (!file.remove()) {
    const QString description = file.errorString();
    logger_.error("Failed to delete model: %@", description);
    errorMessage_.set(QStringLiteral("Failed to delete ") + model.displayName + QStringLiteral(": ") + description);
    co_return;
  }
  logger_.info("Deleted model: %s", model.name);
  auto downloaded = downloadedModels_.get();
  std::erase(downloaded, model);
  downloadedModels_.set(std::move(downloaded));
  auto custom = customModels_.get();
  std::erase(custom, model);
  customModels_.set(std::move(custom));
  discardPartialDownload(model);
}

qint64 WhisperModelManager::partialDownloadBytes(const WhisperCppModel& model) const {
  const PartialDownload partial(configuration_.modelsDirectory, model.filename);
  return partial.source() ? partial.bytes() : 0;
}

void WhisperModelManager::discardPartialDownload(const WhisperCppModel& model) {
  PartialDownload partial(configuration_.modelsDirectory, model.filename);
  if (partial.lock()) partial.remove();
}

}  // namespace quillmere
