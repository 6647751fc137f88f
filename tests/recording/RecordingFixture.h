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
#include "support/ManualExecutor.h"
#include "support/PlainSamples.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"

namespace quillmere {

// Everything a recording needs, with the store in memory and the files in a folder of its own.
class RecordingFixture : public ::testing::Test {
 protected:
  RecordingFixture() {
    defaults.setValue(QStringLiteral("recordingsFolder"), recordings());
    defaults.setValue(QStringLiteral("mediaControlMode"), QStringLiteral("off"));
    defaults.setValue(QStringLiteral("autoIncreaseMicVolume"), false);
    persistence = std::move(*PersistenceController::open(PersistenceController::inMemory(), clock, logging));
    settings = std::make_unique<SettingsManager>(defaults, folders(), logging);
    devices.list = {
        FakeAudioDevices::microphone(7, QStringLiteral("usb-mic"), QStringLiteral("Desk Microphone"), 1.0F)};
    devices.defaultUid = QStringLiteral("usb-mic");
    sessions = std::make_unique<RecordingSessionManager>(*persistence, clock, logging);
  }

  StandardFolders folders() const { return {home.path(), documents(), home.path(), home.path()}; }
  QString documents() const { return home.filePath(QStringLiteral("documents")); }
  QString recordings() const { return home.filePath(QStringLiteral("recordings")); }
  QString inRecordings(const QString& name) const { return recordings() + u'/' + name; }
  // Names in the recordings folder, hidden ones too.
  QStringList kept() const {
    return QDir(recordings()).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
  }
  int breadcrumbs(const QString& message) const {
    return int(std::count_if(reporting.breadcrumbs.begin(), reporting.breadcrumbs.end(),
                             [&](const Breadcrumb& one) { return one.message == message; }));
  }

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
  std::unique_ptr<PersistenceController> persistence;
  std::unique_ptr<SettingsManager> settings;
  std::unique_ptr<RecordingSessionManager> sessions;
};

}  // namespace quillmere
