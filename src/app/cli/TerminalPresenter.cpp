#include "app/cli/TerminalPresenter.h"

#include "app/cli/ProgressBar.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

// "1:02:03", "2:03".
QString clockText(int seconds) {
  const QString tail = QStringLiteral("%1:%2").arg(seconds / 60 % 60, seconds < 3600 ? 1 : 2, 10, QChar(u'0'));
  const QString clock = tail.arg(seconds % 60, 2, 10, QChar(u'0'));
  return seconds < 3600 ? clock : QStringLiteral("%1:").arg(seconds / 3600) + clock;
}

}  // namespace

void TerminalPresenter::showProgress(FileTranscriptionProgress& progress) {
  alert_.reset();
  lastLine_.clear();
  if (isQuiet_ || !terminal_.isErrorTerminal()) return;
  watching_ = progress.observe([this](const FileTranscriptionProgressState& state) {
    if (!state.isActive) return;
    QString note = localizedText(QStringLiteral("cli.stage.") + stageName(state.stage));
    // The time left where it can be told, else the time that it has taken so far: something always moves.
    if (state.secondsLeft)
      note += localizedText("cli.progress.left", clockText(*state.secondsLeft));
    else if (state.secondsRunning > 0)
      note += QStringLiteral(", ") + clockText(state.secondsRunning);
    const QString line = progressLine(state.fileName, state.progress, note, terminal_.columns());
    if (line == lastLine_) return;
    lastLine_ = line;
    terminal_.status(line);
  });
}

void TerminalPresenter::hideProgress() {
  watching_.reset();
  terminal_.clearStatus();
}

}  // namespace quillmere
