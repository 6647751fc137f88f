#include "core/PressReducer.h"

#include <gtest/gtest.h>

#include <QHash>
#include <QStringList>

namespace quillmere {
namespace {

using R = PressReducer;
using Phase = R::Phase;

const QHash<R::Effect::Kind, const char*> names{{R::Effect::Kind::begin, "begin"},
                                                {R::Effect::Kind::stop, "stop"},
                                                {R::Effect::Kind::discard, "discard"},
                                                {R::Effect::Kind::cancelTranscription, "cancelTranscription"}};

// "begin 1" for each effect.
QString effectsOf(const R::Step& step) {
  QStringList texts;
  for (const auto& effect : step.effects) texts << QStringLiteral("%1 %2").arg(names.value(effect.kind)).arg(effect.id);
  return texts.join(", ");
}

R::State inPhase(Phase phase, bool isHeld = false) {
  R::State state;
  state.newest = phase == Phase::none ? 0 : 7;
  state.phase = phase;
  state.isHeld = isHeld;
  return state;
}

TEST(PressReducerTest, WhatEveryEventDoesInEveryPhase) {
  const R::CancelKey early{3.0, true};
  const R::CancelKey late{20.0, true};
  const R::CancelKey lateWithoutPill{20.0, false};
  struct Case {
    const char* name;
    R::Event event;
    bool isHeld;
    const char* none;
    const char* starting;
    const char* recording;
    const char* finishing;
    const char* transcribing;
    const char* ended;
  };
  const Case cases[] = {
      {"press", R::Press{}, false, "begin 1", "", "stop 7", "begin 8", "begin 8", "begin 8"},
      {"hold", R::HoldBegan{}, false, "begin 1", "", "", "begin 8", "begin 8", "begin 8"},
      {"its end", R::HoldEnded{}, true, "", "", "stop 7", "", "", ""},
      {"the end of a hold that began nothing", R::HoldEnded{}, false, "", "", "", "", "", ""},
      {"chord", R::Interference{early}, true, "", "discard 7", "discard 7", "", "", ""},
      {"chord during another's recording", R::Interference{early}, false, "", "", "", "", "", ""},
      {"button that throws away", R::Discard{}, false, "", "discard 7", "discard 7", "", "", ""},
      {"cancel key", early, false, "", "discard 7", "discard 7", "discard 7", "cancelTranscription 7", ""},
      {"cancel key above 15 s", late, false, "", "discard 7", "", "discard 7", "cancelTranscription 7", ""},
      {"the same without a pill", lateWithoutPill, false, "", "discard 7", "discard 7", "discard 7",
       "cancelTranscription 7", ""},
      {"microphone gone", R::RecorderEnded{7}, false, "", "", "stop 7", "", "", ""},
      {"an older one's microphone", R::RecorderEnded{6}, false, "", "", "", "", "", ""},
  };
  for (const Case& each : cases) {
    const std::pair<Phase, const char*> phases[] = {{Phase::none, each.none},
                                                    {Phase::starting, each.starting},
                                                    {Phase::recording, each.recording},
                                                    {Phase::finishing, each.finishing},
                                                    {Phase::transcribing, each.transcribing},
                                                    {Phase::ended, each.ended}};
    for (const auto& [phase, expected] : phases) {
      SCOPED_TRACE(std::string(each.name) + " in phase " + std::to_string(int(phase)));
      EXPECT_EQ(effectsOf(R::step(inPhase(phase, each.isHeld), each.event)), expected);
    }
  }
}

TEST(PressReducerTest, TheQuestionIsAnsweredOrGoesWithWhatItIsAbout) {
  const R::CancelKey late{20.0, true};
  const R::State asking = R::step(inPhase(Phase::recording, true), late).state;
  ASSERT_TRUE(asking.isQuestionUp);
  EXPECT_EQ(asking.phase, Phase::recording);
  struct Case {
    R::Event event;
    bool isUp;
    const char* effects;
  };
  for (const Case& each : {Case{late, false, ""}, Case{R::Discard{}, false, "discard 7"},
                           Case{R::Press{}, false, "stop 7"}, Case{R::HoldEnded{}, false, "stop 7"},
                           Case{R::Interference{late}, true, ""}, Case{R::RecorderEnded{7}, false, "stop 7"},
                           Case{R::Ended{7}, false, ""}, Case{R::Ended{6}, true, ""}, Case{R::Closing{}, false, ""}}) {
    const R::Step step = R::step(asking, each.event);
    EXPECT_EQ(step.state.isQuestionUp, each.isUp);
    EXPECT_EQ(effectsOf(step), each.effects);
  }
}

TEST(PressReducerTest, OlderDictationsChangeNothingOfTheNewest) {
  // A stop that came before the recorder ran, which then never did, isn't one of the next.
  R::State next = R::step(R::step({}, R::Press{}).state, R::Press{}).state;
  next = R::step(R::step(next, R::Ended{1}).state, R::Press{}).state;
  EXPECT_EQ(effectsOf(R::step(next, R::Running{2})), "");
  const R::State newest = inPhase(Phase::recording);
  for (const R::Event& event : {R::Event(R::Running{6}), R::Event(R::Transcribing{6}), R::Event(R::Ended{6})})
    EXPECT_EQ(R::step(newest, event).state, newest);
  EXPECT_TRUE(R::isCancelKeyOn(newest));
  EXPECT_FALSE(R::isCancelKeyOn(inPhase(Phase::ended)));
  // A text that was taken back while its file was being finished doesn't come back as one that is transcribed.
  EXPECT_EQ(R::step(inPhase(Phase::ended), R::Transcribing{7}).state.phase, Phase::ended);
  // The application ends.
  const R::State closed = R::step(inPhase(Phase::ended), R::Closing{}).state;
  EXPECT_EQ(effectsOf(R::step(closed, R::Press{})), "");
  EXPECT_EQ(effectsOf(R::step(closed, R::HoldBegan{})), "");
}

}  // namespace
}  // namespace quillmere
