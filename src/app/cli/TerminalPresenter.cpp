#include "app/cli/TerminalPresenter.h"

#include "app/cli/ProgressBar.h"
#include "base/text/LocalizedText.h"

namespace quillmere {

void TerminalPresenter::showProgress(FileTranscriptionProgress& progress) {
  alert_.reset();
  lastPercent_ = -1;
  if (isQuiet_ || !terminal_.isErrorTerminal()) return;
  watching_ = progress.observe([this](const FileTranscriptionProgressState& state) {
    if (!state.isActive) return;
    const int percent = int(state.progress * 100);
    if (percent == lastPercent_ && state.stage == lastStage_) return;
    lastPercent_ = percent;
    lastStage_ = state.stage;
    const QString stage = localizedText(QStringLiteral("cli.stage.") + stageName(state.stage));
    terminal_.status(progressLine(state.fileName, state.progress, stage, terminal_.columns()));
  });
}

void TerminalPresenter::hideProgress() {
  watching_.reset();
  terminal_.clearStatus();
}

}  // namespace quillmere
