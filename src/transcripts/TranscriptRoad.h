#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "domain/ApplicationContext.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/TranscriptionResult.h"

namespace quillmere {

// What is to become a text. A value: nothing of it is kept when the road ends.
struct TranscriptJob {
  enum class Source { recording, file, retry };
  enum class Stage { trimming, transcribing, rewriting };

  QString audioPath;  // finished audio; the road never changes or removes it
  double durationSeconds = 0;
  ModePtr mode;      // resolved by its identifier at the beginning; null is the default mode
  QString modeName;  // for the row, where the mode is null
  Source source = Source::recording;
  TranscriptPtr row;            // of an earlier try, to be used again; null makes a new one
  RecordingSessionPtr session;  // settled by the save that writes the row; may be null
  std::optional<ApplicationContext> applicationContext;
  std::optional<QString> selectedText;
  std::function<void(const TranscriptPtr&)> onRow;  // the row is stored: from here on nothing is lost
  std::function<void(Stage)> onStage;
  std::function<void(const QString&)> onRewrittenText;  // grows while a language model writes
  // A waiting or running engine is asked for its text without a limit where this is empty, else how far it is (0 to 1).
  std::function<void(float)> onProgress;
};

struct TranscriptOutcome {
  TranscriptPtr row;
  std::optional<TranscriptionResult> result;  // else `error` says why there is none
  std::optional<AnyError> error;
  Duration trimming{};
  Duration decoding{};  // from the beginning of the engine's work to its text, without the wait for an older one
  std::optional<Duration> rewriting;
  TimePoint decodingBegan{};
  bool isEmpty() const { return result && result->text.trimmed().isEmpty(); }
};

// The one road from finished audio to a row and a text. Main thread. Any number of jobs may be on it; a local engine
// takes them in their order, and none ends another. A job is cancelled by cancelling the task that awaits it: its row
// ends as "failed" with a reason, its audio stays, and Cancelled is thrown. Every other failure is in the outcome, and
// the row says it.
class TranscriptRoad {
 public:
  virtual ~TranscriptRoad() = default;
  virtual Task<TranscriptOutcome> run(TranscriptJob job) = 0;
};

}  // namespace quillmere
