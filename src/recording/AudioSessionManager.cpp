#include "recording/AudioSessionManager.h"

#include <algorithm>

namespace quillmere {

AudioSessionManager::AudioSessionManager(OutputVolume& outputVolume, MediaPlayback& mediaPlayback, const Clock& clock,
                                         const Logging& logging)
    : outputVolume_(outputVolume),
      mediaPlayback_(mediaPlayback),
      clock_(clock),
      log_(logging.logger(QStringLiteral("AudioSessionManager"))) {}

QString AudioSessionManager::secondsSince(const QDateTime& time) const {
  return QString::number(double(time.msecsTo(clock_.now())) / 1000, 'f', 1);
}

Task<AudioEnvironmentState> AudioSessionManager::prepareMutedEnvironment(Claim claim) {
  log_.info("🔇 Muting system audio for recording");
  AudioEnvironmentState state;
  state.timestamp = clock_.now();
  const auto level = co_await outputVolume_.level();
  if (!level) {
    log_.error("AppleScript error getting volume: %@", level.error().description);
    log_.error("Failed to get system volume");
    log_.error("  ✗ Failed to mute system volume");
    co_return state;
  }
  const std::optional<OutputLevel> original = claim(*level);
  if (!original) {
    log_.info("  Another recording has muted %{public}s", level->name);
    co_return state;
  }
  OutputLevel silent = *level;
  std::fill(silent.channels.begin(), silent.channels.end(), 0);
  const auto muted = co_await outputVolume_.setLevel(silent);
  if (!muted) {
    log_.error("AppleScript error setting volume: %@", muted.error().description);
    log_.error("Failed to mute system volume");
    log_.error("  ✗ Failed to mute system volume");
    co_return state;
  }
  log_.info("  ✓ System volume saved (%s%%) and muted", QString::number(original->percent()));
  log_.info("  ✓ Audio muted for recording");
  state.originalLevel = original;
  state.timestamp = clock_.now();
  co_return state;
}

Task<bool> AudioSessionManager::restoreAudioEnvironment(AudioEnvironmentState state) {
  log_.info("🔊 Restoring system audio");
  bool isRestored = true;
  if (state.originalLevel) {
    const auto written = co_await outputVolume_.setLevel(*state.originalLevel);
    isRestored = written.hasValue();
    if (isRestored) {
      log_.info("  ✓ System volume restored to %s%%", QString::number(state.originalLevel->percent()));
    } else {
      log_.error("AppleScript error setting volume: %@", written.error().description);
      log_.error("  ✗ Failed to restore system volume");
    }
  }
  log_.info("  ✓ Audio restored after %ss", secondsSince(state.timestamp));
  co_return isRestored;
}

Task<AudioEnvironmentState> AudioSessionManager::pauseMedia() {
  log_.info("⏸️ Pausing media playback for recording");
  if (!isListening_) {
    mediaPlayback_.startListening();
    isListening_ = true;
    log_.info("  MediaController initialized and listening");
  }
  AudioEnvironmentState state;
  state.timestamp = clock_.now();
  state.didPauseMedia = true;
  co_await mediaPlayback_.pause();
  didPauseMediaDuringRecording_ = true;
  log_.info("  ✓ Media playback paused");
  co_return state;
}

Task<void> AudioSessionManager::resumeMedia(std::optional<AudioEnvironmentState> state) {
  if (!didPauseMediaDuringRecording_) {
    log_.info("  Skipping resume - media was not paused by us");
    co_return;
  }
  log_.info("▶️ Resuming media playback after recording");
  didPauseMediaDuringRecording_ = false;
  co_await mediaPlayback_.play();
  if (state)
    log_.info("  ✓ Media playback resumed after %ss", secondsSince(state->timestamp));
  else
    log_.info("  ✓ Media playback resumed");
}

}  // namespace quillmere
