#include "platform/atspi/AtspiObjects.h"

#include <QDBusArgument>

namespace quillmere {
namespace {

constexpr auto accessible = "org.a11y.atspi.Accessible";

}  // namespace

AtspiElementPtr AtspiObjects::element(const AtspiReference& reference, AtspiElement::Kind kind) {
  if (reference.isNull()) return nullptr;
  auto& known = elements_[reference];
  if (!known) known = std::make_shared<AtspiElement>(kind, reference);
  return known;
}

AtspiElementPtr AtspiObjects::parent(const AtspiElement& element) {
  const auto value = caller_.property(element.reference, accessible, "Parent");
  const auto reference = value ? AtspiCaller::reference(*value) : std::nullopt;
  // The program's own root is the last one.
  if (!reference || reference->bus != element.reference.bus) return nullptr;
  return this->element(*reference);
}

void AtspiObjects::askForChildren(const AtspiElement& element) {
  if (element.childrenCall || states(element).has(AtspiState::managesDescendants)) return;
  element.childrenCall = caller_.send(element.reference, accessible, "GetChildren");
}

std::vector<AtspiElementPtr> AtspiObjects::children(const AtspiElement& element, int limit) {
  std::vector<AtspiElementPtr> found;
  if (limit <= 0 || states(element).has(AtspiState::managesDescendants)) return found;
  askForChildren(element);
  const auto arguments = caller_.answer(element.reference, element.childrenCall);
  element.childrenCall.reset();
  if (!arguments || arguments->isEmpty()) return found;
  for (const auto& reference : AtspiCaller::references(arguments->first())) {
    if (int(found.size()) >= limit) break;
    if (reference == element.reference) continue;
    found.push_back(this->element(reference));
    askAhead(*found.back());
  }
  return found;
}

std::vector<AtspiElementPtr> AtspiObjects::shownChildren(const AtspiElement& element, int limit) {
  auto found = children(element, limit);
  std::erase_if(found, [this](const AtspiElementPtr& child) { return !states(*child).has(AtspiState::showing); });
  return found;
}

void AtspiObjects::askAhead(const AtspiElement& element) {
  if (!element.role && !element.roleCall) element.roleCall = caller_.send(element.reference, accessible, "GetRole");
  if (!element.states && !element.stateCall)
    element.stateCall = caller_.send(element.reference, accessible, "GetState");
}

AtspiRole AtspiObjects::role(const AtspiElement& element) {
  if (element.role) return *element.role;
  if (!element.roleCall) element.roleCall = caller_.send(element.reference, accessible, "GetRole");
  const auto arguments = caller_.answer(element.reference, element.roleCall);
  element.roleCall.reset();
  if (!arguments || arguments->isEmpty()) return AtspiRole::unknown;
  element.role = AtspiRole(arguments->first().toUInt());
  return *element.role;
}

AtspiStates AtspiObjects::states(const AtspiElement& element) {
  if (element.states) return *element.states;
  if (!element.stateCall) element.stateCall = caller_.send(element.reference, accessible, "GetState");
  const auto arguments = caller_.answer(element.reference, element.stateCall);
  element.stateCall.reset();
  const auto bits = arguments ? AtspiCaller::stateBits(*arguments) : std::nullopt;
  if (!bits) return {};
  element.states = AtspiStates(*bits);
  return *element.states;
}

std::optional<AtspiStates> AtspiObjects::freshStates(const AtspiElement& element) {
  element.states.reset();
  element.stateCall.reset();
  const AtspiStates found = states(element);
  if (!element.states || found.has(AtspiState::defunct)) return std::nullopt;
  return found;
}

bool AtspiObjects::hasInterface(const AtspiElement& element, const char* name) {
  if (!element.interfaces) {
    const auto arguments = caller_.call(element.reference, accessible, "GetInterfaces");
    if (!arguments || arguments->isEmpty()) return false;
    element.interfaces = arguments->first().toStringList();
  }
  return element.interfaces->contains(QLatin1String(name));
}

const QMap<QString, QString>& AtspiObjects::attributes(const AtspiElement& element) {
  if (element.attributes) return *element.attributes;
  static const QMap<QString, QString> none;
  const auto arguments = caller_.call(element.reference, accessible, "GetAttributes");
  if (!arguments || arguments->isEmpty() || !arguments->first().canConvert<QDBusArgument>()) return none;
  const auto argument = arguments->first().value<QDBusArgument>();
  if (argument.currentSignature() != QLatin1String("a{ss}")) return none;
  QMap<QString, QString> found;
  argument >> found;
  element.attributes = found;
  return *element.attributes;
}

AtspiNature AtspiObjects::nature(const AtspiElement& element) {
  AtspiNature nature;
  nature.role = role(element);
  nature.states = states(element);
  if (needsAttributes(nature.role)) nature.attributes = attributes(element);
  return nature;
}

QString AtspiObjects::name(const AtspiElement& element) {
  const auto value = caller_.property(element.reference, accessible, "Name");
  return value ? value->toString() : QString();
}

bool AtspiObjects::isInside(const AtspiElementPtr& element, const AtspiElement& other, int limit) {
  AtspiElementPtr at = element;
  for (int i = 0; at && i < limit; ++i, at = parent(*at))
    if (at->reference == other.reference) return true;
  return false;
}

}  // namespace quillmere
