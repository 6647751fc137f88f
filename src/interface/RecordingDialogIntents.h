#pragma once
#include <QString>
#include <functional>

namespace quillmere {

// What the dialog asks the dictation to do. Empty functions are left out. Main thread.
struct RecordingDialogIntents {
  std::function<void()> finishRecording;      // stop and transcribe
  std::function<void()> cancel;               // what the cancel key does: may ask before it throws a recording away
  std::function<void()> stopRecording;        // throw the recording away: the question was answered
  std::function<void()> cancelTranscription;  // the pipeline's
  std::function<void(const QString&)> copyText;
  std::function<bool()> isTextOnClipboard;  // whether the last delivery left its text there
  // For a text that waits because the user typed elsewhere.
  std::function<void()> pasteHere;
  std::function<void()> sendToTarget;
  std::function<QString()> targetName;  // the program that it was spoken for; empty: it is gone
  // The shortcuts in force that stop and cancel, as keys are written: "Esc".
  std::function<QString()> stopKey;
  std::function<QString()> cancelKey;
};

}  // namespace quillmere
