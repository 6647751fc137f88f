// Random walks over everything that can happen to dictations, in virtual time. They know no list of cases: after each
// walk every recorded second is in a row or was thrown away by the user, each text went once to its own target, and
// nothing is left on.
#include <gtest/gtest.h>

#include <QHash>
#include <random>
#include <set>

#include "core/RecordingManagerFixture.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

// Under a sanitizer a walk takes ten times as long.
int walksOfARun() {
  const int asked = qEnvironmentVariableIntValue("QUILLMERE_WALKS");
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
  return asked > 0 ? asked : 500;
#endif
#endif
  return asked > 0 ? asked : 10000;
}

// One desktop with push-to-talk on Control and three programs to dictate into; it serves many walks, one after another.
struct Walkers : RecordingManagerFixture {
  Walkers() {
    settings.setPushToTalkMode(PushToTalkMode::control);
    for (const RunningApplication& each : programs)
      accessibility.addApplication(each.processId, node(QStringLiteral("AXWindow")));
    configure();
    subscriptions.push_back(lifecycle.isRecording().observe([this](const bool& isRecording) {
      if (isRecording) {
        began = executor.now();
        return;
      }
      for (const auto& session : persistence->fetchUnfinishedRecordingSessions())
        if (flow->newestTarget()) targetOf.insert(*session->id, flow->newestTarget()->processId);
      const Duration length = executor.now() - began;
      if (length >= 1s) recorded.push_back(length);
    }));
    keySynthesizer.onStroke = [this](const QString&) {
      strokes.push_back({workspace.frontmost ? workspace.frontmost->processId : 0,
                         pasteboard.plainText().value_or(QString()).trimmed()});
    };
  }

  struct Stroke {
    qint64 processId;
    QString text;
  };
  const std::vector<RunningApplication> programs{
      editor,
      {43, QStringLiteral("org.example.Mail"), QStringLiteral("Mail"), {}, false},
      {44, QStringLiteral("org.example.Chat"), QStringLiteral("Chat"), {}, false}};
  TimePoint began{};
  QHash<QUuid, qint64> targetOf;   // by the session of the recording
  std::vector<Duration> recorded;  // of this walk, from one second up
  std::vector<Stroke> strokes;
  std::vector<Subscription> subscriptions;
};

class Walk {
 public:
  Walk(Walkers& walkers, unsigned seed) : f(walkers), random_(seed) {}

  void run() {
    clear();
    const int steps = pick(6, 22);
    for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
      act();
      if (chance(70)) rest();
    }
    bringToRest();
    check();
  }
  const QStringList& story() const { return story_; }

 private:
  int pick(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }
  bool chance(int percent) { return pick(1, 100) <= percent; }

  void clear() {
    for (const auto& row : f.persistence->fetchTranscripts(-1, 0, {}, HistoryFilter::all))
      f.persistence->deleteTranscript(row);
    for (const auto& session : f.persistence->fetchAllRecordingSessions())
      f.persistence->deleteRecordingSession(session);
    for (const QString& file : f.files()) QFile::remove(f.settings.storage().recordingsFolder() + u'/' + file);
    f.recorded.clear();
    f.targetOf.clear();
    f.strokes.clear();
    f.transcriber.calls.clear();
    f.log->clear();
    f.notices.toasts.clear();
    f.recorders.recordError.reset();
    f.recorders.startTakes = f.recorders.stopTakes = Duration::zero();
    f.transcriber.rewriteTakes.reset();
    f.authorization.current = MicrophoneAuthorization::Status::authorized;
    f.pasteboard.isFetchedWhenExpected = true;
    f.accessibility.focus(node(QStringLiteral("AXTextField"))->with(QStringLiteral("AXValue"), QString()));
    f.clock.set(f.clock.now().addSecs(600));
  }

  void act() {
    switch (pick(0, 15)) {
      case 0:
      case 1:
      case 2:
        say("press");
        f.press();
        break;
      case 3:
      case 4:
        say("Control down");
        f.keyboard.setFlags(modifierFlags::control);
        f.executor.advance(Duration(std::chrono::milliseconds(pick(0, 400))));
        break;
      case 5:
      case 6:
        say("Control up");
        f.keyboard.setFlags(0);
        break;
      case 7:
        say("a key");
        f.keyboard.pressKey();
        break;
      case 8:
        say("cancel key");
        ++cancels_;
        f.flow->cancelFromShortcut();
        break;
      case 9:
        say("button that throws away");
        ++cancels_;
        f.flow->toggleRecording(std::nullopt, true, RecordingTriggerSource::uiButton);
        break;
      case 10:
        say("another program in front");
        // In the very moment in which a target is being brought up the text stays on the clipboard.
        isHindered_ = isHindered_ || f.flow->underWay() > 0;
        f.workspace.setFrontmost(f.programs[size_t(pick(0, 2))]);
        break;
      case 11:
        say("starts are slow or fail");
        f.recorders.startTakes = std::chrono::milliseconds(pick(0, 900));
        f.recorders.recordError.reset();
        if (chance(30)) f.recorders.recordError = PlatformError{QStringLiteral("audio"), 5, QStringLiteral("no")};
        if (chance(20)) f.authorization.current = MicrophoneAuthorization::Status::denied;
        break;
      case 12:
        say("stops are slow");
        f.recorders.stopTakes = std::chrono::milliseconds(pick(0, 400));
        break;
      case 13:
        if (f.recorders.running.empty()) break;
        say("microphone gone");
        f.recorders.interrupt({AudioRecorder::Interruption::Kind::deviceGone, QStringLiteral("gone")});
        break;
      case 14:
        say("the engine is slow, fails or hears nothing");
        f.transcriber.takes = std::chrono::milliseconds(pick(10, 4000));
        answer_ = pick(0, 5);
        f.transcriber.rewriteTakes = chance(30) ? std::optional<Duration>(600ms) : std::nullopt;
        break;
      case 15:
        say("the field is secure, or nobody fetches");
        isHindered_ = true;
        f.pasteboard.isFetchedWhenExpected = chance(50);
        f.accessibility.focus(chance(50)
                                  ? node(QStringLiteral("AXTextField"))
                                        ->with(QStringLiteral("AXSubrole"), QStringLiteral("AXSecureTextField"))
                                  : node(QStringLiteral("AXTextField"))->with(QStringLiteral("AXValue"), QString()));
        break;
    }
    f.executor.runReady();
    setAnswer();
  }

  // Each text says which it is.
  void setAnswer() {
    if (answer_ == 4)
      f.transcriber.answer = Failed{AnyError(AudioError{AudioError::Kind::noAudioTrack, QString()})};
    else if (answer_ == 5)
      f.transcriber.answer = QString();
    else
      f.transcriber.answer = QStringLiteral("Text %1.");
  }

  void rest() {
    const int kind = pick(0, 9);
    const auto time = std::chrono::milliseconds(kind == 0  ? pick(8000, 20000)
                                                : kind < 4 ? pick(1, 300)
                                                           : pick(300, 3000));
    f.clock.set(f.clock.now().addSecs(1));
    f.executor.advance(time);
    if (time >= 2s) checkWhatIsSeen();
  }

  // Whatever still goes on gets its time; what waits for the user gets an answer.
  void bringToRest() {
    say("to rest");
    f.recorders.recordError.reset();
    f.keyboard.setFlags(0);
    f.executor.advance(3s);
    for (int i = 0; i < 3 && f.lifecycle.isRecording().get(); ++i) {
      f.press();
      f.executor.advance(5s);
    }
    f.executor.advance(120s);
  }

  void checkWhatIsSeen() {
    SCOPED_TRACE(story_.join(QStringLiteral(", ")).toStdString());
    const bool isRecording = !f.recorders.running.empty();
    EXPECT_LE(f.recorders.running.size(), 1u);
    EXPECT_EQ(f.lifecycle.isRecording().get(), isRecording);
    if (isRecording) {  // no microphone is open unseen
      EXPECT_EQ(f.stateLabel(), "recording");
      EXPECT_TRUE(f.state().showRecordingDialog);
      EXPECT_TRUE(f.isCancelShortcutOn());
      EXPECT_EQ(f.powerActivity.held(), 1);
    } else {
      EXPECT_NE(f.stateLabel(), "recording");
    }
    EXPECT_EQ(f.stateLabel() != "idle", f.isCancelShortcutOn());
    EXPECT_TRUE(isRecording || !f.state().showCancelConfirmation);
  }

  void check() {
    SCOPED_TRACE(story_.join(QStringLiteral(", ")).toStdString());
    EXPECT_TRUE(f.recorders.running.empty());
    EXPECT_EQ(f.stateLabel(), "idle");
    EXPECT_EQ(f.flow->underWay(), 0u);
    EXPECT_EQ(f.powerActivity.held(), 0);
    EXPECT_FALSE(f.isCancelShortcutOn());
    EXPECT_FALSE(f.state().showCancelConfirmation);

    // Every recorded second is in a row, and every row has its audio.
    std::multiset<qint64> recorded;
    for (const Duration& length : f.recorded) recorded.insert(length / 1ms);
    std::multiset<qint64> kept;
    int discarded = 0;
    for (const TranscriptPtr& row : f.persistence->fetchTranscripts(-1, 0, {}, HistoryFilter::all)) {
      kept.insert(qRound64(row->duration.value_or(0) * 1000));
      EXPECT_TRUE(QFile::exists(row->audioFilePath.value_or(QString())));
      const QString status = row->status.value_or(QString());
      EXPECT_TRUE(status == u"completed" || status == u"failed" || status == u"discarded") << status.toStdString();
      discarded += status == u"discarded";
    }
    EXPECT_EQ(kept, recorded);
    EXPECT_LE(discarded, cancels_ + chords());
    EXPECT_TRUE(f.persistence->fetchUnfinishedRecordingSessions().empty());
    EXPECT_EQ(f.files().filter(QStringLiteral(".incomplete_")), QStringList());

    // Each text went once, and to where its dictation began.
    QHash<QString, int> times;
    for (const auto& stroke : f.strokes) ++times[stroke.text];
    for (const TranscriptPtr& row : f.persistence->fetchTranscripts(-1, 0, {}, HistoryFilter::all)) {
      const QString text = row->text.value_or(QString());
      if (row->status != QStringLiteral("completed") || text.isEmpty()) continue;
      const int count = times.take(text);
      EXPECT_TRUE(count == 1 || (isHindered_ && count == 0)) << count << " times " << text.toStdString();
      for (const auto& stroke : f.strokes)
        if (stroke.text == text) {
          EXPECT_EQ(stroke.processId, f.targetOf.value(*row->recordingSession->id)) << text.toStdString();
        }
    }
    EXPECT_TRUE(times.isEmpty()) << "something else was typed: " << times.keys().join(u' ').toStdString();
  }

  int chords() const { return int(story_.count(QStringLiteral("a key"))); }
  void say(const char* what) { story_ << QString::fromLatin1(what); }

  Walkers& f;
  std::mt19937 random_;
  QStringList story_;
  int cancels_ = 0;
  int answer_ = 0;
  bool isHindered_ = false;
};

TEST(DictationWalkTest, WhateverHappensNothingIsLostOrLeftOn) {
  constexpr int walksOfAFixture = 100;
  const int walks = walksOfARun();
  const unsigned seed = qEnvironmentVariableIsSet("QUILLMERE_WALK_SEED")
                            ? unsigned(qEnvironmentVariableIntValue("QUILLMERE_WALK_SEED"))
                            : std::random_device()();
  std::printf("%d walks from seed %u\n", walks, seed);
  std::unique_ptr<Walkers> walkers;
  for (int i = 0; i < walks; ++i) {
    if (i % walksOfAFixture == 0) walkers = std::make_unique<Walkers>();
    Walk walk(*walkers, seed + unsigned(i));
    walk.run();
    if (::testing::Test::HasFailure()) {
      std::printf("QUILLMERE_WALK_SEED=%u QUILLMERE_WALKS=1 shows it again\n", seed + unsigned(i));
      break;
    }
  }
}

}  // namespace
}  // namespace quillmere
