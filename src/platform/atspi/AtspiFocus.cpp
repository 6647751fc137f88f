#include "platform/atspi/AtspiFocus.h"

#include <QDBusArgument>
#include <algorithm>
#include <functional>

namespace quillmere {
namespace {

constexpr int mostWindows = 30;
constexpr int mostChildren = 200;
constexpr int mostWalked = 1000;
constexpr int deepestWalk = 40;

// A match rule of the protocol: all states of the list, whatever else.
QVariant focusedRule() {
  QDBusArgument rule;
  const QList<int> states{1 << int(AtspiState::focused), 0};
  const int all = 1;
  rule.beginStructure();
  rule << states << all;
  rule.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QString>());
  rule.endMap();
  rule << all << QList<int>{0, 0, 0, 0} << all << QStringList() << all << false;
  rule.endStructure();
  return QVariant::fromValue(rule);
}

}  // namespace

AtspiElementPtr AtspiFocus::application(qint64 processId) {
  if (processId <= 0) return nullptr;
  AtspiElementPtr first;
  for (const auto& reference : bus_.programs(objects_.caller())) {
    if (bus_.processId(reference.bus) != processId) continue;
    const auto found = objects_.element(reference, AtspiElement::Kind::application);
    if (activeWindow(*found)) return found;
    if (!first) first = found;
  }
  return first;
}

AtspiElementPtr AtspiFocus::frontmostApplication() {
  if (frontmostProcessId_)
    if (auto found = application(*frontmostProcessId_)) return found;
  if (const auto window = bus_.lastActiveWindow()) {
    const auto element = objects_.element(*window);
    const auto states = objects_.freshStates(*element);
    if (states && states->has(AtspiState::active))
      return objects_.element({window->bus, QStringLiteral("/org/a11y/atspi/accessible/root")},
                              AtspiElement::Kind::application);
  }
  // No event came yet: this process began to listen after the window had become active.
  for (const auto& reference : bus_.programs(objects_.caller())) {
    const auto found = objects_.element(reference, AtspiElement::Kind::application);
    if (activeWindow(*found)) return found;
  }
  return nullptr;
}

AtspiElementPtr AtspiFocus::activeWindow(const AtspiElement& application) {
  for (const auto& window : objects_.children(application, mostWindows))
    if (objects_.states(*window).has(AtspiState::active)) return window;
  return nullptr;
}

AtspiElementPtr AtspiFocus::focusedIn(const AtspiElement& application) {
  const AtspiElementPtr window = activeWindow(application);
  if (!window) return nullptr;
  if (const auto last = bus_.lastFocus(application.reference.bus)) {
    const auto element = objects_.element(*last);
    const auto states = objects_.freshStates(*element);
    if (states && states->has(AtspiState::focused)) return element;
  }
  AtspiElementPtr found = search(*window);
  if (!found) found = walk(window);
  if (found) bus_.rememberFocus(found->reference);
  return found;
}

AtspiElementPtr AtspiFocus::search(const AtspiElement& window) {
  if (!objects_.hasInterface(window, "org.a11y.atspi.Collection")) return nullptr;
  const quint32 canonicalOrder = 1;
  const auto arguments = objects_.caller().call(window.reference, "org.a11y.atspi.Collection", "GetMatches",
                                                {focusedRule(), canonicalOrder, 20, true});
  if (!arguments || arguments->isEmpty()) return nullptr;
  std::vector<AtspiElementPtr> focused;
  for (const auto& reference : AtspiCaller::references(arguments->first()))
    focused.push_back(objects_.element(reference));
  return innermost(focused);
}

// Level by level, so that all objects of a level are asked at once. Only what is shown can have the keyboard. GTK 4
// says of windows only that they are shown; what is in them is visible or not.
AtspiElementPtr AtspiFocus::walk(const AtspiElementPtr& window) {
  std::vector<AtspiElementPtr> level{window};
  std::vector<AtspiElementPtr> focused;
  int walked = 0;
  AtspiState wanted = AtspiState::showing;
  for (int depth = 0; depth < deepestWalk && !level.empty() && walked < mostWalked; ++depth) {
    std::vector<AtspiElementPtr> next;
    for (const auto& element : level) objects_.askForChildren(*element);
    for (const auto& element : level) {
      for (const auto& child : objects_.children(*element, mostChildren)) {
        if (++walked > mostWalked) break;
        next.push_back(child);
      }
    }
    const auto isWanted = [&](const AtspiElementPtr& child) { return objects_.states(*child).has(wanted); };
    if (depth == 0 && std::none_of(next.begin(), next.end(), isWanted)) wanted = AtspiState::visible;
    std::erase_if(next, std::not_fn(isWanted));
    for (const auto& child : next)
      if (objects_.states(*child).has(AtspiState::focused)) focused.push_back(child);
    level = std::move(next);
  }
  return innermost(focused);
}

// Focus reaches through containers down to the viewport of a text: the innermost that has text is meant.
AtspiElementPtr AtspiFocus::innermost(const std::vector<AtspiElementPtr>& focused) {
  for (auto element = focused.rbegin(); element != focused.rend(); ++element)
    if (isText(**element)) return *element;
  return focused.empty() ? nullptr : focused.back();
}

bool AtspiFocus::isText(const AtspiElement& element) {
  return objects_.hasInterface(element, "org.a11y.atspi.Text");
}

}  // namespace quillmere
