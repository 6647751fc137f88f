#include "delivery/AutoPasteHandler.h"

#include "base/text/LocalizedText.h"

namespace quillmere {

// Keeps the key monitor suspended as long as it lives.
class AutoPasteHandler::Suspension {
 public:
  explicit Suspension(AutoPasteHandler& handler) : handler_(handler) { handler_.suspend(true); }
  Suspension(const Suspension&) = delete;
  Suspension& operator=(const Suspension&) = delete;
  ~Suspension() { handler_.suspend(false); }

 private:
  AutoPasteHandler& handler_;
};

AutoPasteHandler::AutoPasteHandler(const AutoPasteServices& services, AutoPasteHandlerHooks hooks,
                                   const Logging& logging)
    : workspace_(services.workspace),
      permission_(services.permission),
      hooks_(std::move(hooks)),
      logger_(logging.logger(QStringLiteral("AutoPasteHandler"))),
      keeper_(services.pasteboard, services.settings, services.executor, logging),
      command_(services.pasteboard, keeper_.selection(), services.keys, services.workspace, services.accessibility,
               logging),
      smartPaste_(keeper_, command_, services.pasteboard, services.keys, services.workspace, hooks_.paste, logging),
      scope_(services.executor) {}

Task<PasteOutcome> AutoPasteHandler::paste(PasteRequest request) {
  if (request.text.trimmed().isEmpty()) co_return PasteOutcome::none;
  auto pasting = scope_.spawn(run(std::move(request)));
  PasteOutcome outcome = PasteOutcome::cancelled;
  try {
    outcome = co_await pasting.join();
  } catch (const Cancelled&) {
  }
  log(outcome);
  co_return outcome;
}

Task<PasteOutcome> AutoPasteHandler::run(PasteRequest request) {
  const SerialGate::Pass turn = co_await gate_.enter();
  const Suspension suspension(*this);
  const PasteOutcome outcome = co_await smartPaste_.paste(std::move(request));
  if (outcome != PasteOutcome::notFetched || permission_.isTrusted()) co_return outcome;
  explainMissingPermission();
  co_return PasteOutcome::noPermission;
}

// The user sees that the text did not arrive; this says why Quillmere could do no better.
void AutoPasteHandler::explainMissingPermission() {
  permission_.logGuidance();
  if (!hooks_.showAlert) return;
  const AccessibilityAlert alert{localizedText("audio.alert.accessibility.title"),
                                 localizedText("audio.alert.accessibility.message"),
                                 localizedText("audio.alert.accessibility.open"), localizedText("common.cancel"),
                                 [&permission = permission_] { permission.openSettings(); }};
  hooks_.showAlert(alert);
}

std::shared_ptr<TypingWatch> AutoPasteHandler::watchTyping() {
  return std::make_shared<TypingWatch>(workspace_, [this] { return isPasting_; });
}

void AutoPasteHandler::log(PasteOutcome outcome) {
  switch (outcome) {
    case PasteOutcome::pasted:
      logger_.info("✅ Auto-paste successful");
      break;
    case PasteOutcome::noTarget:
    case PasteOutcome::secureField:
      logger_.info("ℹ️ No valid paste target. Text on clipboard.");
      break;
    case PasteOutcome::notFetched:
    case PasteOutcome::noPermission:
      logger_.info("ℹ️ The target did not take the text. Text on clipboard.");
      break;
    case PasteOutcome::cancelled:
      logger_.info("ℹ️ Paste operation was cancelled");
      break;
    default:
      break;  // said where it happened
  }
}

void AutoPasteHandler::suspend(bool isSuspended) {
  isPasting_ = isSuspended;
  if (hooks_.suspendKeyMonitor) hooks_.suspendKeyMonitor(isSuspended);
}

}  // namespace quillmere
