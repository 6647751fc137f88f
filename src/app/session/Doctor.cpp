#include "app/session/Doctor.h"

#include <QFileInfo>
#include <QLocale>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "models/WhisperModelManager.h"
#include "ports/Accessibility.h"
#include "ports/AudioDevices.h"
#include "ports/AudioRecorder.h"
#include "ports/KeySynthesizer.h"
#include "ports/Pasteboard.h"
#include "ports/SpeechEngine.h"
#include "storage/PrivateFolder.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

using Verdict = DoctorFinding::Verdict;

constexpr std::chrono::milliseconds listening{1000};
constexpr std::chrono::milliseconds connectLimit{3000};
constexpr std::chrono::milliseconds connectPace{20};
constexpr float quietDecibels = -55;
constexpr qint64 lowDiskBytes = 200ll << 20;

DoctorFinding finding(const char* id, Verdict verdict, QString detail, QString advice = {}) {
  return {QString::fromLatin1(id), verdict, localizedText(QStringLiteral("doctor.title.") + QString::fromLatin1(id)),
          std::move(detail), std::move(advice)};
}

Task<DoctorFinding> checkSound(AudioDevices& devices) {
  const bool isReady = co_await devices.waitUntilReady();
  if (!isReady)
    co_return finding("sound", Verdict::failed, localizedText("doctor.sound.absent"),
                      localizedText("doctor.sound.advice"));
  co_return finding("sound", Verdict::ok, localizedText("doctor.sound.ok", int(devices.inputs().size())));
}

std::optional<AudioInputDescription> chosenInput(const AudioDevices& devices, const QString& selectedUid) {
  std::optional<AudioInputDescription> chosen;
  for (const AudioInputDescription& input : devices.inputs()) {
    if (input.uid == selectedUid) return input;
    if (input.uid == devices.defaultInputUid()) chosen = input;
  }
  if (chosen && chosen->isMonitor) return std::nullopt;
  return chosen;
}

Task<DoctorFinding> checkMicrophone(AudioDevices& devices, AudioRecorderFactory& recorders, QString selectedUid) {
  const auto input = chosenInput(devices, selectedUid);
  if (!input)
    co_return finding("microphone", Verdict::failed, localizedText("doctor.microphone.absent"),
                      localizedText("doctor.microphone.absentAdvice"));
  if (input->isMuted)
    co_return finding("microphone", Verdict::failed, localizedText("doctor.microphone.muted", input->name),
                      localizedText("doctor.microphone.mutedAdvice"));
  const QTemporaryDir folder;
  devices.preferInput(input->uid);
  const auto recorder = recorders.create();
  const auto started = co_await recorder->record(folder.filePath(QStringLiteral("level.wav")));
  if (!started)
    co_return finding("microphone", Verdict::failed,
                      localizedText("doctor.microphone.failed", input->name, started.error().description));
  co_await sleepFor(listening);
  const float level = recorder->averagePowerDecibels();
  co_await recorder->stop();
  const QString shown = QString::number(level, 'f', 0);
  if (level < quietDecibels)
    co_return finding("microphone", Verdict::warning, localizedText("doctor.microphone.quiet", input->name, shown),
                      localizedText("doctor.microphone.quietAdvice"));
  co_return finding("microphone", Verdict::ok, localizedText("doctor.microphone.ok", input->name, shown));
}

DoctorFinding checkDisplay(const DoctorPatient& patient) {
  if (patient.displayName.isEmpty())
    return finding("display", Verdict::warning, localizedText("doctor.display.absent"),
                   localizedText("doctor.display.advice"));
  if (patient.isWaylandSession)
    return finding("display", Verdict::warning, localizedText("doctor.display.wayland", patient.displayName),
                   localizedText("doctor.display.waylandAdvice"));
  return finding("display", Verdict::ok, localizedText("doctor.display.ok", patient.displayName));
}

// The connection is made in the background; a bus that has not answered by then is not there.
Task<DoctorFinding> checkAccessibility(const Accessibility& accessibility) {
  Executor& executor = co_await currentExecutor();
  const TimePoint end = executor.now() + connectLimit;
  while (!accessibility.isTrusted() && executor.now() < end) co_await sleepFor(connectPace);
  if (accessibility.isTrusted())
    co_return finding("accessibility", Verdict::ok, localizedText("doctor.accessibility.ok"));
  co_return finding("accessibility", Verdict::warning, localizedText("doctor.accessibility.absent"),
                    localizedText("doctor.accessibility.advice"));
}

Task<DoctorFinding> checkClipboard(Pasteboard* pasteboard) {
  if (!pasteboard)
    co_return finding("clipboard", Verdict::warning, localizedText("doctor.clipboard.absent"),
                      localizedText("doctor.display.advice"));
  co_await pasteboard->string();
  co_return finding("clipboard", Verdict::ok, localizedText("doctor.clipboard.ok"));
}

DoctorFinding checkKeys(KeySynthesizer* keys) {
  if (!keys)
    return finding("keys", Verdict::warning, localizedText("doctor.keys.absent"),
                   localizedText("doctor.display.advice"));
  if (!keys->isAvailable())
    return finding("keys", Verdict::warning, localizedText("doctor.keys.absent"), localizedText("doctor.keys.advice"));
  if (const auto code = keys->keyCodeForLetter(u'v'))
    return finding("keys", Verdict::ok, localizedText("doctor.keys.ok", *code));
  return finding("keys", Verdict::ok, localizedText("doctor.keys.fallback"));
}

DoctorFinding keyringFinding(KeyringState state) {
  switch (state) {
    case KeyringState::unlocked:
      return finding("keyring", Verdict::ok, localizedText("doctor.keyring.ok"));
    case KeyringState::locked:
      return finding("keyring", Verdict::warning, localizedText("doctor.keyring.locked"),
                     localizedText("doctor.keyring.lockedAdvice"));
    case KeyringState::absent:
      break;
  }
  return finding("keyring", Verdict::warning, localizedText("doctor.keyring.absent"),
                 localizedText("doctor.keyring.absentAdvice"));
}

DoctorFinding checkModel(WhisperModelManager& models, const SpeechEngine& engine) {
  if (const auto reason = engine.unsupportedProcessor()) return finding("model", Verdict::failed, *reason);
  models.scanForModels();
  QStringList names;
  for (const WhisperCppModel& model : models.downloadedModels()) names += model.name;
  for (const WhisperCppModel& model : models.customModels()) names += model.name;
  if (names.isEmpty())
    return finding("model", Verdict::failed, localizedText("doctor.model.absent"),
                   localizedText("doctor.model.advice"));
  return finding("model", Verdict::ok, localizedText("doctor.model.ok", names.join(QStringLiteral(", "))));
}

DoctorFinding checkDisk(const QString& folder) {
  const bool isMade = makePrivateFolder(folder);
  QTemporaryFile probe(folder + QStringLiteral("/.write-test-XXXXXX"));
  if (!isMade || !probe.open() || probe.write("test") != 4 || !probe.flush())
    return finding("disk", Verdict::failed, localizedText("doctor.disk.readOnly", folder),
                   localizedText("doctor.disk.readOnlyAdvice"));
  const qint64 freeBytes = QStorageInfo(folder).bytesAvailable();
  const QString shown = QLocale().formattedDataSize(freeBytes, 1, QLocale::DataSizeTraditionalFormat);
  if (freeBytes < lowDiskBytes)
    return finding("disk", Verdict::warning, localizedText("doctor.disk.low", shown, folder),
                   localizedText("doctor.disk.lowAdvice"));
  return finding("disk", Verdict::ok, localizedText("doctor.disk.ok", shown, folder));
}

}  // namespace

Task<std::vector<DoctorFinding>> examine(DoctorPatient patient, std::function<void(const DoctorFinding&)> onFinding) {
  std::vector<DoctorFinding> findings;
  const auto add = [&](DoctorFinding next) {
    onFinding(next);
    findings.push_back(std::move(next));
  };
  add(co_await checkSound(patient.devices));
  if (findings.back().verdict == Verdict::ok) {
    add(co_await checkMicrophone(patient.devices, patient.recorders, patient.settings.audio().selectedMicrophoneId()));
  }
  add(checkDisplay(patient));
  add(co_await checkAccessibility(patient.accessibility));
  add(co_await checkClipboard(patient.pasteboard));
  add(checkKeys(patient.keys));
  add(keyringFinding(co_await patient.keyring()));
  add(checkModel(patient.models, patient.engine));
  add(checkDisk(patient.settings.storage().recordingsFolder()));
  co_return findings;
}

}  // namespace quillmere
