#include "audio/VADModelManager.h"

#include <QFileInfo>

namespace quillmere {

QString VADModelManager::fileName() {
  return QStringLiteral("ggml-silero-v5.1.2.bin");
}

QByteArray VADModelManager::sha256() {
  return QByteArrayLiteral("29940d98d42b91fbd05ce489f3ecf7c72f0a42f027e4875919a28fb4c04ea2cf");
}

VADModelManager::VADModelManager(QStringList folders, const Logging& logging)
    : folders_(std::move(folders)), logger_(logging.logger(QStringLiteral("VADModelManager"))) {}

std::optional<QString> VADModelManager::modelPath() {
  if (cachedModelPath_) return cachedModelPath_;
  for (const QString& folder : folders_) {
    const QString path = folder + u'/' + fileName();
    if (!QFileInfo(path).isFile()) continue;
    logger_.info("VAD model found at: %s", path);
    cachedModelPath_ = path;
    return path;
  }
  logger_.error("VAD model not found in bundle resources. Ensure ggml-silero-v5.1.2.bin is added to the app bundle.");
  return std::nullopt;
}

}  // namespace quillmere
