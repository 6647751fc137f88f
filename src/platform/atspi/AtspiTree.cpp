#include "platform/atspi/AtspiTree.h"

#include <QDBusArgument>
#include <algorithm>

namespace quillmere {
namespace {

constexpr auto accessible = "org.a11y.atspi.Accessible";
constexpr auto action = "org.a11y.atspi.Action";
constexpr quint32 labelledBy = 2;
constexpr int mostAncestors = 60;
constexpr int mostEditableAncestors = 12;
constexpr int menuBarDepth = 5;
constexpr int mostWalkedForMenuBar = 150;

const AtspiElement* atspi(const AccessibilityElementPtr& element) {
  return static_cast<const AtspiElement*>(element.get());
}

std::optional<QString> nonEmpty(QString text) {
  if (text.isEmpty()) return std::nullopt;
  return text;
}

struct Action {
  QString name;
  QString keyBinding;
};

std::vector<Action> actionsOf(AtspiCaller& caller, const AtspiElement& element) {
  std::vector<Action> found;
  const auto arguments = caller.call(element.reference, action, "GetActions");
  if (!arguments || arguments->isEmpty() || !arguments->first().canConvert<QDBusArgument>()) return found;
  const auto list = arguments->first().value<QDBusArgument>();
  if (list.currentSignature() != QLatin1String("a(sss)")) return found;
  list.beginArray();
  while (!list.atEnd()) {
    Action each;
    QString description;
    list.beginStructure();
    list >> each.name >> description >> each.keyBinding;
    list.endStructure();
    found.push_back(std::move(each));
  }
  list.endArray();
  return found;
}

}  // namespace

AtspiTree::AtspiTree(AtspiBus& bus, AtspiCaller& caller, std::optional<qint64> frontmostProcessId)
    : caller_(caller), objects_(caller), texts_(objects_), focus_(bus, objects_, frontmostProcessId) {}

AccessibilityElementPtr AtspiTree::systemWideElement() {
  return std::make_shared<AtspiElement>(AtspiElement::Kind::systemWide, AtspiReference());
}

AccessibilityElementPtr AtspiTree::applicationElement(qint64 processId) {
  return focus_.application(processId);
}

std::optional<QString> AtspiTree::text(const AccessibilityElementPtr& element, const QString& attribute) {
  const auto* const at = atspi(element);
  if (!at || at->kind == AtspiElement::Kind::systemWide || isOutOfTime()) return std::nullopt;
  if (attribute == QLatin1String("AXRole")) {
    const AtspiNature nature = objects_.nature(*at);
    if (!at->role) return std::nullopt;
    // Plain top-level widgets of some toolkits have no role of a window.
    if (nature.role == AtspiRole::filler && nature.states.has(AtspiState::active)) return QStringLiteral("AXWindow");
    return axRole(nature);
  }
  if (attribute == QLatin1String("AXSubrole")) {
    if (texts_.isHidden(*at)) return axSubrole(AtspiRole::passwordText);
    return nonEmpty(axSubrole(objects_.role(*at)));
  }
  if (attribute == QLatin1String("AXTitle")) return title(*at);
  if (attribute == QLatin1String("AXDescription")) {
    const auto description = caller_.property(at->reference, accessible, "Description");
    return description ? nonEmpty(description->toString()) : std::nullopt;
  }
  if (attribute == QLatin1String("AXRoleDescription")) return roleDescription(*at);
  if (attribute == QLatin1String("AXValue")) return value(*at);
  if (attribute == QLatin1String("AXSelectedText")) return texts_.selection(*at);
  if (attribute == QLatin1String("AXPlaceholderValue")) return placeholder(*at);
  if (attribute == QLatin1String("AXURL")) return url(*at);
  if (attribute == QLatin1String("AXIdentifier")) return identifier(*at);
  if (attribute == QLatin1String("AXMenuItemCmdChar")) return menuItemCharacter(*at);
  if (attribute == QLatin1String("AXEnabled")) {
    const AtspiStates states = objects_.states(*at);
    if (!at->states) return std::nullopt;
    const bool isEnabled = states.has(AtspiState::enabled) || states.has(AtspiState::sensitive);
    return isEnabled ? QStringLiteral("true") : QStringLiteral("false");
  }
  return std::nullopt;
}

std::optional<QRect> AtspiTree::caret(const AccessibilityElementPtr& element) {
  const auto* const at = atspi(element);
  if (!at || at->kind == AtspiElement::Kind::systemWide || isOutOfTime()) return std::nullopt;
  return texts_.caret(*at);
}

std::optional<QString> AtspiTree::value(const AtspiElement& element) {
  const AtspiNature nature = objects_.nature(element);
  const QString role = axRole(nature);
  // Containers have no value of their own, unless somebody writes in them.
  const bool isContainer = role == QLatin1String("AXGroup") || role == QLatin1String("AXWebArea") ||
                           role == QLatin1String("AXWindow") || role == QLatin1String("AXApplication");
  if (isContainer && !isEditableText(nature)) return std::nullopt;
  return texts_.content(element);
}

std::optional<QString> AtspiTree::title(const AtspiElement& element) {
  if (const QString name = objects_.name(element); !name.isEmpty()) return name;
  const auto arguments = caller_.call(element.reference, accessible, "GetRelationSet");
  if (!arguments || arguments->isEmpty() || !arguments->first().canConvert<QDBusArgument>()) return std::nullopt;
  const auto relations = arguments->first().value<QDBusArgument>();
  if (relations.currentSignature() != QLatin1String("a(ua(so))")) return std::nullopt;
  std::vector<AtspiReference> labels;
  relations.beginArray();
  while (!relations.atEnd()) {
    quint32 kind = 0;
    relations.beginStructure();
    relations >> kind;
    const auto targets = AtspiCaller::references(relations.asVariant());
    relations.endStructure();
    if (kind == labelledBy) labels.insert(labels.end(), targets.begin(), targets.end());
  }
  relations.endArray();
  if (labels.empty()) return std::nullopt;
  return nonEmpty(objects_.name(*objects_.element(labels.front())));
}

std::optional<QString> AtspiTree::roleDescription(const AtspiElement& element) {
  for (const char* method : {"GetLocalizedRoleName", "GetRoleName"}) {
    const auto arguments = caller_.call(element.reference, accessible, method);
    if (arguments && !arguments->isEmpty() && !arguments->first().toString().isEmpty())
      return arguments->first().toString();
  }
  return std::nullopt;
}

std::optional<QString> AtspiTree::placeholder(const AtspiElement& element) {
  const auto& attributes = objects_.attributes(element);
  for (const char* name : {"placeholder-text", "placeholder"})
    if (const auto found = attributes.constFind(QLatin1String(name)); found != attributes.cend())
      return nonEmpty(*found);
  return std::nullopt;
}

std::optional<QString> AtspiTree::url(const AtspiElement& element) {
  if (!objects_.hasInterface(element, "org.a11y.atspi.Document")) return std::nullopt;
  for (const char* name : {"URI", "DocURL"}) {
    const auto arguments =
        caller_.call(element.reference, "org.a11y.atspi.Document", "GetAttributeValue", {QString::fromLatin1(name)});
    if (arguments && !arguments->isEmpty() && !arguments->first().toString().isEmpty())
      return arguments->first().toString();
  }
  return std::nullopt;
}

std::optional<QString> AtspiTree::identifier(const AtspiElement& element) {
  const auto id = caller_.property(element.reference, accessible, "AccessibleId");
  if (id && !id->toString().isEmpty()) return id->toString();
  return nonEmpty(objects_.attributes(element).value(QStringLiteral("id")));
}

std::optional<QString> AtspiTree::menuItemCharacter(const AtspiElement& element) {
  for (const Action& each : actionsOf(caller_, element))
    if (const QString character = axMenuItemCharacter(each.keyBinding); !character.isEmpty()) return character;
  return std::nullopt;
}

AccessibilityElementPtr AtspiTree::element(const AccessibilityElementPtr& element, const QString& attribute) {
  const auto* const at = atspi(element);
  if (!at || isOutOfTime()) return nullptr;
  if (attribute == QLatin1String("AXFocusedUIElement")) return focusedElement(*at);
  if (at->kind == AtspiElement::Kind::systemWide) {
    if (attribute != QLatin1String("AXFocusedWindow") && attribute != QLatin1String("AXFocusedApplication"))
      return nullptr;
    const auto application = focus_.frontmostApplication();
    if (!application || attribute == QLatin1String("AXFocusedApplication")) return application;
    return focus_.activeWindow(*application);
  }
  if (attribute == QLatin1String("AXEditableAncestor")) return editableAncestor(*at);
  if (attribute == QLatin1String("AXParent")) return objects_.parent(*at);
  if (at->kind != AtspiElement::Kind::application) return nullptr;
  if (attribute == QLatin1String("AXFocusedWindow")) {
    if (auto window = focus_.activeWindow(*at)) return window;
    const auto windows = objects_.shownChildren(*at, 2);
    return windows.size() == 1 ? windows.front() : nullptr;
  }
  if (attribute == QLatin1String("AXMenuBar")) return menuBar(*at);
  return nullptr;
}

AtspiElementPtr AtspiTree::focusedElement(const AtspiElement& element) {
  if (element.kind == AtspiElement::Kind::systemWide) {
    const auto application = focus_.frontmostApplication();
    return application ? focus_.focusedIn(*application) : nullptr;
  }
  if (element.kind == AtspiElement::Kind::application) return focus_.focusedIn(element);
  // Of a page: what has the keyboard inside it.
  const auto application = applicationOf(element);
  const auto focused = application ? focus_.focusedIn(*application) : nullptr;
  if (!focused || focused->reference == element.reference) return nullptr;
  return objects_.isInside(focused, element, mostAncestors) ? focused : nullptr;
}

AtspiElementPtr AtspiTree::applicationOf(const AtspiElement& element) {
  return objects_.element({element.reference.bus, QStringLiteral("/org/a11y/atspi/accessible/root")},
                          AtspiElement::Kind::application);
}

AtspiElementPtr AtspiTree::editableAncestor(const AtspiElement& element) {
  auto at = objects_.parent(element);
  for (int i = 0; at && i < mostEditableAncestors; ++i, at = objects_.parent(*at)) {
    AtspiNature nature;
    nature.role = objects_.role(*at);
    nature.states = objects_.states(*at);
    if (isEditableText(nature)) return at;
    if (isTopLevelRole(nature.role)) return nullptr;
  }
  return nullptr;
}

AtspiElementPtr AtspiTree::menuBar(const AtspiElement& application) {
  const auto window = focus_.activeWindow(application);
  if (!window) return nullptr;
  std::vector<AtspiElementPtr> level{window};
  int walked = 0;
  for (int depth = 0; depth < menuBarDepth && !level.empty(); ++depth) {
    std::vector<AtspiElementPtr> next;
    for (const auto& element : level) {
      if (walked >= mostWalkedForMenuBar) break;
      const auto children = objects_.children(*element, mostWalkedForMenuBar - walked);
      walked += int(children.size());
      next.insert(next.end(), children.begin(), children.end());
    }
    for (const auto& element : next)
      if (objects_.role(*element) == AtspiRole::menuBar) return element;
    level = std::move(next);
  }
  return nullptr;
}

std::vector<AccessibilityElementPtr> AtspiTree::elements(const AccessibilityElementPtr& element,
                                                         const QString& attribute, int limit) {
  const auto* const at = atspi(element);
  if (!at || at->kind == AtspiElement::Kind::systemWide || isOutOfTime()) return {};
  const bool areWindows = attribute == QLatin1String("AXWindows") && at->kind == AtspiElement::Kind::application;
  if (attribute != QLatin1String("AXChildren") && !areWindows) return {};
  const auto found = objects_.children(*at, limit);
  return {found.begin(), found.end()};
}

bool AtspiTree::isAttributeSettable(const AccessibilityElementPtr& element, const QString& attribute) {
  const auto* const at = atspi(element);
  if (!at || at->kind != AtspiElement::Kind::object || isOutOfTime()) return false;
  if (attribute != QLatin1String("AXValue")) return false;
  AtspiNature nature;
  nature.role = objects_.role(*at);
  nature.states = objects_.states(*at);
  return isEditableText(nature);
}

bool AtspiTree::performAction(const AccessibilityElementPtr& element, const QString& name) {
  const auto* const at = atspi(element);
  if (!at || at->kind != AtspiElement::Kind::object || isOutOfTime() || name != QLatin1String("AXPress")) return false;
  const auto actions = actionsOf(caller_, *at);
  int index = actions.empty() ? -1 : 0;
  for (const char* wanted : {"toggle", "activate", "jump", "press", "click"})
    for (int i = 0; i < int(actions.size()); ++i)
      if (actions[size_t(i)].name.compare(QLatin1String(wanted), Qt::CaseInsensitive) == 0) index = i;
  if (index < 0) return false;
  const auto done = caller_.call(at->reference, action, "DoAction", {index});
  return done && !done->isEmpty() && done->first().toBool();
}

}  // namespace quillmere
