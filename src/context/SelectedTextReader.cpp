#include "context/SelectedTextReader.h"

#include <atomic>
#include <mutex>

#include "base/async/Async.h"
#include "context/CopyMenuItem.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto readingLimit = 400ms;
constexpr auto copyLimit = 500ms;  // until the copied text is on the pasteboard
constexpr auto pollInterval = 10ms;

// What a visit has found so far.
class Findings {
 public:
  struct Content {
    std::optional<QString> selectedText;
    bool isSecure = false;
    bool hasCopyItem = false;
  };
  void set(const std::function<void(Content&)>& change) {
    const std::scoped_lock lock(mutex_);
    change(content_);
  }
  Content get() const {
    const std::scoped_lock lock(mutex_);
    return content_;
  }

 private:
  mutable std::mutex mutex_;
  Content content_;  // guarded by mutex_
};

void look(AccessibilityTree& tree, std::optional<qint64> processId, Findings& findings) {
  const auto focused = tree.element(tree.systemWideElement(), QStringLiteral("AXFocusedUIElement"));
  if (focused) {
    const auto subrole = tree.text(focused, QStringLiteral("AXSubrole"));
    if (subrole == QStringLiteral("AXSecureTextField")) {
      findings.set([](auto& content) { content.isSecure = true; });
      return;
    }
    const auto text = tree.text(focused, QStringLiteral("AXSelectedText"));
    if (text && !text->isEmpty()) {
      findings.set([&](auto& content) { content.selectedText = text; });
      return;
    }
  }
  if (processId && findCopyMenuItem(tree, *processId)) findings.set([](auto& content) { content.hasCopyItem = true; });
}

}  // namespace

SelectedTextReader::SelectedTextReader(Workspace& workspace, Accessibility& accessibility, Pasteboard& pasteboard,
                                       const Logging& logging)
    : workspace_(workspace),
      accessibility_(accessibility),
      pasteboard_(pasteboard),
      logger_(logging.logger(QStringLiteral("SelectedTextReader"))) {}

Task<Result<std::optional<QString>, QString>> SelectedTextReader::read() {
  logger_.info("Attempting to get selected text");
  const std::optional<RunningApplication> frontmost = workspace_.frontmostApplication();
  std::optional<qint64> processId;
  if (frontmost) processId = frontmost->processId;

  const auto findings = std::make_shared<Findings>();
  std::function<void(AccessibilityTree&)> work = [findings, processId](AccessibilityTree& tree) {
    look(tree, processId, *findings);
  };
  const bool isAnswered = co_await accessibility_.visit(std::move(work), readingLimit);
  const Findings::Content found = findings->get();
  if (found.selectedText) co_return found.selectedText;
  const QString silence = QStringLiteral("the application does not answer");
  if (isAnswered)
    logger_.info("AXUI returned empty text, trying menu action copy");
  else
    logger_.error("Failed to get text via AXUI: %{public}s", silence);

  if (found.hasCopyItem && !found.isSecure && processId) {
    std::optional<QString> text = co_await copyByMenu(*processId);
    if (text && !text->isEmpty()) {
      logger_.info("Successfully got non-empty text via menu action copy");
      co_return text;
    }
  }
  logger_.info("All methods to get selected text have failed or returned empty text");
  if (!isAnswered) co_return Failed{silence};
  co_return std::optional<QString>();
}

Task<std::optional<QString>> SelectedTextReader::copyByMenu(qint64 processId) {
  ClipboardItems saved = co_await pasteboard_.items();
  co_await throwIfCancelled();
  // From here on the pasteboard may change, so this part runs to its end.
  std::optional<QString> text = co_await shielded(copyAndRestore(processId, std::move(saved)));
  co_return text;
}

Task<std::optional<QString>> SelectedTextReader::copyAndRestore(qint64 processId, ClipboardItems saved) {
  const quint64 countBefore = pasteboard_.changeCount();
  const auto isTooLate = std::make_shared<std::atomic<bool>>(false);
  std::function<void(AccessibilityTree&)> work = [isTooLate, processId](AccessibilityTree& tree) {
    const auto item = findCopyMenuItem(tree, processId);
    if (item && !*isTooLate) tree.performAction(item, QStringLiteral("AXPress"));
  };
  co_await accessibility_.visit(std::move(work), readingLimit);
  *isTooLate = true;

  // An item may act without saying that it did, so the pasteboard alone tells.
  for (Duration waited{}; pasteboard_.changeCount() == countBefore && waited < copyLimit; waited += pollInterval)
    co_await sleepFor(pollInterval);
  // What this process has put there meanwhile is a dictated text, neither a selection nor to be taken away.
  if (pasteboard_.changeCount() == countBefore || pasteboard_.ownsContents()) co_return std::nullopt;
  std::optional<QString> text = co_await pasteboard_.string();
  if (!pasteboard_.ownsContents() && !pasteboard_.write(saved))
    logger_.error("The pasteboard can't be given back its contents");
  co_return text;
}

}  // namespace quillmere
