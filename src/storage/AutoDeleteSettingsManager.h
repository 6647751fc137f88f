#pragma once
#include "base/log/Logger.h"
#include "storage/SettingsChannel.h"

namespace quillmere {

class AutoDeleteSettingsManager final : public SettingsChannel {
 public:
  AutoDeleteSettingsManager(DefaultsStore& defaults, const StandardFolders& folders, const Logging& logging);

  bool autoDeleteEnabled() const { return get<"autoDeleteEnabled">(); }
  bool setAutoDeleteEnabled(bool value) { return set<"autoDeleteEnabled">(value); }
  // An unknown stored text counts as days.
  AutoDeleteTimeUnit autoDeleteTimeUnit() const { return getChoice<"autoDeleteTimeUnit">(AutoDeleteTimeUnit::days); }
  bool setAutoDeleteTimeUnit(AutoDeleteTimeUnit value) { return set<"autoDeleteTimeUnit">(rawValue(value)); }
  int autoDeleteValue() const { return get<"autoDeleteValue">(); }
  bool setAutoDeleteValue(int value) { return set<"autoDeleteValue">(std::max(value, 1)); }
};

}  // namespace quillmere
