#pragma once
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "recording/RecordingLifecycle.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaPlayback.h"
#include "support/FakeOutputVolume.h"
#include "support/FakeProcessLocks.h"
#include "support/ManualExecutor.h"
#include "support/PlainSamples.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"

namespace quillmere {

// The recording side over a made-up platform, with the store in memory and the files in a folder of its own.
class RecordingFixture : public ::testing::Test {
 protected:
  RecordingFixture() {
    defaults.setValue(QStringLiteral("recordingsFolder"), recordings());
    defaults.setValue(QStringLiteral("mediaControlMode"), QStringLiteral("off"));
    defaults.setValue(QStringLiteral("autoIncreaseMicVolume"), false);
    devices.list = {
        FakeAudioDevices::microphone(7, QStringLiteral("usb-mic"), QStringLiteral("Desk Microphone"), 1.0F)};
    devices.defaultUid = QStringLiteral("usb-mic");
    lifecycle.setHasMicrophonePermission(true);
  }

  StandardFolders folders() const { return {home.path(), documents(), home.path(), home.path()}; }
  QString documents() const { return home.filePath(QStringLiteral("documents")); }
  QString recordings() const { return home.filePath(QStringLiteral("recordings")); }
  QString inRecordings(const QString& name) const { return recordings() + u'/' + name; }
  // Names in the recordings folder, hidden ones too.
  QStringList kept() const {
    return QDir(recordings()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
  }
  void setMediaControl(const char* mode) {
    defaults.setValue(QStringLiteral("mediaControlMode"), QString::fromLatin1(mode));
  }
  void raiseMicrophone() { defaults.setValue(QStringLiteral("autoIncreaseMicVolume"), true); }

  bool start() { return runTask(executor, lifecycle.startRecording()).hasValue(); }
  std::optional<RecordingStopResult> stop(StopIntent intent = StopIntent::keep) {
    return runTask(executor, lifecycle.stopRecording(intent));
  }
  // A whole recording.
  RecordingStopResult record(Duration length = std::chrono::seconds(2)) {
    EXPECT_TRUE(start());
    executor.advance(length);
    auto result = stop();
    EXPECT_TRUE(result);
    return result.value_or(RecordingStopResult());
  }

  const QString wav = QStringLiteral("recording_1700000000.wav");
  const QString m4a = QStringLiteral("recording_1700000000.m4a");

  TestTexts texts;
  QTemporaryDir home;
  ManualExecutor executor;
  FixedClock clock{QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC)};
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  Logging logging{log};
  WorkerPool workers{1};
  FakeErrorReporting reporting;
  FakeDefaultsStore defaults;
  PlainSamples media;
  FakeMediaEncoder encoder;
  AudioFileConverter converter{media, encoder, workers, logging};
  FakeAudioDevices devices;
  FakeOutputVolume output;
  FakeMediaPlayback playback;
  FakeAudioRecorderFactory recorders;
  FakeProcessLocks locks;
  std::unique_ptr<PersistenceController> persistence =
      std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
  SettingsManager settings{defaults, folders(), logging};
  RecordingSessionManager sessions{*persistence, clock, locks, logging};
  SimpleRecorder recorder{recorders, executor, logging};
  AudioDeviceManager deviceManager{devices, settings.audio(), executor, &reporting, logging};
  AudioSessionManager audioSession{output, playback, clock, logging};
  RecordingEnvironment environment{{executor, devices, output, audioSession, settings.audio(), locks}, logging};
  RecordingFinisher finisher{{converter, media, sessions, *persistence, &reporting}, logging};
  RecordingLifecycle lifecycle{
      {executor, clock, recorder, deviceManager, sessions, environment, finisher, settings, &reporting}, logging};
};

}  // namespace quillmere
