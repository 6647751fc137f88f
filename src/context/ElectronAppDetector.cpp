#include "context/ElectronAppDetector.h"

namespace quillmere {

ElectronAppDetector::ElectronAppDetector(const Logging& logging)
    : logger_(logging.logger(QStringLiteral("ElectronAppDetector"))) {}

bool ElectronAppDetector::isElectronEditor(const QString& bundleId) {
  static const QSet<QString> knownElectronEditors = {
      QStringLiteral("com.todesktop.230313mzl4w4u92"),
      QStringLiteral("com.cursor.ide"),
      QStringLiteral("com.exafunction.windsurf"),
      QStringLiteral("com.microsoft.VSCode"),
      QStringLiteral("com.microsoft.VSCodeInsiders"),
      QStringLiteral("com.visualstudio.code.oss"),
      QStringLiteral("com.vscodium"),
      QStringLiteral("com.vscodium.VSCodium"),
      QStringLiteral("com.github.atom"),
      QStringLiteral("io.brackets.appshell"),
      QStringLiteral("dev.zed.Zed"),
      QStringLiteral("dev.zed.Zed-Preview"),
  };
  if (knownElectronEditors.contains(bundleId)) return true;
  for (const char* prefix : {"com.todesktop.", "com.electron.", "io.github.electron."}) {
    if (!bundleId.startsWith(QLatin1String(prefix))) continue;
    if (!detectedUnknownElectronApps_.contains(bundleId)) {
      detectedUnknownElectronApps_.insert(bundleId);
      logger_.info("📱 Detected potential Electron editor: %{public}s", bundleId);
      logger_.info("   Consider adding to knownElectronEditors if confirmed");
    }
    return true;
  }
  return false;
}

}  // namespace quillmere
