#pragma once
#include <QString>
#include <optional>

#include "base/async/Executor.h"

namespace quillmere {

// How long one dictation took, step by step, on the steady clock. A step that did not happen has no value.
struct DictationTimings {
  std::optional<Duration> triggerToRecorderRunning;
  std::optional<Duration> triggerToFirstSample;  // where the recorder tells of its first sample
  std::optional<Duration> stopToFileReady;       // from the trigger that stopped it to a readable file
  std::optional<Duration> trimming;              // of silence
  std::optional<Duration> stopToDecoding;        // with the trimming
  std::optional<Duration> decoding;              // the speech engine, with what the pipeline does around it
  std::optional<Duration> postProcessing;        // the language model
  std::optional<Duration> decodedToPasted;       // from the final text to the end of the paste
  std::optional<Duration> stopToText;            // the user's whole wait: to the end of the paste, else to the text
  bool operator==(const DictationTimings&) const = default;

  // "812 ms (file 40 ms, trimming 12 ms, to decoding 55 ms, ...)"; what has no value is left out.
  QString summary() const;
};

}  // namespace quillmere
