#pragma once
#include <QString>
#include <functional>

namespace quillmere {

// What the dialog asks the dictation to do. Empty functions are left out. Main thread.
struct RecordingDialogIntents {
  std::function<void()> stopRecording;        // a toggle that only stops, from a button of the interface
  std::function<void()> cancelTranscription;  // the pipeline's
  std::function<void(const QString&)> copyText;
  std::function<bool()> isTextOnClipboard;  // whether the last delivery left its text there
  std::function<QString()> cancelKey;       // the cancel shortcut in force, as keys are written: "Esc"
};

}  // namespace quillmere
