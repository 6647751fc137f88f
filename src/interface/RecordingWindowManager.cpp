#include "interface/RecordingWindowManager.h"

#include "core/AppState.h"
#include "interface/RecordingDialog.h"
#include "ports/GlobalShortcuts.h"
#include "ports/KeyInterceptor.h"
#include "storage/SettingsManager.h"

namespace quillmere {
namespace {

constexpr Duration arrivedLinger = std::chrono::milliseconds(900);

}  // namespace

RecordingWindowManager::RecordingWindowManager(RecordingPanelFactory makePanel, KeyInterceptor* interceptor,
                                               GlobalShortcuts* shortcuts, Executor& executor, Logging logging)
    : makePanel_(std::move(makePanel)),
      interceptor_(interceptor),
      shortcuts_(shortcuts),
      executor_(executor),
      logging_(std::move(logging)) {}

RecordingWindowManager::~RecordingWindowManager() {
  lifetime_.end();
  following_.reset();
  wish_.reset();
  closePanel();
}

void RecordingWindowManager::follow(AppState& appState, SettingsManager* settings, RecordingDialogIntents intents) {
  assertCurrent(executor_);
  isShown_ = false;
  // The key that shows and hides the panel means what runs now, too.
  if (settings)
    wish_ = settings->observeChanges([this, &appState, settings, intents](const QString& key) {
      if (key != QLatin1String("showRecordingWindow") || !isShown_) return;
      if (!settings->general().showRecordingWindow())
        closePanel();
      else if (!panel_)
        show(appState, settings, intents);
    });
  const auto apply = [this, &appState, settings, intents = std::move(intents)](const AppStateData& data) {
    if (data.showRecordingDialog == isShown_) return;
    isShown_ = data.showRecordingDialog;
    if (isShown_)
      show(appState, settings, intents);
    else
      hide();
  };
  following_ = appState.observe(apply);
  apply(appState.data());
}

void RecordingWindowManager::show(AppState& appState, SettingsManager* settings, RecordingDialogIntents intents) {
  closePanel();
  if (settings && !settings->general().showRecordingWindow()) return;
  panel_ = makePanel_();
  if (!panel_) return;
  meter_.reset();
  dialog_ = std::make_unique<RecordingDialog>(appState, *this, executor_, std::move(intents), logging_);
  RecordingPanel::Handlers handlers;
  handlers.onConfirmCancel = [this] {
    if (dialog_) dialog_->confirmCancel();
  };
  handlers.onDismissQuestion = [this] {
    if (dialog_) dialog_->dismissQuestion();
  };
  handlers.onFinish = [this] {
    if (dialog_) dialog_->finish();
  };
  handlers.onCancel = [this] {
    if (dialog_) dialog_->cancel();
  };
  handlers.onCopy = [this] {
    if (dialog_) dialog_->copy();
  };
  handlers.onPasteHere = [this] {
    if (dialog_) dialog_->pasteHere();
  };
  handlers.onSendToTarget = [this] {
    if (dialog_) dialog_->sendToTarget();
  };
  handlers.onGroundClicked = [this] {
    if (dialog_)
      dialog_->groundClicked();
    else
      closePanel();  // it only lingered
  };
  panel_->setHandlers(std::move(handlers));
  panel_->show(dialog_->content());
  obsTokens_.clear();
  obsTokens_.push_back(panel_->observeScreens([this] {
    if (panel_) panel_->orderFront();
  }));
  obsTokens_.push_back(dialog_->observeContent([this](const OverlayContent& content) {
    if (panel_) panel_->update(content);
  }));
}

void RecordingWindowManager::hide() {
  if (!panel_) return;
  obsTokens_.clear();
  const bool arrived = dialog_ && dialog_->state().showSuccessState;
  OverlayContent last;
  if (arrived) {
    last = dialog_->content();
    if (last.kind == OverlayContent::Kind::working) {
      last.kind = OverlayContent::Kind::pasted;
      last.text = RecordingDialogReducer::pastedText();
    }
  }
  dialog_.reset();
  stopCancelOverlay();
  if (!arrived || last.kind != OverlayContent::Kind::pasted) {
    closePanel();
    return;
  }
  panel_->update(last);
  lingerTimer_ = executor_.startTimer(arrivedLinger, [this] { closePanel(); });
}

void RecordingWindowManager::closePanel() {
  executor_.cancelTimer(lingerTimer_);
  lingerTimer_ = 0;
  obsTokens_.clear();
  dialog_.reset();
  stopCancelOverlay();
  if (auto panel = std::move(panel_)) panel->hide();
}

bool RecordingWindowManager::startCancelOverlay(std::function<void()> onReturn, std::function<void()> onEscape) {
  stopCancelOverlay();
  cancelOverlayOnReturn_ = std::move(onReturn);
  cancelOverlayOnEscape_ = std::move(onEscape);
  isOverlayVisible_ = true;
  // Acted on in a later turn: the keys come from the middle of the key handling.
  const auto later = [this](std::function<void()> RecordingWindowManager::*callback) {
    lifetime_.post(executor_, [this, callback] {
      if (!isOverlayVisible_ || !(this->*callback)) return;
      const auto function = this->*callback;  // it may replace itself
      function();
    });
  };
  yieldQuestionKeys(true);
  if (interceptor_ && interceptor_->start([later] { later(&RecordingWindowManager::cancelOverlayOnReturn_); },
                                          [later] { later(&RecordingWindowManager::cancelOverlayOnEscape_); }))
    return true;
  yieldQuestionKeys(false);
  if (panel_) panel_->setLocalKeysEnabled(true);
  return false;
}

void RecordingWindowManager::stopCancelOverlay() {
  if (!isOverlayVisible_) return;
  isOverlayVisible_ = false;
  if (interceptor_) interceptor_->stop();
  yieldQuestionKeys(false);
  if (panel_) panel_->setLocalKeysEnabled(false);
  cancelOverlayOnReturn_ = nullptr;
  cancelOverlayOnEscape_ = nullptr;
}

void RecordingWindowManager::yieldQuestionKeys(bool isYielded) {
  if (shortcuts_) shortcuts_->yieldKeys(isYielded ? KeyInterceptor::keys() : QStringList());
}

void RecordingWindowManager::setLiveMetrics(float level, double durationSeconds) {
  const float scale = meter_.update(level);
  if (panel_) panel_->setLevel(scale, durationSeconds);
}

}  // namespace quillmere
