#include "core/PressReducer.h"

namespace quillmere {
namespace {

using R = PressReducer;
using Kind = R::Effect::Kind;
using Phase = R::Phase;

struct Stepper {
  R::State state;

  R::Step operator()(const R::Press&) {
    if (state.phase == Phase::starting) return stopOnceRunning();
    if (state.phase == Phase::recording) return stop();
    return begin(false);
  }

  R::Step operator()(const R::HoldBegan&) {
    if (isListening()) return unchanged();
    return begin(true);
  }

  R::Step operator()(const R::HoldEnded&) {
    if (!state.isHeld) return unchanged();
    if (state.phase == Phase::starting) return stopOnceRunning();
    if (state.phase == Phase::recording) return stop();
    return unchanged();
  }

  R::Step operator()(const R::Interference& event) {
    // A chord spoils what the held key began, and nothing else; it is no answer to a question either.
    if (!state.isHeld || !isListening() || state.isQuestionUp) return unchanged();
    return (*this)(event.as);
  }

  R::Step operator()(const R::Discard&) {
    if (!isListening()) return unchanged();
    return discard();
  }

  R::Step operator()(const R::CancelKey& key) {
    if (state.isQuestionUp) {
      state.isQuestionUp = false;
      return unchanged();
    }
    switch (state.phase) {
      case Phase::starting:
      case Phase::finishing:
        return discard();
      case Phase::recording:
        if (key.recordedSeconds <= R::askBeforeDiscardSeconds || !key.canAsk) return discard();
        state.isQuestionUp = true;
        return unchanged();
      case Phase::transcribing:
        state.phase = Phase::ended;
        return with(Kind::cancelTranscription);
      case Phase::none:
      case Phase::ended:
        break;
    }
    return unchanged();
  }

  R::Step operator()(const R::Running& event) {
    if (event.id != state.newest || state.phase != Phase::starting) return unchanged();
    state.phase = Phase::recording;
    return state.stopsWhenRunning ? stop() : unchanged();
  }

  R::Step operator()(const R::RecorderEnded& event) {
    if (event.id != state.newest || state.phase != Phase::recording) return unchanged();
    return stop();
  }

  R::Step operator()(const R::Transcribing& event) {
    if (event.id == state.newest && state.phase == Phase::finishing) state.phase = Phase::transcribing;
    return unchanged();
  }

  R::Step operator()(const R::Ended& event) {
    if (event.id != state.newest) return unchanged();
    state.phase = Phase::ended;
    state.isQuestionUp = false;
    return unchanged();
  }

  R::Step operator()(const R::Closing&) {
    state.isClosed = true;
    state.isQuestionUp = false;
    return unchanged();
  }

 private:
  bool isListening() const { return state.phase == Phase::starting || state.phase == Phase::recording; }
  R::Step unchanged() const { return {state, {}}; }
  R::Step with(Kind kind) const { return {state, {{kind, state.newest}}}; }

  R::Step begin(bool isHeld) {
    if (state.isClosed) return unchanged();
    R::State fresh;
    fresh.newest = state.newest + 1;
    fresh.phase = Phase::starting;
    fresh.isHeld = isHeld;
    state = fresh;
    return with(Kind::begin);
  }
  R::Step stop() {
    state.phase = Phase::finishing;
    state.isQuestionUp = false;
    return with(Kind::stop);
  }
  R::Step stopOnceRunning() {
    state.stopsWhenRunning = true;
    return unchanged();
  }
  R::Step discard() {
    state.phase = Phase::ended;
    state.isQuestionUp = false;
    return with(Kind::discard);
  }
};

}  // namespace

PressReducer::Step PressReducer::step(const State& state, const Event& event) {
  return std::visit(Stepper{state}, event);
}

bool PressReducer::isCancelKeyOn(const State& state) {
  switch (state.phase) {
    case Phase::starting:
    case Phase::recording:
    case Phase::finishing:
    case Phase::transcribing:
      return true;
    case Phase::none:
    case Phase::ended:
      break;
  }
  return false;
}

}  // namespace quillmere
