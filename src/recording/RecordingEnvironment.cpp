#include "recording/RecordingEnvironment.h"

#include "base/async/Combinators.h"

namespace quillmere {
namespace {

constexpr auto patience = std::chrono::milliseconds(300);

QString volumeText(const std::optional<float>& volume) {
  return volume ? QString::asprintf("%.0f%%", double(*volume) * 100) : QStringLiteral("nil (unsupported)");
}

BorrowedVolume outputVolume(const OutputLevel& level) {
  return {BorrowedVolume::Device::output, level.uid, level.name, level.channels, {}};
}

std::optional<BorrowedVolume> inputVolume(const AudioInputDescription& input) {
  if (!input.volume) return std::nullopt;
  return BorrowedVolume{BorrowedVolume::Device::input, input.uid, input.name, {double(*input.volume)}, {}};
}

std::optional<AudioInputDescription> findInput(const AudioDevices& devices, const std::optional<QString>& uid) {
  for (const AudioInputDescription& input : devices.inputs())
    if (input.uid == uid) return input;
  return std::nullopt;
}

}  // namespace

struct RecordingEnvironment::Changes {
  std::optional<AudioEnvironmentState> media;
  std::optional<BorrowedVolume> microphone;  // what it had before
  bool isMuting = false;
  Completion<void> mediaControlled;
  Completion<void> microphoneRaised;
  Completion<void> undone;
};

RecordingEnvironment::RecordingEnvironment(Dependencies dependencies, const Logging& logging)
    : use_(dependencies),
      log_(logging.logger(QStringLiteral("RecordingEnvironment"))),
      borrowed_(use_.settings, use_.locks),
      scope_(use_.executor) {
  // Outputs show themselves here too: each has a monitor among the inputs.
  deviceChanges_ = use_.devices.observe([this](AudioDevices::Change change) {
    if (change == AudioDevices::Change::deviceList && !borrowed_.abandoned().empty()) scope_.spawn(giveBackAbandoned());
  });
  scope_.spawn(giveBackAbandoned());
}

RecordingEnvironment::~RecordingEnvironment() = default;

std::shared_ptr<RecordingEnvironment::Changes> RecordingEnvironment::change() {
  const auto changes = std::make_shared<Changes>();
  const MediaControlMode mode = use_.settings.mediaControlMode();
  changes->isMuting = mode == MediaControlMode::muteAudio;
  if (mode == MediaControlMode::off) {
    log_.info("Media control mode: off - no audio changes");
    changes->mediaControlled.resolve();
  } else {
    scope_.spawn(controlMedia(changes, mode));
  }
  if (use_.settings.autoIncreaseMicVolume())
    scope_.spawn(increaseMicVolume(changes));
  else
    changes->microphoneRaised.resolve();
  return changes;
}

Task<void> RecordingEnvironment::waitUntilQuiet(std::shared_ptr<Changes> changes) {
  if (!changes->isMuting) co_return;
  const bool isQuiet = co_await withTimeout(patience, changes->mediaControlled.wait());
  if (!isQuiet) log_.warning("The sound server takes long to mute, recording without waiting for it");
}

Task<void> RecordingEnvironment::controlMedia(std::shared_ptr<Changes> changes, MediaControlMode mode) {
  if (mode == MediaControlMode::muteAudio) {
    co_await mute(changes);
  } else {
    changes->media = co_await use_.audioSessionManager.pauseMedia();
    log_.info("Media paused for recording");
  }
  changes->mediaControlled.resolve();
}

Task<void> RecordingEnvironment::mute(std::shared_ptr<Changes> changes) {
  const SerialGate::Pass pass = co_await volumeGate_.enter();
  std::optional<OutputLevel> claimed;
  AudioSessionManager::Claim claim = [this, &claimed](const OutputLevel& current) -> std::optional<OutputLevel> {
    const auto original = borrowed_.claim(outputVolume(current));
    if (!original) return std::nullopt;
    claimed = current;
    claimed->channels = *original;
    return claimed;
  };
  changes->media = co_await use_.audioSessionManager.prepareMutedEnvironment(std::move(claim));
  if (changes->media->originalLevel) {
    log_.info("Audio environment prepared (muted) for recording");
  } else if (claimed) {
    log_.error("Failed to mute audio environment, continuing recording");
    borrowed_.abandon(outputVolume(*claimed));  // the server may have done it all the same
  }
}

std::optional<BorrowedVolume> RecordingEnvironment::microphoneInUse() const {
  const auto input = findInput(use_.devices, use_.devices.captureInputUid());
  if (!input) {
    log_.error("🎚️ [ASYNC] Failed - unable to get system default device ID");
    return std::nullopt;
  }
  log_.info("🎚️ [ASYNC] Target device: %{public}s (ID: %u)", input->name, input->numericId);
  log_.info("🎚️ [ASYNC] Current volume: %{public}s", volumeText(input->volume));
  return inputVolume(*input);
}

Task<void> RecordingEnvironment::increaseMicVolume(std::shared_ptr<Changes> changes) {
  log_.info("🎚️ [ASYNC] Auto-increase mic volume task STARTED on background thread");
  const SerialGate::Pass pass = co_await volumeGate_.enter();
  std::optional<BorrowedVolume> microphone = microphoneInUse();
  const auto original = microphone ? borrowed_.claim(*microphone) : std::nullopt;
  if (original) {
    microphone->channels = *original;
    changes->microphone = microphone;
    log_.info("🎚️ [ASYNC] Attempting to set volume to 90%%...");
    const bool isRaised =
        co_await use_.devices.setInputVolume(microphone->uid, float(BorrowedVolume::volumeOf(microphone->device)));
    if (isRaised)
      log_.info("🎚️ [ASYNC] SUCCESS - Volume changed from %{public}s", volumeText(float(original->front())));
    else
      log_.error(
          "🎚️ [ASYNC] FAILED - CoreAudio setInputVolumeScalar returned false (device may not support software volume "
          "control)");
  }
  log_.info("🎚️ [ASYNC] Auto-increase mic volume task COMPLETED");
  changes->microphoneRaised.resolve();
}

Completion<void> RecordingEnvironment::giveBack(std::shared_ptr<Changes> changes, SerialGate::Pass pass) {
  Completion<void> undone = changes->undone;
  scope_.spawn(undo(std::move(changes), std::move(pass)));
  return undone;
}

Task<void> RecordingEnvironment::undo(std::shared_ptr<Changes> changes, SerialGate::Pass pass) {
  co_await changes->mediaControlled.wait();
  const auto media = std::exchange(changes->media, std::nullopt);
  if (media && media->didPauseMedia) {
    co_await use_.audioSessionManager.resumeMedia(media);
    log_.info("Media playback resumed after recording");
  } else if (media && media->originalLevel) {
    const bool isRestored = co_await use_.audioSessionManager.restoreAudioEnvironment(*media);
    const BorrowedVolume volume = outputVolume(*media->originalLevel);
    if (isRestored) {
      log_.info("Audio environment restored after recording");
      borrowed_.remove(volume);
    } else {
      borrowed_.abandon(volume);
    }
  }
  co_await changes->microphoneRaised.wait();
  if (const auto microphone = std::exchange(changes->microphone, std::nullopt)) {
    const float volume = float(microphone->channels.front());
    const bool isRestored = co_await use_.devices.setInputVolume(microphone->uid, volume);
    if (isRestored) {
      log_.info("Restored microphone input volume to %{public}s", volumeText(volume));
      borrowed_.remove(*microphone);
    } else {
      log_.warning("Restore mic volume failed - unable to set volume");
      borrowed_.abandon(*microphone);
    }
  }
  pass = SerialGate::Pass();
  changes->undone.resolve();
  if (!borrowed_.abandoned().empty()) scope_.spawn(giveBackAbandoned());
}

Task<void> RecordingEnvironment::giveBackAbandoned() {
  const bool isServerThere = co_await use_.devices.waitUntilReady();
  if (!isServerThere) co_return;
  const SerialGate::Pass pass = co_await volumeGate_.enter();
  for (const BorrowedVolume& volume : borrowed_.abandoned()) {
    // Another program that starts at the same time may be about it.
    const auto lock = volume.owner.isEmpty() ? nullptr : use_.locks.take(volume.owner);
    if (!lock && !volume.owner.isEmpty()) continue;
    if (co_await isSettled(volume)) borrowed_.remove(volume);
  }
}

// Gives the volume back. False: the device is away or refuses.
Task<bool> RecordingEnvironment::isSettled(BorrowedVolume volume) {
  if (volume.device == BorrowedVolume::Device::output) {
    const auto level = co_await use_.outputVolume.level(volume.uid);
    if (!level) co_return false;
    if (!outputVolume(*level).isAsRecordingsLeaveIt()) co_return true;  // somebody has turned it since
    OutputLevel original{volume.uid, volume.name, volume.channels};
    const auto restored = co_await use_.outputVolume.setLevel(std::move(original));
    if (restored) log_.info("Gave the output %{public}s its volume back", volume.name);
    co_return restored.hasValue();
  }
  const auto input = findInput(use_.devices, volume.uid);
  const auto current = input ? inputVolume(*input) : std::nullopt;
  if (!current) co_return false;
  if (!current->isAsRecordingsLeaveIt()) co_return true;
  const bool isRestored = co_await use_.devices.setInputVolume(volume.uid, float(volume.channels.front()));
  if (isRestored) log_.info("Gave the microphone %{public}s its volume back", volume.name);
  co_return isRestored;
}

}  // namespace quillmere
