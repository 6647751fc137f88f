#include "context/ApplicationContextGatherer.h"

#include <memory>
#include <mutex>

#include "base/text/Graphemes.h"
#include "context/ApplicationTables.h"
#include "context/FocusReading.h"
#include "context/TextTraits.h"
#include "domain/Applications.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto readingLimit = 400ms;
constexpr int shownContent = 100;  // characters

// What a visit has found so far; a visit that takes too long leaves what it has.
class Findings {
 public:
  void setFocused(FocusedElementInfo focused) {
    const std::scoped_lock lock(mutex_);
    focused_ = std::move(focused);
  }
  void setTabTitle(std::optional<QString> title) {
    const std::scoped_lock lock(mutex_);
    tabTitle_ = std::move(title);
  }
  FocusedElementInfo focused() const {
    const std::scoped_lock lock(mutex_);
    return focused_;
  }
  std::optional<QString> tabTitle() const {
    const std::scoped_lock lock(mutex_);
    return tabTitle_;
  }

 private:
  mutable std::mutex mutex_;
  FocusedElementInfo focused_;       // guarded by mutex_
  std::optional<QString> tabTitle_;  // guarded by mutex_
};

}  // namespace

ApplicationContextGatherer::ApplicationContextGatherer(Workspace& workspace, Accessibility& accessibility,
                                                       ElectronAppDetector& electronApps)
    : workspace_(workspace), accessibility_(accessibility), electronApps_(electronApps) {}

Task<ApplicationContext> ApplicationContextGatherer::gather() {
  const std::optional<RunningApplication> frontmost = workspace_.frontmostApplication();
  ApplicationContext context;
  std::optional<qint64> processId;
  if (frontmost) {
    if (!frontmost->localizedName.isEmpty()) context.appName = frontmost->localizedName;
    context.bundleId = frontmost->bundleId;
    processId = frontmost->processId;
  }
  context.category = applicationCategory(context.bundleId, electronApps_.isElectronEditor(context.bundleId));
  context.description = applicationDescription(context.bundleId, context.category);

  if (accessibility_.isTrusted()) {
    const auto findings = std::make_shared<Findings>();
    const bool hasTab = applicationOf(context.bundleId).kind == ApplicationKind::browser && processId.has_value();
    // The focused control comes first: it says more, should the time not suffice for both.
    std::function<void(AccessibilityTree&)> work = [findings, hasTab, processId](AccessibilityTree& tree) {
      findings->setFocused(readFocusedElement(tree, processId));
      if (hasTab) findings->setTabTitle(readTabTitle(tree, *processId));
    };
    co_await accessibility_.visit(std::move(work), readingLimit);
    context.focusedElement = findings->focused();
    context.browserTabTitle = findings->tabTitle();
  }
  context.textInputFormat = textInputFormat(context.focusedElement, context.category);
  context.contextQuality = contextQuality(context.browserTabTitle, context.focusedElement.value);
  co_return context;
}

QString ApplicationContextGatherer::promptBlock(const ApplicationContext& context) {
  QString block = QStringLiteral("<APPLICATION_CONTEXT>\n");
  const auto add = [&block](const char* tag, const QString& content) {
    const QLatin1String name(tag);
    block += QLatin1Char('<') + name + QLatin1Char('>') + content + QLatin1String("</") + name + QLatin1String(">\n");
  };
  add("APP", context.appName);
  if (context.browserTabTitle) add("TAB", *context.browserTabTitle);
  add("CATEGORY", context.category);
  add("DESCRIPTION", context.description);
  add("TEXT_FORMAT", context.textInputFormat);
  const FocusedElementInfo& focused = context.focusedElement;
  QStringList parts;
  if (focused.role) parts.append(QString(*focused.role).remove(QStringLiteral("AX")));
  if (focused.title) parts.append(*focused.title);
  if (!parts.isEmpty()) add("FOCUSED_ELEMENT", parts.join(QStringLiteral(" - ")));
  if (focused.value && !focused.value->isEmpty()) {
    QString content = leftGraphemes(*focused.value, shownContent);
    if (content.size() < focused.value->size()) content += QStringLiteral("...");
    add("FOCUSED_CONTENT", content);
  }
  return block + QStringLiteral("</APPLICATION_CONTEXT>");
}

}  // namespace quillmere
