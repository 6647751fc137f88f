#pragma once
#include <QtGlobal>
#include <variant>
#include <vector>

namespace quillmere {

// What a press, a held key or the cancel key means, as a pure function of what the newest dictation does. Older
// dictations go on by themselves and don't matter here. The effects are to be performed in their order.
class PressReducer {
 public:
  using DictationId = quint64;
  enum class Phase { none, starting, recording, finishing, transcribing, ended };

  struct State {
    DictationId newest = 0;
    Phase phase = Phase::none;
    bool isHeld = false;            // push-to-talk began it
    bool stopsWhenRunning = false;  // the stop came before the recorder ran
    bool isQuestionUp = false;      // whether to throw a long recording away
    bool isClosed = false;          // the application ends: nothing begins any more
    bool operator==(const State&) const = default;
  };

  // --- what the user does
  struct Press {};      // begins, or stops what runs
  struct HoldBegan {};  // the push-to-talk key
  struct HoldEnded {};
  struct Discard {};  // a button that throws away what runs
  struct CancelKey {
    double recordedSeconds = 0;
    bool canAsk = true;  // there is a pill to ask with
  };
  struct Interference {  // another key while the push-to-talk key was held
    CancelKey as;
  };
  // --- what the dictation of that number does
  struct Running {
    DictationId id;
  };
  struct RecorderEnded {  // by itself
    DictationId id;
  };
  struct Transcribing {
    DictationId id;
  };
  struct Ended {
    DictationId id;
  };
  struct Closing {};
  using Event = std::variant<Press, HoldBegan, HoldEnded, Interference, Discard, CancelKey, Running, RecorderEnded,
                             Transcribing, Ended, Closing>;

  struct Effect {
    enum class Kind {
      begin,                // a new dictation of that number
      stop,                 // its recording ends and is transcribed
      discard,              // its start, its recording or what is being finished is thrown away
      cancelTranscription,  // its text is not wanted any more
    };
    Kind kind;
    DictationId id;
    bool operator==(const Effect&) const = default;
  };
  struct Step {
    State state;
    std::vector<Effect> effects;
  };

  static Step step(const State& state, const Event& event);

  // The cancel key belongs to the newest dictation as long as there is something to be cancelled.
  static bool isCancelKeyOn(const State& state);

  static constexpr double askBeforeDiscardSeconds = 15.0;
};

}  // namespace quillmere
