#pragma once
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Published.h"
#include "base/async/Completion.h"
#include "base/async/TaskScope.h"
#include "base/log/Logger.h"
#include "core/Dictation.h"
#include "core/DictationControl.h"
#include "core/DictationHost.h"
#include "core/DictationServices.h"
#include "core/DictationTimings.h"
#include "core/PressReducer.h"

namespace quillmere {

// Every trigger ends here: decides (PressReducer) what a press means and keeps the dictations under way (Dictation).
// The application's state, the pill, the cancel key follow the newest of them; older ones go on by themselves, each to
// its own target. Main thread. docs/dictation.md has the states and what each event does in them.
class RecordingTranscriptionFlow final : public DictationControl, private DictationHost {
 public:
  RecordingTranscriptionFlow(DictationServices services, const Logging& logging);
  // Ends every task where it waits. A recorder that runs is its lifecycle's to end; see shutDown().
  ~RecordingTranscriptionFlow() override;
  RecordingTranscriptionFlow(const RecordingTranscriptionFlow&) = delete;
  RecordingTranscriptionFlow& operator=(const RecordingTranscriptionFlow&) = delete;

  // The one entry of the triggers: starts, or stops what runs. With `stopOnly` what runs is thrown away and nothing
  // starts. Acts in a later turn; of several presses in one turn only the last counts. Without a name the selected mode
  // is meant.
  void toggleRecording(std::optional<QString> modeName, bool stopOnly, RecordingTriggerSource trigger) override;
  // A key that is held to talk. Its end is remembered where the recorder doesn't run yet, and ends only what its
  // beginning began.
  void holdBegan() override;
  void holdEnded() override;
  // Another key was pressed with the one that is held: throws away what the hold began, as the cancel key would.
  void interference() override;
  // Throws away what runs; where that is more than 15 s of speech it asks first (showCancelConfirmation). Takes the
  // text of the newest dictation back while it is being made.
  void cancelFromShortcut() override;

  bool isRecordingNow() const override;
  double liveRecordingDuration() const override;

  // The end of the application: no press counts any more. A running recording is stopped and gets a transcript with
  // the status "failed", from which the history can transcribe it; a transcription under way ends the same way. Returns
  // when nothing is left to be lost; what takes more than 10 s is left to the recovery.
  Task<void> shutDown();

  // Dictations that are still on their way, the newest last.
  size_t underWay() const { return dictations_.size(); }
  const std::optional<RunningApplication>& newestTarget() const { return newestTarget_; }
  // Of the newest dictation that ended with a text or without words; set when its paste is over.
  Published<std::optional<DictationTimings>>& lastTimings() { return lastTimings_; }

 private:
  using DictationPtr = std::shared_ptr<Dictation>;
  struct Press {
    std::optional<QString> modeName;
    bool stopOnly = false;
    RecordingTriggerSource trigger = RecordingTriggerSource::unknown;
    TimePoint at;
  };

  // --- DictationHost
  bool isNewest(const Dictation& dictation) const override;
  void recorderRuns(const Dictation& dictation) override;
  void recorderEnded(const Dictation& dictation) override;
  void transcribes(const Dictation& dictation) override;
  void rewrites(const Dictation& dictation) override;
  void hasText(const Dictation& dictation) override;
  void show(const Dictation& dictation, const std::function<void(AppStateData&)>& change) override;
  void compressLater(const QString& path, const TranscriptPtr& row) override;

  void act(const Press& press);
  bool isStreamingRefused();
  void handle(const PressReducer::Event& event, const Press& press);
  void perform(const PressReducer::Effect& effect, const Press& press);
  void begin(PressReducer::DictationId number, const Press& press);
  Task<void> carry(DictationPtr dictation);
  void ended(const DictationPtr& dictation);
  DictationPtr find(PressReducer::DictationId number) const;
  void publish();
  PressReducer::CancelKey cancelKey() const;
  void switchCancelKey(bool isOn);
  Press pressNow(RecordingTriggerSource trigger) const;
  Task<void> closeEverything();

  DictationServices use_;
  Logger logger_;
  PressReducer::State state_;
  bool isRewriting_ = false;           // the newest dictation
  std::optional<Press> waitingPress_;  // of this turn
  std::vector<DictationPtr> dictations_;
  std::optional<RunningApplication> newestTarget_;
  std::vector<Completion<>> waitingForNone_;
  std::optional<bool> isCancelKeyOn_;  // nothing: its handler is not registered yet
  Published<std::optional<DictationTimings>> lastTimings_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
