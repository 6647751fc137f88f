#include <gtest/gtest.h>

#include "audio/AudioConverter.h"
#include "core/ShortcutStore.h"
#include "interface/FirstRunViewModel.h"
#include "interface/InterfaceFixture.h"
#include "interface/MicrophoneViewModel.h"
#include "interface/ShortcutsViewModel.h"
#include "interface/SpeechSpeed.h"
#include "recording/AudioDeviceManager.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeAudioRecorder.h"
#include "support/FakeAudioResampler.h"
#include "support/FakeGlobalShortcuts.h"
#include "support/FakeMediaReader.h"
#include "support/FakeSpeechEngine.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

const QString toggleName = QStringLiteral("toggleRecordingWithTranscription");

struct Fixture : InterfaceFixture {
  FakeAudioDevices audio;
  FakeAudioRecorderFactory recorders;
  AudioDeviceManager devices{audio, settings.audio(), executor, nullptr, Logging()};
  FakeGlobalShortcuts shortcuts;
  ShortcutStore shortcutStore{defaults, shortcuts, nullptr, Logging()};
  int cancels = 0;
  QStringList chosen;

  Fixture() {
    state.selectMode(*makeMode("Default", "cloud"), false);
    audio.list = {FakeAudioDevices::microphone(1, QStringLiteral("usb"), QStringLiteral("USB microphone"))};
    audio.defaultUid = QStringLiteral("usb");
    devices.scanDevices(DeviceScanReason::initialBootstrap);
    shortcutStore.start();
  }
  MicrophoneViewModel microphone{{settings, &devices, &recorders, &executor}, Logging()};
  ShortcutsViewModel keys{{settings, shortcutStore, shortcuts, executor, defaults, {}, {}}};
  FakeSpeechEngine engine;
  FakeMediaReaderFactory readers;
  FakeAudioResamplerFactory resamplers;
  WorkerPool speechPool{1};
  AudioConverter converter{readers, resamplers, speechPool, Logging()};
  SpeechSpeed speed{{engine, converter, speechPool, executor, QStringLiteral("/speech.mp3")}};
  std::unique_ptr<FirstRunViewModel> firstRun;
  FirstRunViewModel& show() {
    FirstRunIntents intents;
    intents.cancelDictation = [this] { ++cancels; };
    intents.modelChosen = [this](const ModePtr& mode) { chosen << *mode->model; };
    firstRun = std::make_unique<FirstRunViewModel>(
        FirstRunViewModel::Services{state, defaults, *store, models, microphone, keys, executor, &speed},
        std::move(intents));
    state.update([](AppStateData& data) { data.showOnboarding = true; });
    firstRun->setActive(true);
    return *firstRun;
  }
  // A voice is never as loud as it was a moment before.
  void speak() {
    for (int i = 0; i < 6; ++i) {
      recorders.decibels = float(-20 + i);
      executor.advance(33ms);
    }
  }
  void goTo(int step) {
    while (firstRun->step() < step) firstRun->next();
  }
  void setRecording(bool isRecording) {
    state.update([&](AppStateData& data) {
      data.recordingState = isRecording ? RecordingState{RecordingState::Recording{}} : RecordingState{};
    });
    executor.runReady();
  }
  // Presses the keys while those of `name` are recorded; none is Escape.
  void pressFor(const QString& name, const QString& combination) {
    keys.record(name);
    executor.runReady();
    shortcuts.enterCombination(KeyCombination::parse(combination));
    executor.runReady();
  }
  ModePtr localMode() const { return store->fetchMode(QString::fromLatin1(localDefaultModeId)); }
};

TEST(FirstRun, EachStepCanBeSkippedAndNoneIsAskedTwice) {
  Fixture f;
  FirstRunViewModel* firstRun = &f.show();
  firstRun->back();
  EXPECT_EQ(firstRun->step(), 0);
  f.goTo(FirstRunViewModel::shortcutStep);
  // The program ends in the middle and starts again.
  f.firstRun.reset();
  f.state.update([](AppStateData& data) { data.onboardingCurrentStep = 0; });
  firstRun = &f.show();
  EXPECT_EQ(firstRun->step(), FirstRunViewModel::shortcutStep);
  firstRun->next();
  EXPECT_TRUE(firstRun->isTrying());
  firstRun->next();
  EXPECT_FALSE(firstRun->isShown());
  EXPECT_TRUE(f.state.data().hasCompletedOnboarding);
  EXPECT_TRUE(f.defaults.value(QStringLiteral("hasCompletedOnboarding")).toBool());
  EXPECT_EQ(f.localMode(), nullptr) << "what was skipped changes nothing";
}

TEST(FirstRun, MicrophoneIsHeardOnlyWhileItsStepIsLookedAt) {
  Fixture f;
  f.recorders.decibels = -50;  // a quiet room
  FirstRunViewModel& firstRun = f.show();
  f.executor.advance(1s);
  ASSERT_EQ(f.recorders.running.size(), 1U);
  EXPECT_GT(f.microphone.level(), 0);
  f.recorders.decibels = -10;  // a door
  f.executor.advance(33ms);
  f.recorders.decibels = -50;
  f.executor.advance(33ms);
  EXPECT_FALSE(firstRun.isStepDone());
  f.speak();
  EXPECT_TRUE(firstRun.isStepDone());
  EXPECT_EQ(f.microphone.statusText(), QStringLiteral("USB microphone hears you"));
  // Nothing is left of what was heard, and nothing listens any more.
  const auto expectRest = [&] {
    f.executor.advance(100ms);
    EXPECT_TRUE(f.recorders.running.empty());
    for (const QString& path : f.recorders.paths) EXPECT_FALSE(QFile::exists(path)) << qPrintable(path);
    EXPECT_EQ(f.microphone.level(), 0);
  };
  firstRun.setActive(false);
  expectRest();
  firstRun.setActive(true);
  f.executor.advance(100ms);
  EXPECT_EQ(f.recorders.running.size(), 1U);
  firstRun.next();
  expectRest();
  firstRun.back();
  f.executor.advance(100ms);
  // Another microphone has to prove itself.
  f.audio.list.push_back(FakeAudioDevices::microphone(2, QStringLiteral("web"), QStringLiteral("Webcam")));
  f.recorders.decibels = -160;
  f.audio.defaultUid = QStringLiteral("web");
  f.devices.scanDevices(DeviceScanReason::defaultInput);
  f.executor.advance(200ms);
  EXPECT_FALSE(firstRun.isStepDone());
  EXPECT_EQ(f.recorders.running.size(), 1U);
  f.firstRun.reset();
}

TEST(FirstRun, MicrophoneSaysWhyItHearsNothing) {
  Fixture f;
  f.recorders.recordError = PlatformError{QStringLiteral("audio"), 1, QStringLiteral("The sound server refused.")};
  f.show();
  f.executor.advance(100ms);
  EXPECT_EQ(f.microphone.statusText(), QStringLiteral("The sound server refused."));
  f.recorders.recordError.reset();
  f.executor.advance(3s);
  EXPECT_FALSE(f.microphone.hasProblem()) << "tried again by itself";
  f.recorders.interrupt({AudioRecorder::Interruption::Kind::deviceGone, QStringLiteral("It went away.")});
  EXPECT_EQ(f.microphone.statusText(), QStringLiteral("It went away."));
  f.audio.list.clear();
  f.audio.defaultUid.reset();
  f.devices.scanDevices(DeviceScanReason::deviceList);
  EXPECT_TRUE(f.microphone.statusText().startsWith(QStringLiteral("No microphone")));
}

TEST(FirstRun, AnInstalledModelCounts) {
  Fixture f;
  f.install(QStringLiteral("base.en"));
  FirstRunViewModel& firstRun = f.show();
  firstRun.next();
  EXPECT_EQ(firstRun.chosenModel(), QStringLiteral("base.en"));
  firstRun.next();
  const ModePtr mode = f.localMode();
  ASSERT_NE(mode, nullptr);
  EXPECT_EQ(mode->model, QStringLiteral("base.en"));
  EXPECT_EQ(mode->language, QStringLiteral("en"));
  EXPECT_EQ(QUuid::fromString(f.state.data().selectedModeId), *mode->id);
  EXPECT_EQ(QUuid::fromString(f.settings.currentModeId()), *mode->id);
  EXPECT_EQ(f.chosen, QStringList{QStringLiteral("base.en")});
  // Another one goes into the same mode; what the user changed there stays.
  mode->name = QStringLiteral("Mine");
  f.store->save();
  f.install(QStringLiteral("tiny"));
  firstRun.chooseModel(QStringLiteral("tiny"));
  EXPECT_EQ(mode->model, QStringLiteral("tiny"));
  EXPECT_EQ(mode->name, QStringLiteral("Mine"));
}

TEST(FirstRun, AChosenModelIsUsedWhenItHasArrived) {
  Fixture f;
  FirstRunViewModel& firstRun = f.show();
  f.goTo(FirstRunViewModel::modelStep);
  EXPECT_FALSE(firstRun.isStepDone());
  for (const QString& model : {QStringLiteral("small"), QStringLiteral("base")}) {
    firstRun.chooseModel(model);
    EXPECT_EQ(firstRun.chosenModel(), model);
  }
  EXPECT_TRUE(firstRun.isStepDone()) << "it goes on while the next steps are gone through";
  f.goTo(FirstRunViewModel::tryStep);
  EXPECT_TRUE(firstRun.tryProblem().contains(QStringLiteral("downloaded")));
  EXPECT_EQ(f.localMode(), nullptr);
  f.install(QStringLiteral("base"));
  EXPECT_EQ(f.chosen, QStringList{QStringLiteral("base")});
  EXPECT_EQ(firstRun.tryProblem(), QString());
  f.state.update([](AppStateData& data) { data.lastTranscription = QStringLiteral("Hello there."); });
  EXPECT_TRUE(firstRun.isStepDone());
  EXPECT_EQ(firstRun.heardText(), QStringLiteral("Hello there."));
}

TEST(FirstRun, SaysHowFastThisMachineIs) {
  Fixture f;
  FakeMediaFile speech;
  speech.frames = speech.nominalFrames.emplace(11 * 48000);
  f.readers.files[QStringLiteral("/speech.mp3")] = speech;
  // The run that is held has no end to wait for.
  const auto until = [&](const std::function<bool()>& condition) {
    while (!condition()) {
      f.executor.runReady();
      std::this_thread::yield();
    }
  };
  f.install(QStringLiteral("base"));
  FirstRunViewModel& firstRun = f.show();
  firstRun.chooseModel(QStringLiteral("base"));
  f.engine.holdRuns(true);
  f.goTo(FirstRunViewModel::modelStep);
  until([&] { return f.engine.runs().size() == 1; });
  EXPECT_TRUE(firstRun.speedText().startsWith(QStringLiteral("Measuring")));
  // A dictation has the machine to itself, and what was broken off is measured anew.
  f.setRecording(true);
  EXPECT_EQ(firstRun.speedText(), QString());
  until([&] { return f.engine.interruptedRuns() == 1; });
  f.setRecording(false);
  until([&] { return f.engine.runs().size() == 2; });
  f.executor.advance(2s);
  f.engine.holdRuns(false);
  until([&] { return !firstRun.speedText().startsWith(QStringLiteral("Measuring")); });
  EXPECT_EQ(firstRun.speedText(),
            QStringLiteral("This computer writes one minute of speech in about 4\u00A0s with Base "
                           "(Multilingual). Measured just now."));
  f.firstRun.reset();
}

TEST(FirstRun, ADownloadThatFailsIsNotWaitedFor) {
  Fixture f;
  f.downloader.answer = [](const HttpDownloadRequest&) { return FakeHttpAnswer{.statusCode = 404}; };
  FirstRunViewModel& firstRun = f.show();
  f.goTo(FirstRunViewModel::modelStep);
  for (int attempt = 0; attempt < 2; ++attempt) {
    firstRun.chooseModel(QStringLiteral("base"));
    EXPECT_EQ(firstRun.chosenModel(), QStringLiteral("base"));
    f.executor.runUntil([&] { return !firstRun.modelProblem().isEmpty() && f.models.downloadingModels().isEmpty(); });
    EXPECT_EQ(firstRun.chosenModel(), QString());
    EXPECT_FALSE(firstRun.tryProblem().contains(QStringLiteral("downloaded"))) << qPrintable(firstRun.tryProblem());
  }
  EXPECT_EQ(f.downloader.requests.size(), 2U);
}

TEST(FirstRun, AShortcutPressedHereIsOnlyATrial) {
  Fixture f;
  FirstRunViewModel& firstRun = f.show();
  const auto hold = [&](bool isHeld) {
    f.state.update([&](AppStateData& data) { data.isToggleRecordingShortcutHeld = isHeld; });
  };
  f.setRecording(true);
  f.setRecording(false);
  EXPECT_EQ(f.cancels, 0) << "another step";
  f.goTo(FirstRunViewModel::shortcutStep);
  EXPECT_FALSE(firstRun.isStepDone());
  EXPECT_TRUE(f.keys.choose(toggleName, QStringLiteral("Ctrl+Alt+D")));
  EXPECT_TRUE(firstRun.isStepDone());
  hold(true);
  EXPECT_TRUE(firstRun.isLit());
  hold(false);
  EXPECT_FALSE(firstRun.isLit());
  EXPECT_TRUE(firstRun.hasLit());
  f.setRecording(true);
  EXPECT_EQ(f.cancels, 1);
  f.setRecording(false);
  EXPECT_TRUE(firstRun.isTryingShortcut());
  // In another program it is a dictation.
  firstRun.setActive(false);
  f.setRecording(true);
  EXPECT_EQ(f.cancels, 1);
}

TEST(Shortcuts, AreRecordedByPressingThem) {
  Fixture f;
  const auto row = [&](const QString& name, int role) {
    for (int i = 0; i < f.keys.rowCount(); ++i)
      if (f.keys.index(i).data(ShortcutsViewModel::nameRole) == name) return f.keys.index(i).data(role);
    return QVariant();
  };
  const QString mode = QStringLiteral("changeMode");
  f.pressFor(toggleName, QStringLiteral("Ctrl+Alt+D"));
  EXPECT_EQ(f.keys.recordingName(), QString());
  EXPECT_EQ(f.shortcuts.shortcut(toggleName), KeyCombination::parse(QStringLiteral("Ctrl+Alt+D")));
  f.pressFor(toggleName, {});
  EXPECT_EQ(f.keys.toggleKeys(), QStringLiteral("Ctrl+Alt+D")) << "Escape leaves them";

  f.shortcuts.takenByOthers = {QStringLiteral("Super+L")};
  EXPECT_TRUE(f.keys.choose(mode, QStringLiteral("F9")));
  for (const auto& [combination, word] : {std::pair("d", "character"),
                                          {"Shift+d", "character"},
                                          {"Super+L", "taken"},
                                          {"Ctrl+Alt+D", "Start and stop dictating"}}) {
    f.pressFor(mode, QString::fromLatin1(combination));
    const QString problem = row(mode, ShortcutsViewModel::problemRole).toString();
    EXPECT_TRUE(problem.contains(QLatin1String(word))) << combination << ": " << qPrintable(problem);
    EXPECT_EQ(row(mode, ShortcutsViewModel::keysRole), QStringLiteral("F9")) << "the former keys stay";
    EXPECT_EQ(f.shortcuts.shortcut(mode), KeyCombination::parse(QStringLiteral("F9")));
  }
  for (const auto& [name, takesEscape] : {std::pair(mode, false), {QStringLiteral("cancelRecording"), true}}) {
    f.keys.record(name);
    f.executor.runReady();
    EXPECT_EQ(f.shortcuts.escape == GlobalShortcuts::EscapeKey::isRecorded, takesEscape) << qPrintable(name);
  }
  f.pressFor(QStringLiteral("cancelRecording"), QStringLiteral("Escape"));
  EXPECT_EQ(row(QStringLiteral("cancelRecording"), ShortcutsViewModel::keysRole), QStringLiteral("Escape"));
  // A second recording ends the first; what is pressed belongs to the second.
  f.keys.record(toggleName);
  f.executor.runReady();
  EXPECT_TRUE(row(toggleName, ShortcutsViewModel::recordingRole).toBool());
  f.pressFor(mode, QStringLiteral("F10"));
  EXPECT_FALSE(row(toggleName, ShortcutsViewModel::recordingRole).toBool());
  EXPECT_EQ(row(mode, ShortcutsViewModel::keysRole), QStringLiteral("F10"));
  EXPECT_EQ(row(mode, ShortcutsViewModel::problemRole), QString());
  f.keys.clear(toggleName);
  EXPECT_EQ(f.shortcuts.shortcut(toggleName), std::nullopt);
  EXPECT_FALSE(f.keys.hasTrigger());
}

TEST(Shortcuts, OfferTheKeysThatTheKeyboardHas) {
  Fixture f;
  const auto offered = [&] {
    QStringList values;
    for (const QVariant& choice : f.keys.pushToTalkChoices())
      values << choice.toMap()[QStringLiteral("value")].toString();
    return values;
  };
  for (const char* key :
       {"leftControl", "rightControl", "rightAlt", "leftSuper", "capsLock", "menu", "pause", "custom"})
    EXPECT_TRUE(offered().contains(QLatin1String(key))) << key;
  for (const char* key : {"fn", "control", "usbPedal"}) EXPECT_FALSE(offered().contains(QLatin1String(key))) << key;
  f.settings.setPushToTalkMode(PushToTalkMode::control);
  EXPECT_TRUE(offered().contains(QStringLiteral("control"))) << "what is set is shown";
}

TEST(Shortcuts, TheTextSaysWhatHoldingAndTappingDo) {
  Fixture f;
  f.settings.setPushToTalkMode(PushToTalkMode::rightControl);
  const QString taps = f.keys.pushToTalkDetail();
  f.settings.setPushToTalkDoublePressEnabled(false);
  const QString plain = f.keys.pushToTalkDetail();
  EXPECT_NE(taps, plain);
  f.settings.setPushToTalkMode(PushToTalkMode::capsLock);
  EXPECT_TRUE(f.keys.pushToTalkDetail().startsWith(plain) && f.keys.pushToTalkDetail() != plain);
  f.settings.setPushToTalkDoublePressEnabled(true);
  f.settings.setPushToTalkMode(PushToTalkMode::custom);
  EXPECT_EQ(f.keys.pushToTalkDetail(), plain) << "keys of one's own know no taps";
}

// A Wayland session, for example.
TEST(Shortcuts, NothingIsPromisedWhereTheSessionGivesNoKeys) {
  Fixture f;
  EXPECT_TRUE(f.keys.choose(toggleName, QStringLiteral("Ctrl+Alt+D")));
  f.settings.setPushToTalkMode(PushToTalkMode::rightAlt);
  EXPECT_TRUE(f.keys.hasTrigger());
  f.shortcuts.isThere = false;
  EXPECT_FALSE(f.keys.isAvailable());
  EXPECT_FALSE(f.keys.hasTrigger());
  EXPECT_EQ(f.keys.toggleKeys(), QString());
  EXPECT_EQ(f.keys.pushToTalkChoices().size(), 2) << "none, and the one that is set";
  FirstRunViewModel& firstRun = f.show();
  f.goTo(FirstRunViewModel::shortcutStep);
  EXPECT_TRUE(firstRun.isStepDone());
}

}  // namespace
}  // namespace quillmere
