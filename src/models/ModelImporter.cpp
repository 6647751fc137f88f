#include "models/ModelImporter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <atomic>
#include <cerrno>

#include "base/async/Await.h"
#include "base/async/Offload.h"
#include "base/text/Graphemes.h"
#include "base/text/LocalizedText.h"
#include "domain/GgmlModelFile.h"
#include "domain/WhisperModel.h"
#include "models/CTranslate2Converter.h"
#include "models/HashingFile.h"

namespace quillmere {
namespace {

using ImportResult = Result<ImportedModel, PlatformError>;

constexpr qint64 kPieceBytes = 1 << 20;
constexpr int kMaximumNameCharacters = 100;
constexpr int kMaximumNameBytes = 200;

struct Request {
  QString source;
  std::optional<QString> name;
  QString modelsDirectory;
  QMap<QString, QString> checksums;
  std::function<void(double)> progress;  // on the worker
};

Failed<PlatformError> failed(int code, QString description) {
  return Failed{PlatformError{QStringLiteral("models"), code, std::move(description)}};
}

Result<void, PlatformError> inspect(const QString& path, const QString& shownName) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return failed(EACCES, localizedText("models.file.error.unreadable", shownName));
  const auto checked = inspectGgmlModelFile(file);
  if (!checked) return failed(EINVAL, localizedDescription(checked.error(), shownName));
  return {};
}

// Both fill `target` and return early when `stop` is set.
Result<void, PlatformError> copyFile(const Request& request, HashingFile& target, const StopFlag& stop) {
  const QString name = QFileInfo(request.source).fileName();
  QFile file(request.source);
  if (!file.open(QIODevice::ReadOnly)) return failed(EACCES, localizedText("models.file.error.unreadable", name));
  const qint64 size = file.size();
  for (qint64 done = 0; done < size && !stop.isSet();) {
    const QByteArray piece = file.read(kPieceBytes);
    if (piece.isEmpty()) return failed(EIO, localizedText("models.file.error.unreadable", name));
    if (!target.write(piece.constData(), piece.size())) return Failed{target.error()};
    done += piece.size();
    request.progress(static_cast<double>(done) / static_cast<double>(size));
  }
  return {};
}

Result<void, PlatformError> convertFolder(const Request& request, HashingFile& target, const StopFlag& stop) {
  const auto sink = [&](const char* data, qint64 bytes) { return !stop.isSet() && target.write(data, bytes); };
  TRY_OK(CTranslate2Converter::convert(request.source, sink, request.progress));
  if (target.error().code != 0) return Failed{target.error()};
  return {};
}

// A name of the catalogue would hide the catalogue's model, or be hidden by it.
bool isReserved(const QString& name) {
  const QString folded = name.toCaseFolded();
  for (const auto& [model, raw] : RawValues<WhisperModel>::values) {
    if (folded == QString::fromLatin1(raw) || folded + QStringLiteral(".bin") == fileName(model)) return true;
  }
  return false;
}

ImportResult installCustom(const Request& request, HashingFile& target, const StopFlag& stop) {
  QString name = ModelImporter::sanitizedName(
      request.name.value_or(QFileInfo(request.source).isDir() ? QDir(request.source).dirName()
                                                              : QFileInfo(request.source).completeBaseName()));
  if (isReserved(name)) {
    if (request.name) return failed(EINVAL, localizedText("models.import.error.nameReserved", name));
    name += QStringLiteral("-custom");
  }
  const QString folder = request.modelsDirectory + QStringLiteral("/custom");
  const QString path = folder + QLatin1Char('/') + name + QStringLiteral(".bin");
  ImportedModel imported{name, path, target.sha256(), false};
  if (!QDir().mkpath(folder)) {
    return failed(EACCES, localizedText("models.import.error.notWritten", folder, qt_error_string(EACCES)));
  }
  const auto moved = target.moveTo(path, true);
  if (moved) return imported;
  if (moved.error().code != EEXIST) return Failed{moved.error()};
  if (HashingFile::sha256Of(path, stop.atomic()).valueOr({}) == imported.sha256) return imported;
  return failed(EEXIST, localizedText("models.import.error.nameTaken", name));
}

ImportResult importNow(const Request& request, const StopFlag& stop) {
  const QFileInfo source(request.source);
  const bool isFolder = source.isDir();
  const QString name = isFolder ? QDir(request.source).dirName() : source.fileName();
  if (!source.exists()) return failed(ENOENT, localizedText("models.file.error.missing", name));
  if (!isFolder) TRY_OK(inspect(request.source, name));

  HashingFile target(request.modelsDirectory);
  TRY_OK(target.create());
  TRY_OK(isFolder ? convertFolder(request, target, stop) : copyFile(request, target, stop));
  if (stop.isSet()) return failed(ECANCELED, {});  // nobody sees it: the task throws Cancelled
  // What was written, not what was read: the source may have changed meanwhile.
  TRY_OK(inspect(target.path(), name));

  const QString sha256 = target.sha256();
  const QString catalogFile = request.checksums.key(sha256);
  if (catalogFile.isEmpty()) return installCustom(request, target, stop);
  const QString path = request.modelsDirectory + QLatin1Char('/') + catalogFile;
  TRY_OK(target.moveTo(path, false));
  const auto model = whisperModelForFileName(catalogFile);
  return ImportedModel{model ? rawValue(*model) : catalogFile, path, sha256, true};
}

}  // namespace

ModelImporter::ModelImporter(QString modelsDirectory, WorkerPool& pool, const Logging& logging,
                             QMap<QString, QString> checksums)
    : modelsDirectory_(std::move(modelsDirectory)),
      pool_(pool),
      logger_(logging.logger(QStringLiteral("ModelImporter"))),
      checksums_(std::move(checksums)) {}

Task<Result<ImportedModel, PlatformError>> ModelImporter::importModel(QString fileOrFolder, std::optional<QString> name,
                                                                      std::function<void(double)> progress) {
  Executor& executor = co_await currentExecutor();
  // Dies with this frame; reports that come later go nowhere.
  const auto listener = std::make_shared<std::function<void(double)>>(std::move(progress));
  Request request;
  request.source = std::move(fileOrFolder);
  request.name = std::move(name);
  request.modelsDirectory = modelsDirectory_;
  request.checksums = checksums_;
  request.progress = [&executor, weak = std::weak_ptr(listener), lastPercent = -1](double fraction) mutable {
    const int percent = static_cast<int>(fraction * 100);
    if (percent == lastPercent) return;
    lastPercent = percent;
    executor.post([weak, fraction] {
      const auto target = weak.lock();
      if (target && *target) (*target)(fraction);
    });
  };
  auto work = [request = std::move(request)](const StopFlag& stop) { return importNow(request, stop); };
  ImportResult result = co_await offload(pool_, std::move(work));
  if (result) {
    logger_.info("Imported model: %s, SHA-256 %{public}s", result->name, result->sha256);
  } else {
    logger_.error("Could not import a model: %s", result.error().description);
  }
  co_return result;
}

QString ModelImporter::sanitizedName(const QString& name) {
  QString result;
  for (const char32_t character : name.toUcs4()) {
    const bool stays = QChar::isLetterOrNumber(character) || QChar::isMark(character) || character == U'.' ||
                       character == U'-' || character == U'_' || character == U' ';
    result += stays ? QString::fromUcs4(&character, 1) : QStringLiteral("-");
  }
  result = leftGraphemes(result, kMaximumNameCharacters);
  while (result.toUtf8().size() > kMaximumNameBytes) result = leftGraphemes(result, graphemeCount(result) - 1);
  while (!result.isEmpty() && (result.front() == u'.' || result.front() == u' ')) result.remove(0, 1);
  while (!result.isEmpty() && result.back() == u' ') result.chop(1);
  return result.isEmpty() ? QStringLiteral("model") : result;
}

}  // namespace quillmere
