#include "models/WhisperModelManager.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>

#include "base/async/Async.h"
#include "models/CustomModelHeader.h"
#include "models/DiskSpace.h"
#include "models/ModelHub.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr Duration activationInterval = 2s;

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
  model.size = modelSizeText(file.size());
  const ModelFileLanguages languages = languagesOfModelFile(file.absoluteFilePath());
  model.isEnglishOnly = languages.isEnglishOnly;
  model.knowsCantonese = languages.knowsCantonese;
  model.url = QUrl::fromLocalFile(file.absoluteFilePath());
  return model;
}

bool isSameFile(const WhisperCppModel& a, const WhisperCppModel& b) {
  return a.name == b.name && a.url == b.url && a.sizeInBytes == b.sizeInBytes && a.displayName == b.displayName &&
         a.isEnglishOnly == b.isEnglishOnly && a.knowsCantonese == b.knowsCantonese;
}

QString shownLocation(const HubLocation& location) {
  const auto* url = std::get_if<QUrl>(&location);
  return url ? url->toString(QUrl::RemoveUserInfo) : std::get<QStringList>(location).first();
}

}  // namespace

QMap<QString, QString> WhisperModelManagerConfiguration::catalogChecksums() {
  QMap<QString, QString> sums;
  for (const auto& [model, raw] : RawValues<WhisperModel>::values) sums.insert(fileName(model), expectedSha256(model));
  return sums;
}

WhisperModelManager::WhisperModelManager(WhisperModelManagerConfiguration configuration, HttpDownloader& downloader,
                                         Executor& executor, WorkerPool& pool, Logging logging)
    : configuration_(std::move(configuration)),
      executor_(executor),
      logger_(logging.logger(QStringLiteral("WhisperModelManager"))),
      transfer_(downloader, executor, pool, logger_, configuration_.availableBytes, configuration_.isOnline) {
  if (!configuration_.hubBaseUrl) configuration_.hubBaseUrl = [] { return QString::fromLatin1(defaultModelHub); };
  if (!configuration_.modelDisplayNames) configuration_.modelDisplayNames = [] { return QMap<QString, QString>(); };
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
                      fileName(model), modelSizeText(sizeInBytes(model)), sizeInBytes(model),
                      quillmere::isEnglishOnly(model), quillmere::knowsCantonese(model), std::nullopt});
  }
  availableModels_.set(std::move(models));
  scanForModels();
  logger_.info("🚀 WhisperModelManager initialized");
}

std::optional<WhisperCppModel> WhisperModelManager::findDownloaded(const QString& name) const {
  for (const auto* models : {&downloadedModels_.get(), &customModels_.get(), &std::as_const(transientModels_)})
    if (const WhisperCppModel* model = named(*models, name)) return *model;
  return std::nullopt;
}

std::optional<WhisperCppModel> WhisperModelManager::findMeant(const QString& text) const {
  if (const auto downloaded = findDownloaded(text)) return downloaded;
  const auto model = lenientWhisperModel(text);
  const WhisperCppModel* known = model ? named(availableModels_.get(), rawValue(*model)) : nullptr;
  return known ? std::optional(*known) : std::nullopt;
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
    model.sizeInBytes = file.size();
    model.size = modelSizeText(file.size());
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
    setWaiting(name, false);
  }
  downloadingModels_.set(std::move(names));
  downloadProgress_.set(std::move(progress));
}

void WhisperModelManager::setWaiting(const QString& name, bool isWaiting) {
  auto names = waitingModels_.get();
  if (isWaiting && downloadingModels_.get().contains(name))
    names.insert(name);
  else
    names.remove(name);
  waitingModels_.set(std::move(names));
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
  const QString hub = configuration_.hubBaseUrl();
  const auto location = locateOnHub(hub, model.filename);
  logger_.info("🔽 Starting download for %s from %s", model.name, location ? shownLocation(*location) : hub);
  setDownloading(model.name, true);

  const QString destination = destinationFor(model.filename);
  std::optional<ModelTransfer::Outcome> outcome;
  if (location) {
    const ModelFile file{*location, destination, configuration_.checksums.value(model.filename)};
    const auto report = [this, name = model.name](qint64 bytes, qint64 total) { reportProgress(name, bytes, total); };
    const auto wait = [this, name = model.name](bool isWaiting) { setWaiting(name, isWaiting); };
    ModelTransferRequest request{model.name, {file}, fresh, report, wait};
    try {
      outcome = co_await transfer_.download(std::move(request));
    } catch (const Cancelled&) {
      // told below
    }
  } else {
    outcome = Failed{location.error()};
  }

  if (outcome && *outcome) {
    if (QFileInfo::exists(destination)) {
      logger_.info("✅ Successfully downloaded %s to %s", model.name, destination);
      scanForModels();
    } else {
      logger_.error("❌ File not found after download: %s", destination);
    }
  } else if (!outcome) {
    logger_.info("🛑 Cancelled download for %s", model.name);
  } else {
    const QString description = localizedDescription(outcome->error());
    logger_.error("❌ Failed to download %s: %@", model.name, description);
    isOutOfDiskSpace_ = isOutOfSpace(outcome->error());
    errorMessage_.set(QStringLiteral("Failed to download ") + model.displayName + QStringLiteral(": ") + description);
  }
  if (!transfer_.isRunning(model.name)) setDownloading(model.name, false);  // else there is already the next one
  logger_.info("🏁 Download task completed for %s", model.name);
  if (!outcome) co_await throwIfCancelled();  // the caller itself was cancelled, not just the download
}

void WhisperModelManager::cancelDownload(QString modelName) {
  transfer_.cancel(modelName);
  setDownloading(modelName, false);
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
    isOutOfDiskSpace_ = false;
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
  return ModelTransfer::partialBytes(destinationFor(model.filename));
}

void WhisperModelManager::discardPartialDownload(const WhisperCppModel& model) {
  ModelTransfer::discardPartial(destinationFor(model.filename));
}

}  // namespace quillmere
