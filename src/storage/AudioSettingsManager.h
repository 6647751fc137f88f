#pragma once
#include "base/log/Logger.h"
#include "storage/SettingsChannel.h"

namespace quillmere {

// At construction: migrates the retired pause switch to mediaControlMode and repairs a volume outside 0 to 1.
class AudioSettingsManager final : public SettingsChannel {
 public:
  AudioSettingsManager(DefaultsStore& defaults, const StandardFolders& folders, const Logging& logging);

  QString selectedMicrophoneId() const { return get<"selectedMicrophoneId">(); }
  bool setSelectedMicrophoneId(const QString& value) { return set<"selectedMicrophoneId">(value); }
  bool autoIncreaseMicVolume() const { return get<"autoIncreaseMicVolume">(); }
  bool setAutoIncreaseMicVolume(bool value) { return set<"autoIncreaseMicVolume">(value); }
  // An unknown stored text counts as off.
  MediaControlMode mediaControlMode() const { return getChoice<"mediaControlMode">(MediaControlMode::off); }
  bool setMediaControlMode(MediaControlMode value) { return set<"mediaControlMode">(rawValue(value)); }
  bool enableSoundEffects() const { return get<"enableSoundEffects">(); }
  bool setEnableSoundEffects(bool value) { return set<"enableSoundEffects">(value); }
  SoundTheme soundTheme() const { return getChoice<"soundTheme">(SoundTheme::classic); }
  bool setSoundTheme(SoundTheme value) { return set<"soundTheme">(rawValue(value)); }
  double soundEffectsVolume() const { return get<"soundEffectsVolume">(); }
  bool setSoundEffectsVolume(double value) { return set<"soundEffectsVolume">(value); }
  // What recordings have taken from devices and not given back yet; see recording/BorrowedVolumes.
  QString borrowedVolumes() const { return get<"borrowedVolumes">(); }
  bool setBorrowedVolumes(const QString& value) { return set<"borrowedVolumes">(value); }
};

}  // namespace quillmere
