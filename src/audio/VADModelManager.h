#pragma once
#include <QByteArray>
#include <QStringList>
#include <optional>

#include "base/log/Logger.h"

namespace quillmere {

// Finds the voice-activity model once. Main thread.
class VADModelManager {
 public:
  static QString fileName();   // "ggml-silero-v5.1.2.bin"
  static QByteArray sha256();  // of that file, lower-case hexadecimal

  // The folders to look in, in this order.
  VADModelManager(QStringList folders, const Logging& logging);

  std::optional<QString> modelPath();

 private:
  QStringList folders_;
  Logger logger_;
  std::optional<QString> cachedModelPath_;
};

}  // namespace quillmere
