#pragma once
#include <QString>

namespace quillmere {

struct RecordingDialogState {
  bool isLoading = false;
  bool isPostProcessing = false;
  bool isRetrying = false;
  bool isFinishing = false;  // the stop button was pressed
  QString transcribedText;
  bool hasError = false;  // the dialog leaves because the dictation failed
  bool showCopiedFeedback = false;
  bool showSuccessState = false;
  bool usingCancelOverlayEventTap = false;
  bool operator==(const RecordingDialogState&) const = default;
};

}  // namespace quillmere
