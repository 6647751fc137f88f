#pragma once
#include <map>
#include <vector>

#include "platform/atspi/AtspiCaller.h"
#include "platform/atspi/AtspiElement.h"

namespace quillmere {

// The objects of one visit and their basic facts. Objects that came in a list are asked for these all at once.
// Accessibility thread.
class AtspiObjects {
 public:
  explicit AtspiObjects(AtspiCaller& caller) : caller_(caller) {}

  AtspiCaller& caller() { return caller_; }
  AtspiElementPtr element(const AtspiReference& reference, AtspiElement::Kind kind = AtspiElement::Kind::object);
  AtspiElementPtr parent(const AtspiElement& element);
  // At most `limit`, none of an object that makes its children up as they are asked for (large tables).
  std::vector<AtspiElementPtr> children(const AtspiElement& element, int limit);
  // Lets children() of many elements be under way at once.
  void askForChildren(const AtspiElement& element);
  // What is shown of them only.
  std::vector<AtspiElementPtr> shownChildren(const AtspiElement& element, int limit);

  AtspiRole role(const AtspiElement& element);
  AtspiStates states(const AtspiElement& element);
  // Read anew; nothing when the object is gone.
  std::optional<AtspiStates> freshStates(const AtspiElement& element);
  bool hasInterface(const AtspiElement& element, const char* name);
  AtspiNature nature(const AtspiElement& element);
  const QMap<QString, QString>& attributes(const AtspiElement& element);
  QString name(const AtspiElement& element);
  // The element itself or one above it, up to `limit` of them, that is `other`.
  bool isInside(const AtspiElementPtr& element, const AtspiElement& other, int limit);

 private:
  void askAhead(const AtspiElement& element);

  AtspiCaller& caller_;
  std::map<AtspiReference, AtspiElementPtr> elements_;
};

}  // namespace quillmere
