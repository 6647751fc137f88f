#include "context/ElectronAppDetector.h"

#include "domain/Applications.h"

namespace quillmere {

ElectronAppDetector::ElectronAppDetector(const Logging& logging)
    : logger_(logging.logger(QStringLiteral("ElectronAppDetector"))) {}

bool ElectronAppDetector::isElectronEditor(const QString& bundleId) {
  if (applicationOf(bundleId).isElectronEditor) return true;
  if (!isOfElectronFamily(bundleId)) return false;
  if (!detectedUnknownElectronApps_.contains(bundleId)) {
    detectedUnknownElectronApps_.insert(bundleId);
    logger_.info("📱 Detected potential Electron editor: %{public}s", bundleId);
    logger_.info("   Consider adding to knownElectronEditors if confirmed");
  }
  return true;
}

}  // namespace quillmere
