#include "diagnostics/LogCategory.h"

namespace quillmere {

QString logCategoryName(LogCategory category) {
  switch (category) {
    case LogCategory::audio:
      return QStringLiteral("audio");
    case LogCategory::transcription:
      return QStringLiteral("transcription");
    case LogCategory::coredata:
      return QStringLiteral("coredata");
    case LogCategory::network:
      return QStringLiteral("network");
    case LogCategory::ui:
      return QStringLiteral("ui");
    case LogCategory::settings:
      return QStringLiteral("settings");
    case LogCategory::models:
      return QStringLiteral("models");
    case LogCategory::accessibility:
      return QStringLiteral("accessibility");
  }
  return {};
}

}  // namespace quillmere
