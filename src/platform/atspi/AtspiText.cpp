#include "platform/atspi/AtspiText.h"

#include <algorithm>

namespace quillmere {
namespace {

constexpr auto textInterface = "org.a11y.atspi.Text";
constexpr int mostCharacters = 20000;
constexpr int mostObjects = 60;  // inside one text
constexpr QChar objectCharacter(0xFFFC);

}  // namespace

bool AtspiText::isHidden(const AtspiElement& element) {
  const AtspiRole role = objects_.role(element);
  if (role == AtspiRole::passwordText) return true;
  if (role != AtspiRole::text && role != AtspiRole::entry) return false;
  if (!element.isHidden) element.isHidden = showsDots(element);
  return *element.isHidden;
}

// "GetText" tells what was typed, "GetStringAtOffset" what is drawn.
bool AtspiText::showsDots(const AtspiElement& element) {
  constexpr QChar usualDot(0x25CF);
  constexpr quint32 paragraph = 4;
  if (objects_.attributes(element).value(QStringLiteral("toolkit")) != QLatin1String("GTK")) return false;
  if (objects_.states(element).has(AtspiState::multiLine)) return false;
  const auto drawn = objects_.caller().call(element.reference, textInterface, "GetStringAtOffset", {0, paragraph});
  const QString shown = drawn && !drawn->isEmpty() ? drawn->first().toString() : QString();
  if (shown.isEmpty() || shown.count(shown.front()) != shown.size()) return false;
  if (shown.front() == usualDot) return true;
  const auto typed = objects_.caller().call(element.reference, textInterface, "GetText", {0, 1});
  return typed && !typed->isEmpty() && !shown.startsWith(typed->first().toString());
}

bool AtspiText::isReadable(const AtspiElement& element) {
  return objects_.role(element) != AtspiRole::unknown && objects_.hasInterface(element, textInterface) &&
         !isHidden(element);
}

std::optional<QString> AtspiText::content(const AtspiElement& element) {
  if (!isReadable(element)) return std::nullopt;
  const auto count = objects_.caller().property(element.reference, textInterface, "CharacterCount");
  if (!count) return std::nullopt;
  const int length = std::max(count->toInt(), 0);
  const bool isTerminal = objects_.role(element) == AtspiRole::terminal;
  const int begin = isTerminal ? std::max(length - mostCharacters, 0) : 0;
  int budget = mostObjects;
  return range(element, begin, std::min(begin + mostCharacters, length), budget);
}

std::optional<QString> AtspiText::range(const AtspiElement& element, int begin, int end, int& budget) {
  const auto arguments = objects_.caller().call(element.reference, textInterface, "GetText", {begin, end});
  if (!arguments || arguments->isEmpty()) return std::nullopt;
  QString text = arguments->first().toString();
  if (!text.contains(objectCharacter)) return text;
  // One such character stands for each object inside, in their order.
  QStringList parts;
  for (const auto& child : objects_.children(element, budget)) {
    if (--budget < 0) break;
    if (!isReadable(*child)) continue;
    const auto part = range(*child, 0, mostCharacters, budget);
    if (part && !part->isEmpty()) parts.append(*part);
  }
  const QString own = text.remove(objectCharacter);
  if (!own.trimmed().isEmpty()) parts.prepend(own);
  return parts.join(QLatin1Char('\n')).left(mostCharacters);
}

std::optional<QRect> AtspiText::caret(const AtspiElement& element) {
  constexpr quint32 onScreen = 0;
  if (!objects_.hasInterface(element, textInterface)) return std::nullopt;
  const auto offset = objects_.caller().property(element.reference, textInterface, "CaretOffset");
  if (!offset || offset->toInt() < 0) return std::nullopt;
  // After the last character there is nothing to be measured.
  for (int at = offset->toInt(); at >= std::max(offset->toInt() - 1, 0); --at) {
    const auto extents =
        objects_.caller().call(element.reference, textInterface, "GetCharacterExtents", {at, onScreen});
    if (!extents || extents->size() < 4) return std::nullopt;
    const QRect place(extents->at(0).toInt(), extents->at(1).toInt(), std::max(extents->at(2).toInt(), 1),
                      extents->at(3).toInt());
    if (place.height() > 0) return place;
  }
  return std::nullopt;
}

std::optional<QString> AtspiText::selection(const AtspiElement& element) {
  int budget = mostObjects;
  return selectionOf(element, budget);
}

std::optional<QString> AtspiText::selectionOf(const AtspiElement& element, int& budget) {
  if (!isReadable(element)) return std::nullopt;
  const auto count = objects_.caller().call(element.reference, textInterface, "GetNSelections");
  if (!count || count->isEmpty()) return std::nullopt;
  QStringList parts;
  bool hasObjects = false;
  for (int i = 0; i < std::min(count->first().toInt(), 20); ++i) {
    const auto bounds = objects_.caller().call(element.reference, textInterface, "GetSelection", {i});
    if (!bounds || bounds->size() < 2) break;
    const int begin = std::min(bounds->at(0).toInt(), bounds->at(1).toInt());
    const int end = std::max(bounds->at(0).toInt(), bounds->at(1).toInt());
    if (begin < 0 || end <= begin) continue;
    const auto text = objects_.caller().call(element.reference, textInterface, "GetText",
                                             {begin, std::min(end, begin + mostCharacters)});
    if (!text || text->isEmpty()) break;
    QString part = text->first().toString();
    hasObjects = hasObjects || part.contains(objectCharacter);
    part.remove(objectCharacter);
    if (!part.trimmed().isEmpty()) parts.append(part);
  }
  // A selection across paragraphs is told by each of them.
  if (hasObjects) {
    for (const auto& child : objects_.children(element, std::max(budget, 0))) {
      if (--budget < 0) break;
      if (const auto part = selectionOf(*child, budget)) parts.append(*part);
    }
  }
  if (parts.isEmpty()) return std::nullopt;
  return parts.join(QLatin1Char('\n'));
}

}  // namespace quillmere
