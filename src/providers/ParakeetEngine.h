#pragma once
#include "providers/TranscriptionProvider.h"

namespace quillmere {

enum class AsrModelVersion { v2, v3 };

// v2 where the lower-cased name holds "v2", else v3.
inline AsrModelVersion asrModelVersionForName(const QString& modelName) {
  return modelName.contains(QLatin1String("v2"), Qt::CaseInsensitive) ? AsrModelVersion::v2 : AsrModelVersion::v3;
}

inline bool isParakeetModel(const QString& modelName) {
  return modelName.startsWith(QLatin1String("parakeet-tdt-"), Qt::CaseInsensitive);
}

// The second speech engine on the device, together with the view of its files on the disk. Main thread.
class ParakeetEngine : public TranscriptionProvider {
 public:
  // Loads the version that the name selects.
  virtual Task<Result<void, AnyError>> prepare(QString modelName) = 0;
  // All files of the version are in their default folder.
  virtual bool isInstalled(AsrModelVersion version) const = 0;
  // Looks at the disk again.
  virtual void refresh() = 0;
};

}  // namespace quillmere
