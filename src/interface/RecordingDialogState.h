#pragma once
#include <QString>

namespace quillmere {

struct RecordingDialogState {
  bool isLoading = false;
  bool isPostProcessing = false;
  bool isRetrying = false;
  QString transcribedText;
  bool showTranscription = false;
  bool hasError = false;
  bool showCopiedFeedback = false;
  bool showSuccessState = false;
  bool usingCancelOverlayEventTap = false;
  bool operator==(const RecordingDialogState&) const = default;
};

}  // namespace quillmere
