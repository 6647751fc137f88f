#include "delivery/AutoPasteHandler.h"

#include "base/text/LocalizedText.h"

namespace quillmere {

// Keeps the key monitor suspended as long as it lives.
class AutoPasteHandler::Suspension {
 public:
  explicit Suspension(AutoPasteHandler& handler) : handler_(handler) { handler_.suspend(1); }
  Suspension(const Suspension&) = delete;
  Suspension& operator=(const Suspension&) = delete;
  ~Suspension() { handler_.suspend(-1); }

 private:
  AutoPasteHandler& handler_;
};

AutoPasteHandler::AutoPasteHandler(AccessibilityHelper& helper, Executor& executor, AutoPasteHandlerHooks hooks,
                                   const Logging& logging)
    : helper_(helper),
      hooks_(std::move(hooks)),
      logger_(logging.logger(QStringLiteral("AutoPasteHandler"))),
      scope_(executor) {}

Task<bool> AutoPasteHandler::paste(QString text, std::vector<ProcessedTag> processedTags) {
  auto suspension = std::make_shared<Suspension>(*this);
  helper_.cancelPaste();
  logger_.info("❌ Cancelled any in-flight paste operation");
  helper_.setCurrentPasteTask(scope_.spawn(run(text, std::move(processedTags), std::move(suspension))));
  auto pasting = helper_.currentPasteTask().join();
  std::optional<SmartPasteResult> result;
  try {
    result = co_await std::move(pasting);
  } catch (const Cancelled&) {
    logger_.info("ℹ️ Paste operation was cancelled");
    lastOutcome_.set(PasteOutcome::cancelled);
    co_return false;
  }
  auto finishing = finish(*result, text);
  auto end = shielded(std::move(finishing));
  co_return co_await std::move(end);
}

Task<SmartPasteResult> AutoPasteHandler::run(QString text, std::vector<ProcessedTag> processedTags,
                                             std::shared_ptr<Suspension> suspension) {
  const auto suspended = std::move(suspension);
  auto pasting = helper_.smartPaste(std::move(text), std::move(processedTags), previousFrontmostPID_);
  co_return co_await std::move(pasting);
}

Task<bool> AutoPasteHandler::finish(SmartPasteResult result, QString text) {
  using Kind = SmartPasteResult::Kind;
  switch (result.kind) {
    case Kind::success:
      logger_.info("✅ Auto-paste successful");
      lastOutcome_.set(PasteOutcome::pasted);
      co_return true;
    case Kind::noPermission: {
      if (hooks_.showAlert) {
        const AccessibilityAlert alert{localizedText("audio.alert.accessibility.title"),
                                       localizedText("audio.alert.accessibility.message"),
                                       localizedText("audio.alert.accessibility.open"), localizedText("common.cancel"),
                                       [this] { helper_.openAccessibilitySettings(); }};
        hooks_.showAlert(alert);
      }
      logger_.info("📋 Copying to clipboard as fallback (no accessibility permission)");
      auto copying = helper_.copyTextManually(text);
      co_await std::move(copying);
      lastOutcome_.set(PasteOutcome::noPermission);
      co_return false;
    }
    case Kind::noFocusedField:
      logger_.info("ℹ️ No valid paste target. Text on clipboard.");
      lastOutcome_.set(PasteOutcome::noTarget);
      co_return false;
    case Kind::secureField:
      logger_.info("ℹ️ No valid paste target. Text on clipboard.");
      lastOutcome_.set(PasteOutcome::secureField);
      co_return false;
    case Kind::notFetched:
      logger_.info("ℹ️ The target did not take the text. Text on clipboard.");
      lastOutcome_.set(PasteOutcome::notFetched);
      co_return false;
    case Kind::failed:
      break;
  }
  logger_.error("%{public}s", result.error ? localizedDescription(*result.error) : QString());
  lastOutcome_.set(PasteOutcome::failed);
  co_return false;
}

void AutoPasteHandler::suspend(int change) {
  const bool was = suspensions_ > 0;
  suspensions_ += change;
  const bool is = suspensions_ > 0;
  if (is != was && hooks_.suspendKeyMonitor) hooks_.suspendKeyMonitor(is);
}

}  // namespace quillmere
