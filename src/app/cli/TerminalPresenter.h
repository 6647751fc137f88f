#pragma once
#include <optional>

#include "app/cli/Terminal.h"
#include "files/FileTranscriptionPresenter.h"
#include "files/FileTranscriptionProgress.h"

namespace quillmere {

// The progress of a file as a bar on the terminal. Silent in a pipe and where `isQuiet` is set. Alerts are kept for the
// command, which prints them with the file's name.
class TerminalPresenter final : public FileTranscriptionPresenter {
 public:
  TerminalPresenter(Terminal& terminal, bool isQuiet) : terminal_(terminal), isQuiet_(isQuiet) {}

  void showProgress(FileTranscriptionProgress& progress) override;
  void hideProgress() override;
  void showAlert(const AlertText& alert) override { alert_ = alert; }
  void openHistory() override {}

  const std::optional<AlertText>& alert() const { return alert_; }

 private:
  Terminal& terminal_;
  bool isQuiet_;
  QString lastLine_;
  std::optional<AlertText> alert_;
  Subscription watching_;
};

}  // namespace quillmere
