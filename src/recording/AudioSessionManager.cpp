#include "recording/AudioSessionManager.h"

#include <cmath>

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

Task<AudioEnvironmentState> AudioSessionManager::prepareMutedEnvironment() {
  log_.info("🔇 Muting system audio for recording");
  AudioEnvironmentState state;
  state.timestamp = clock_.now();
  auto reading = outputVolume_.volume();
  const auto volume = co_await std::move(reading);
  if (!volume) {
    log_.error("AppleScript error getting volume: %@", volume.error().description);
    log_.error("Failed to get system volume");
    log_.error("  ✗ Failed to mute system volume");
    co_return state;
  }
  auto muting = outputVolume_.setVolume(0);
  const auto muted = co_await std::move(muting);
  if (!muted) {
    log_.error("AppleScript error setting volume: %@", muted.error().description);
    log_.error("Failed to mute system volume");
    log_.error("  ✗ Failed to mute system volume");
    co_return state;
  }
  log_.info("  ✓ System volume saved (%s%%) and muted", QString::number(double(*volume), 'f', 0));
  log_.info("  ✓ Audio muted for recording");
  state.originalVolume = float(*volume);
  state.timestamp = clock_.now();
  co_return state;
}

Task<void> AudioSessionManager::restoreAudioEnvironment(AudioEnvironmentState state) {
  log_.info("🔊 Restoring system audio");
  if (state.originalVolume) {
    const int percent = int(std::lround(*state.originalVolume));
    auto writing = outputVolume_.setVolume(percent);
    const auto written = co_await std::move(writing);
    if (written) {
      log_.info("  ✓ System volume restored to %s%%", QString::number(percent));
    } else {
      log_.error("AppleScript error setting volume: %@", written.error().description);
      log_.error("  ✗ Failed to restore system volume");
    }
  }
  log_.info("  ✓ Audio restored after %ss", secondsSince(state.timestamp));
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
  auto pausing = mediaPlayback_.pause();
  co_await std::move(pausing);
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
  auto playing = mediaPlayback_.play();
  co_await std::move(playing);
  if (state)
    log_.info("  ✓ Media playback resumed after %ss", secondsSince(state->timestamp));
  else
    log_.info("  ✓ Media playback resumed");
}

}  // namespace quillmere
