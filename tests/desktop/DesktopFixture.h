#pragma once
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>

#include "app/windows/DesktopInterface.h"
#include "core/ShortcutStore.h"
#include "interface/InterfaceFixture.h"
#include "recording/AudioDeviceManager.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeKeyInterceptor.h"
#include "support/FakeMediaEncoder.h"
#include "support/FakeMediaReader.h"
#include "support/FakeTranscriptRoad.h"
#include "transcripts/TranscriptRoad.h"
#include "transcripts/TranscriptionRetryController.h"

namespace quillmere {

// The interface over a store in memory, with a history and models to look at.
class DesktopFixture : public InterfaceFixture {
 public:
  // `server` and `hub`: where models come from.
  explicit DesktopFixture(const QString& language = QStringLiteral("en"), bool hasHistory = true, bool hasTray = false,
                          HttpDownloader* server = nullptr, const QString& hub = {})
      : InterfaceFixture(language, server, hub) {
    const bool isGerman = language == QLatin1String("de");
    interceptor.isAllowed = false;
    const QString microphone = isGerman ? QStringLiteral("USB-Mikrofon") : QStringLiteral("USB microphone");
    install(QStringLiteral("base"));
    const ModePtr standard = makeMode("Default");
    const ModePtr mail = makeMode("E-mail & notes");
    state.selectMode(*standard, false);
    if (hasHistory) addHistory(standard, mail);
    inputs.list = {FakeAudioDevices::microphone(1, QStringLiteral("usb"), microphone),
                   FakeAudioDevices::microphone(2, QStringLiteral("web"), QStringLiteral("Webcam"))};
    inputs.defaultUid = QStringLiteral("usb");
    devices.scanDevices(DeviceScanReason::initialBootstrap);
    shortcutStore.start();
    DesktopIntents intents;
    intents.app.toggleRecording = [this] { ++toggles; };
    intents.app.cancelRecording = [this] { ++cancels; };
    intents.app.copyText = [this](const QString& text) { copied << text; };
    intents.history.copyText = [this](const QString& text) { copied << text; };
    intents.history.pasteText = [this](const QString& text) { pasted << text; };
    intents.history.playAudio = [this](const QString& path) { played << path; };
    intents.dialog.finishRecording = [this] { ++toggles; };
    intents.dialog.cancel = [this] { ++cancels; };
    intents.dialog.stopRecording = [this] { ++stops; };
    intents.dialog.copyText = [this](const QString& text) { copied << text; };
    intents.dialog.isTextOnClipboard = [this] { return isTextOnClipboard; };
    intents.dialog.pasteHere = [this] { ++pastesHere; };
    intents.dialog.sendToTarget = [this] { ++sends; };
    intents.dialog.targetName = [] { return QStringLiteral("A text editor of many words"); };
    intents.dialog.stopKey = [] { return QStringLiteral("Ctrl+Alt+D"); };
    intents.dialog.cancelKey = [] { return QStringLiteral("Esc"); };
    intents.firstRun.tryDictation = [this] { ++trials; };
    intents.firstRun.cancelDictation = [this] { ++cancels; };
    const QLocale locale(isGerman ? QLocale::German : QLocale::English);
    DesktopInterfaceServices services{state,        *store,  settings, defaults, models, executor,        clock,
                                      Logging(log), &toasts, &retry,   nullptr,  locale, QTimeZone::utc()};
    services.devices = &devices;
    services.recorders = &recorders;
    services.mediaReaders = &mediaReaders;
    services.workers = &pool;
    services.shortcuts = &shortcuts;
    services.interceptor = &interceptor;
    services.shortcutStore = &shortcutStore;
    services.canLaunchAtLogin = true;
    services.fileFlow = &fileFlow;
    defaults.setValue(QStringLiteral("recordingsFolder"), folder.filePath(QStringLiteral("recordings")));
    interface = std::make_unique<DesktopInterface>(std::move(services), std::move(intents),
                                                   DesktopInterfaceOptions{.hasTray = hasTray, .usesPortal = false});
    interface->app().setMicrophone(microphone, true);
    interface->app().setModel(QStringLiteral("Base"), true);
    interface->app().setShortcut(QStringLiteral("Right Ctrl"), AppStateViewModel::TriggerKind::hold);
  }

  TranscriptPtr add(const QString& text, const QDateTime& date, const ModePtr& mode, double duration) {
    const TranscriptPtr transcript = store->insertTranscript();
    transcript->date = date;
    transcript->text = transcript->transcribedText = text;
    transcript->duration = duration;
    transcript->status = QStringLiteral("completed");
    transcript->transcriptionProvider = QStringLiteral("Base");
    transcript->modeRelationship = mode;
    transcript->mode = mode->name;
    return transcript;
  }

  void addHistory(const ModePtr& standard, const ModePtr& mail) {
    const QDateTime now = clock.now();
    add(QStringLiteral("Let's move the quarterly review to Thursday at ten, and bring the open questions from the last "
                       "one."),
        now.addSecs(-30 * 60), standard, 6);
    const TranscriptPtr failed = add(QString(), now.addSecs(-3600), standard, 48);
    failed->status = QStringLiteral("failed");
    failed->failedReason = QStringLiteral("The service did not answer.");
    failed->audioFilePath = writeFile(folder.filePath(QStringLiteral("kept.wav")), "RIFF");
    FakeMediaFile sound;
    sound.frames = 48 * 16000;
    sound.nominalFrames = sound.frames;
    sound.canSeek = true;
    sound.sample = [](qint64 frame) { return 0.3F * float(std::abs(std::sin(double(frame) / 30000))); };
    mediaReaders.files[*failed->audioFilePath] = sound;
    const TranscriptPtr rewritten =
        add(QStringLiteral("The quarterly figures are in docs/q3/report.md; I changed the second table."),
            now.addDays(-1).addSecs(7500), standard, 9);
    rewritten->postProcessedText = rewritten->text;
    add(QStringLiteral("Good morning, thank you for the quarterly summary. I read it on the train and have two small "
                       "remarks, both about the second page."),
        now.addDays(-1).addSecs(-20000), mail, 81);
    add(QStringLiteral("Äpfel, Birnen und 日本語のテキスト."), now.addDays(-30), mail, 3);
    store->save();
  }

  // Runs what is queued and draws.
  void settle() {
    for (int i = 0; i < 6; ++i) {
      executor.runReady();
      QCoreApplication::sendPostedEvents();
      QCoreApplication::processEvents();
      QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
  }
  void change(const std::function<void(AppStateData&)>& function) {
    state.update(function);
    settle();
  }
  // A voice at the microphone, which is never as loud as it was a moment before.
  void speak() {
    for (int i = 0; i < 8; ++i) {
      recorders.decibels = float(-22 + i);
      executor.advance(std::chrono::milliseconds(33));
    }
    settle();
  }
  // Until the condition holds; false after a generous while.
  bool settleUntil(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
      if (timer.elapsed() > 20'000) return false;
      settle();
    }
    return true;
  }

  // Leaves a picture of the window for people to look at.
  static QImage keepPicture(QQuickWindow* window, const QString& name) {
    QString path = qEnvironmentVariable("QUILLMERE_PICTURES");
    if (path.isEmpty())
      path = qEnvironmentVariable("QUILLMERE_BUILD_DIR", QDir::tempPath()) + QStringLiteral("/test-output/pictures");
    QDir().mkpath(path);
    const QImage image = window->grabWindow();
    EXPECT_TRUE(image.save(QStringLiteral("%1/%2.png").arg(path, name))) << qPrintable(path);
    return image;
  }

  FakeMediaReaderFactory mediaReaders;
  DesktopNotices toasts;
  QStringList retriedPaths;
  struct NoRoad final : TranscriptRoad {
    explicit NoRoad(QStringList& to) : paths(to) {}
    QStringList& paths;
    Task<TranscriptOutcome> run(TranscriptJob job) override {
      paths << job.audioPath;
      throw Cancelled();
    }
  } road{retriedPaths};
  TranscriptionRetryController retry{*store, road, Logging(log)};
  FakeMediaEncoder encoder;
  AudioFileConverter converter{mediaReaders, encoder, pool, Logging(log)};
  FakeTranscriptRoad fileRoad;
  FileTranscriptionFlow fileFlow{{executor, clock, pool, *store, settings, converter, fileRoad}, Logging(log)};
  FakeAudioDevices inputs;
  FakeAudioRecorderFactory recorders;
  AudioDeviceManager devices{inputs, settings.audio(), executor, nullptr, Logging(log)};
  FakeGlobalShortcuts shortcuts;
  FakeKeyInterceptor interceptor;  // nothing to be had, until a test says otherwise
  ShortcutStore shortcutStore{defaults, shortcuts, &state, Logging(log)};
  int toggles = 0, cancels = 0, stops = 0, trials = 0;
  int pastesHere = 0, sends = 0;
  bool isTextOnClipboard = true;
  QStringList copied, pasted, played;
  std::unique_ptr<DesktopInterface> interface;  // last: over everything else
};

}  // namespace quillmere
