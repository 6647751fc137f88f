#pragma once
#include <QTemporaryDir>

#include "core/AppState.h"
#include "models/WhisperModelManager.h"
#include "storage/PersistenceController.h"
#include "storage/SettingsManager.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeHttpDownloader.h"
#include "support/FakeNetworkStatus.h"
#include "support/FakeUserNotices.h"
#include "support/Files.h"
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
  WhisperModelManager models;

  // `server` and `hub`: where models come from; default: `downloader` and the public hub.
  explicit InterfaceFixture(const QString& language = QStringLiteral("en"), HttpDownloader* server = nullptr,
                            const QString& hub = {})
      : texts(language), models(configuration(hub), server ? *server : downloader, executor, pool, Logging(log)) {}

  void install(const QString& model) {
    writeFile(folder.filePath(QStringLiteral("ggml-%1.bin").arg(model)), QByteArray(1'000'000, '\0'));
    models.scanForModels();
  }
  ModePtr makeMode(const char* name, const char* model = "base") {
    ModeData data;
    data.name = QString::fromLatin1(name);
    data.model = QString::fromLatin1(model);
    return store->createMode(data);
  }

 private:
  WhisperModelManagerConfiguration configuration(const QString& hub) const {
    WhisperModelManagerConfiguration configuration;
    if (!hub.isEmpty()) configuration.hubBaseUrl = [hub] { return hub; };
    configuration.modelsDirectory = folder.path();
    configuration.checksums.clear();
    return configuration;
  }
};

}  // namespace quillmere
