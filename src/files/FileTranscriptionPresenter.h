#pragma once
#include "files/FileTranscriptionError.h"

namespace quillmere {

class FileTranscriptionProgress;

// What the flow shows of itself: a popup in the desktop application, a bar on a terminal. Main thread.
class FileTranscriptionPresenter {
 public:
  virtual ~FileTranscriptionPresenter() = default;
  // The progress stays valid until hideProgress().
  virtual void showProgress(FileTranscriptionProgress& progress) = 0;
  virtual void hideProgress() = 0;
  virtual void showAlert(const AlertText& alert) = 0;
  // Brings the history forward where there is a window for it.
  virtual void openHistory() = 0;
};

}  // namespace quillmere
