#pragma once
#include <QDir>
#include <QTemporaryDir>

#include "recording/AudioDeviceManager.h"
#include "recording/RecordingEnvironment.h"
#include "recording/RecordingFinisher.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "recording/SimpleRecorder.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDesktop.h"
#include "support/ManualExecutor.h"
#include "support/PlainSamples.h"
#include "support/RecordingLogSink.h"

namespace quillmere {

// What the platform made up below may still hold.
struct VirtualTime {
  ManualExecutor executor;
};

// The recording side over a made-up platform, with its files in a folder of its own.
struct RecordingSide : VirtualTime, FakeDesktop {
  enum class Store { inMemory, onDisk };
  explicit RecordingSide(Store store)
      : storeAt(store == Store::onDisk ? std::optional(folder.filePath("store.sqlite"))
                                       : PersistenceController::inMemory()) {
    settings.storage().setRecordingsFolder(recordings());
    lifecycle.setHasMicrophonePermission(true);
  }

  QString recordings() const { return folder.filePath("recordings"); }
  // Names in the recordings folder, hidden ones too.
  QStringList files() const { return QDir(recordings()).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

  QTemporaryDir folder;
  const PersistenceController::Location storeAt;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  Logging logging{log};
  PlainSamples samples;
  StandardFolders folders{folder.filePath("data"), folder.filePath("documents"), folder.filePath("downloads"),
                          folder.filePath("temporary")};
  WorkerPool workers{1, "conversion"};
  SettingsManager settings{defaults, folders, logging, &reporting};
  std::unique_ptr<PersistenceController> persistence = std::move(*PersistenceController::open(storeAt, clock, logging));
  AudioFileConverter converter{samples, encoder, workers, logging};
  AudioDeviceManager deviceManager{devices, settings.audio(), executor, &reporting, logging};
  RecordingSessionManager sessions{*persistence, clock, processLocks, logging};
  SimpleRecorder recorder{recorders, executor, logging};
  AudioSessionManager audioSession{outputVolume, playback, clock, logging};
  RecordingEnvironment environment{{executor, devices, outputVolume, audioSession, settings.audio(), processLocks},
                                   logging};
  RecordingFinisher finisher{{converter, samples, sessions, *persistence, &reporting}, logging};
  RecordingLifecycle lifecycle{
      {executor, clock, recorder, deviceManager, sessions, environment, finisher, settings, &reporting}, logging};
};

}  // namespace quillmere
