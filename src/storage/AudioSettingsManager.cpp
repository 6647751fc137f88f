#include "storage/AudioSettingsManager.h"

namespace quillmere {

AudioSettingsManager::AudioSettingsManager(DefaultsStore& defaults, const StandardFolders& folders,
                                           const Logging& logging)
    : SettingsChannel(defaults, folders, SettingGroup::audio) {
  const Logger log = logging.logger("AudioSettings");
  const QString retired = "pauseOtherAudioDuringRecording";
  if (const QVariant value = defaults_.value(retired); value.isValid()) {
    if (value.toBool()) {
      setMediaControlMode(MediaControlMode::muteAudio);
      log.info("Migrated pauseOtherAudioDuringRecording=true to mediaControlMode=.muteAudio");
    }
    defaults_.remove(retired);
    log.info("Removed deprecated pauseOtherAudioDuringRecording setting");
  }
  if (!(soundEffectsVolume() >= 0.0 && soundEffectsVolume() <= 1.0)) setSoundEffectsVolume(0.5);
}

}  // namespace quillmere
