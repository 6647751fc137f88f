#pragma once
#include <QSet>
#include <QString>

#include "base/log/Logger.h"

namespace quillmere {

// Tells editors built on Electron, whose completion needs a file reference pasted by itself. Main thread.
class ElectronAppDetector {
 public:
  explicit ElectronAppDetector(const Logging& logging);

  // By the known identifiers, else by the prefix of an Electron family; such a one is logged once.
  bool isElectronEditor(const QString& bundleId);

 private:
  Logger logger_;
  QSet<QString> detectedUnknownElectronApps_;
};

}  // namespace quillmere
