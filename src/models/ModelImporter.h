#pragma once
#include <QMap>
#include <QString>
#include <functional>
#include <optional>

#include "base/Result.h"
#include "base/async/Task.h"
#include "base/async/WorkerPool.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "models/WhisperModelManager.h"

namespace quillmere {

struct ImportedModel {
  QString name;  // what WhisperModelManager::findDownloaded() knows it by after the next scan
  QString path;
  QString sha256;  // lower-case hexadecimal
  bool isCatalogModel = false;
};

// Brings models of the user's own into the models directory: a file in ggml format, or a folder in CTranslate2's
// Whisper format, which is converted. A result that equals a model of the catalogue is installed as that model, any
// other one as custom/NAME.bin.
//
// Main thread; the work runs on `pool`, which outlives the importer. `progress` gets 0 to 1 on the main thread, while
// the task lives. Failures are sentences for the user, and neither they nor a cancel leave a file behind.
class ModelImporter {
 public:
  ModelImporter(QString modelsDirectory, WorkerPool& pool, const Logging& logging,
                QMap<QString, QString> checksums = WhisperModelManagerConfiguration::catalogChecksums());

  // `name` is for a custom model; default: the name of the file or folder. What doesn't fit into a file name is
  // replaced. A custom name that is taken is refused, unless by the same content.
  Task<Result<ImportedModel, PlatformError>> importModel(QString fileOrFolder, std::optional<QString> name,
                                                         std::function<void(double)> progress);

  // Letters, digits, ".", "-", "_" and inner blanks stay, everything else becomes "-"; at most 100 characters and 200
  // bytes; "model" where nothing is left.
  static QString sanitizedName(const QString& name);

 private:
  QString modelsDirectory_;
  WorkerPool& pool_;
  Logger logger_;
  QMap<QString, QString> checksums_;
};

}  // namespace quillmere
