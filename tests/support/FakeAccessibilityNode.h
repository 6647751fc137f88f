#pragma once
#include <QMap>
#include <QSet>
#include <functional>
#include <memory>
#include <vector>

#include "ports/Accessibility.h"

namespace quillmere {

// One element of a made-up interface: its attributes, its children and what it points at. Made with node() and put
// together by chained calls:
//
//   auto field = node("AXTextField")->with("AXValue", "Hello")->settable("AXValue");
//   auto window = node("AXWindow")->with("AXTitle", "Letter")->child(field);
class FakeAccessibilityNode final : public AccessibilityElement,
                                    public std::enable_shared_from_this<FakeAccessibilityNode> {
 public:
  using Ptr = std::shared_ptr<FakeAccessibilityNode>;

  QMap<QString, QString> texts;
  QMap<QString, Ptr> elements;            // "AXFocusedUIElement", "AXFocusedWindow", "AXMenuBar", ...
  QMap<QString, std::vector<Ptr>> lists;  // "AXChildren", "AXWindows"
  QSet<QString> settableAttributes;
  std::optional<QRect> caret;
  QMap<QString, std::function<bool()>> actions;  // run on performAction

  Ptr with(const QString& attribute, const QString& value) {
    texts.insert(attribute, value);
    return shared_from_this();
  }
  Ptr pointing(const QString& attribute, const Ptr& target) {
    elements.insert(attribute, target);
    return shared_from_this();
  }
  Ptr child(const Ptr& node, const QString& list = "AXChildren") {
    lists[list].push_back(node);
    return shared_from_this();
  }
  Ptr settable(const QString& attribute) {
    settableAttributes.insert(attribute);
    return shared_from_this();
  }
  Ptr doing(const QString& action, std::function<bool()> function) {
    actions.insert(action, std::move(function));
    return shared_from_this();
  }
};

inline FakeAccessibilityNode::Ptr node(const QString& role = QString()) {
  auto made = std::make_shared<FakeAccessibilityNode>();
  if (!role.isEmpty()) made->texts.insert("AXRole", role);
  return made;
}

}  // namespace quillmere
