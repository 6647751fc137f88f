#include "core/WaitingText.h"

#include "core/AppState.h"
#include "delivery/AutoPasteHandler.h"

namespace quillmere {

WaitingText::WaitingText(AppState& appState, AutoPasteHandler& handler, const Workspace& workspace, Executor& executor)
    : appState_(appState), handler_(handler), workspace_(workspace), scope_(executor) {}

bool WaitingText::isOnClipboard() const {
  const AppStateData& data = appState_.data();
  return data.lastPaste != PasteOutcome::none && data.lastPaste != PasteOutcome::pasted &&
         handler_.isOnClipboard(data.lastPastedText);
}

bool WaitingText::canBeSent() const {
  return appState_.data().lastPaste == PasteOutcome::typedElsewhere && isOnClipboard();
}

QString WaitingText::targetName() const {
  const auto& target = appState_.data().lastPasteTarget;
  if (!target || !canBeSent() || !workspace_.find(*target)) return {};
  return target->localizedName;
}

void WaitingText::pasteHere() {
  send(std::nullopt);
}

void WaitingText::sendToTarget() {
  if (const auto target = appState_.data().lastPasteTarget) send(target);
}

void WaitingText::send(std::optional<RunningApplication> target) {
  if (!canBeSent()) return;
  PasteRequest request;
  request.text = appState_.data().lastPastedText;
  request.target = std::move(target);
  // At once: a second click finds it on its way.
  appState_.update([](AppStateData& data) {
    data.lastPaste = PasteOutcome::none;
    data.transcriptionPasteFailed = false;
  });
  scope_.spawn(paste(std::move(request)));
}

Task<void> WaitingText::paste(PasteRequest request) {
  const auto keys = std::make_shared<PasteKeys>(PasteKeys::controlV);
  request.onLeft = [keys](PasteKeys told) { *keys = told; };
  const QString text = appState_.data().lastTranscription;
  const PasteOutcome outcome = co_await handler_.paste(std::move(request));
  // The state is about another dictation by now.
  if (appState_.data().lastTranscription.isEmpty() || appState_.data().lastTranscription != text) co_return;
  const bool isPasted = outcome == PasteOutcome::pasted;
  appState_.update([&](AppStateData& data) {
    data.lastPaste = outcome;
    data.lastPasteKeys = *keys;
    data.transcriptionPasteFailed = !isPasted;
    if (isPasted) data.showRecordingDialog = false;
  });
}

}  // namespace quillmere
