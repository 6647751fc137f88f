#pragma once
#include <QStringList>

#include "storage/SettingsChannel.h"

namespace quillmere {

// The lists are kept as JSON texts; a text that doesn't decode reads as the empty list.
class DeveloperModeSettingsManager final : public SettingsChannel {
 public:
  DeveloperModeSettingsManager(DefaultsStore& defaults, const StandardFolders& folders);

  bool enableDeveloperMode() const { return get<"enableDeveloperMode">(); }
  bool setEnableDeveloperMode(bool value) { return set<"enableDeveloperMode">(value); }
  QStringList projectDirectories() const;
  bool setProjectDirectories(const QStringList& value);
  QStringList indexedFileExtensions() const;
  bool setIndexedFileExtensions(const QStringList& value);
};

}  // namespace quillmere
