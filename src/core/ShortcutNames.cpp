#include "core/ShortcutNames.h"

namespace quillmere {

QString shortcutSettingKey(const QString& shortcutName) {
  return QStringLiteral("KeyboardShortcuts_") + shortcutName;
}

}  // namespace quillmere
