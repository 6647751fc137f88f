#pragma once
#include <QFile>
#include <QTemporaryDir>

#include "core/AppState.h"
#include "models/WhisperModelManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeHttpDownloader.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeUserNotices.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/TestTexts.h"

namespace quillmere {

// What the view models stand on: a store in memory, settings, the application's state and a folder of models.
struct InterfaceFixture {
  TestTexts texts;
  ManualExecutor executor;
  FixedClock clock{QDateTime(QDate(2026, 3, 12), QTime(12, 0), QTimeZone::utc())};
  QTemporaryDir folder;
  FakeDefaultsStore defaults;
  FakeUserNotices notices;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  SettingsManager settings{defaults, StandardFolders{}, Logging(log)};
  std::unique_ptr<PersistenceController> store =
      std::move(PersistenceController::open(PersistenceController::inMemory(), clock, Logging(log))).value();
  FakeNetworkStatus network;
  AppState state{{executor, defaults, settings, *store, network, notices}, Logging(log)};
  FakeHttpDownloader downloader;
  WorkerPool pool{1};
  WhisperModelManager models{configuration(), downloader, executor, pool, Logging(log)};

  explicit InterfaceFixture(const QString& language = QStringLiteral("en")) : texts(language) {}

  void install(const QString& model) {
    QFile file(folder.filePath(QStringLiteral("ggml-%1.bin").arg(model)));
    if (!file.open(QIODevice::WriteOnly) || !file.resize(1'000'000)) qFatal("no model file");
    models.scanForModels();
  }
  ModePtr makeMode(const char* name, const char* model = "base") {
    ModeData data;
    data.name = QString::fromLatin1(name);
    data.model = QString::fromLatin1(model);
    return store->createMode(data);
  }

 private:
  WhisperModelManagerConfiguration configuration() const {
    WhisperModelManagerConfiguration configuration;
    configuration.modelsDirectory = folder.path();
    configuration.checksums.clear();
    return configuration;
  }
};

}  // namespace quillmere
