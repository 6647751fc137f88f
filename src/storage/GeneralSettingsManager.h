#pragma once
#include "base/log/Logger.h"
#include "storage/SettingsChannel.h"

namespace quillmere {

class GeneralSettingsManager final : public SettingsChannel {
 public:
  GeneralSettingsManager(DefaultsStore& defaults, const StandardFolders& folders, const Logging& logging);

  bool showInDock() const { return get<"showInDock">(); }
  bool setShowInDock(bool value) { return set<"showInDock">(value); }
  bool launchMinimized() const { return get<"launchMinimized">(); }
  bool setLaunchMinimized(bool value) { return set<"launchMinimized">(value); }
  bool showRecordingWindow() const { return get<"showRecordingWindow">(); }
  bool setShowRecordingWindow(bool value) { return set<"showRecordingWindow">(value); }
  bool checkForUpdatesAutomatically() const { return get<"checkForUpdatesAutomatically">(); }
  bool setCheckForUpdatesAutomatically(bool value) { return set<"checkForUpdatesAutomatically">(value); }
  bool enableErrorLogging() const { return get<"enableErrorLogging">(); }
  bool setEnableErrorLogging(bool value) { return set<"enableErrorLogging">(value); }
  bool enableVAD() const { return get<"enableVAD">(); }
  bool setEnableVAD(bool value) { return set<"enableVAD">(value); }

 private:
  void onChanged(const QString& key) override;

  Logger log_;
};

}  // namespace quillmere
