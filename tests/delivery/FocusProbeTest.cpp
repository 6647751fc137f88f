#include "delivery/FocusProbe.h"

#include <gmock/gmock.h>

#include "support/FakeAccessibility.h"

namespace quillmere {
namespace {

const FocusQuery query{7, "org.example.editor"};
const FocusQuery deepQuery{7, "com.microsoft.VSCode"};

// A chain of groups with the element at its end.
FakeAccessibilityNode::Ptr nested(int levels, FakeAccessibilityNode::Ptr inner) {
  for (int i = 0; i < levels; ++i) inner = node("AXGroup")->child(inner);
  return inner;
}

FakeAccessibilityNode::Ptr withChildren(int plain, const FakeAccessibilityNode::Ptr& last) {
  auto parent = node("AXSplitGroup");
  for (int i = 0; i < plain; ++i) parent->child(node("AXButton"));
  return parent->child(last);
}

TEST(FocusProbe, AnElementTakesTextByItsRoleOrItsSettableValue) {
  const QString value = "AXValue";
  const struct {
    FakeAccessibilityNode::Ptr element;
    bool isEditable;
  } cases[] = {
      {node("AXTextField"), true},
      {node("AXSearchField"), true},
      {node("AXButton"), false},
      {node("AXSlider")->settable(value), true},
      {node("AXWebArea")->settable(value), true},
      {node("AXGroup"), false},
      {node("AXGroup")->settable("AXSelectedText"), false},
      {node("AXGroup")->pointing("AXEditableAncestor", node()), true},
      {node()->settable(value), false},  // no role, no verdict
  };
  for (const auto& one : cases) {
    FakeAccessibilityTree tree;
    EXPECT_EQ(isEditableElement(tree, one.element, Logger()), one.isEditable)
        << one.element->texts.value("AXRole").toStdString();
  }
}

TEST(FocusProbe, TheSearchEndsAtItsDepthAndAtTheTwentyFifthChild) {
  const auto field = node("AXTextField");
  const struct {
    const char* name;
    FakeAccessibilityNode::Ptr focused;
    FocusQuery query;
    bool isFound;
  } cases[] = {
      {"depth 3 of 3", nested(2, field), query, true},     {"depth 4 of 3", nested(3, field), query, false},
      {"depth 5 of 5", nested(4, field), deepQuery, true}, {"depth 6 of 5", nested(5, field), deepQuery, false},
      {"child 25", withChildren(24, field), query, true},  {"child 26", withChildren(25, field), query, false},
  };
  for (const auto& one : cases) {
    FakeAccessibility accessibility;
    accessibility.focus(one.focused);
    // A field elsewhere doesn't count once something has the focus.
    accessibility.addApplication(7, node("AXWindow")->child(field));
    EXPECT_EQ(readFocus(accessibility.tree, one.query, Logger()) == FocusFinding::text, one.isFound) << one.name;
  }
}

TEST(FocusProbe, WithoutAFocusedElementTheWindowsAreSearched) {
  const auto field = node("AXTextField");
  const auto window = [&](int levels) { return node("AXWindow")->child(nested(levels, field)); };
  const auto empty = node("AXWindow");
  const struct {
    const char* name;
    bool hasFocusedWindow;
    std::vector<FakeAccessibilityNode::Ptr> windows;
    bool isFound;
  } cases[] = {
      {"focused window, depth 5", true, {window(3)}, true},
      {"focused window, depth 6", true, {window(4)}, false},
      {"third window, depth 3", false, {empty, empty, window(1)}, true},
      {"third window, depth 4", false, {empty, empty, window(2)}, false},
      {"fourth window", false, {empty, empty, empty, window(1)}, false},
  };
  for (const auto& one : cases) {
    FakeAccessibilityTree tree;
    const auto app = node("AXApplication");
    tree.applications.insert(7, app);
    if (one.hasFocusedWindow)
      tree.systemWide->pointing("AXFocusedWindow", one.windows.front());
    else
      for (const auto& each : one.windows) app->child(each, "AXWindows");
    EXPECT_EQ(readFocus(tree, query, Logger()), one.isFound ? FocusFinding::text : FocusFinding::unreadable)
        << one.name;
  }
}

TEST(FocusProbe, OnlyASecureSubroleIsSecure) {
  FakeAccessibility accessibility;
  EXPECT_FALSE(isSecureFieldFocused(accessibility.tree));
  const auto field = node("AXTextField");
  accessibility.focus(field);
  EXPECT_FALSE(isSecureFieldFocused(accessibility.tree));
  field->texts.insert("AXSubrole", "AXSecureTextField");
  EXPECT_TRUE(isSecureFieldFocused(accessibility.tree));
  accessibility.tree.readsUntilOutOfTime = 1;  // the subrole comes too late
  accessibility.tree.reads = 0;
  EXPECT_FALSE(isSecureFieldFocused(accessibility.tree));
}

TEST(FocusProbe, ATreeWithoutAnEndIsLeftWhenTheTimeIsUp) {
  FakeAccessibility accessibility;
  const auto endless = node("AXGroup");
  for (int i = 0; i < 25; ++i) endless->child(endless);
  accessibility.focus(endless);
  accessibility.tree.readsUntilOutOfTime = 100;
  EXPECT_EQ(readFocus(accessibility.tree, deepQuery, Logger()), FocusFinding::unreadable);
  EXPECT_LE(accessibility.tree.reads, 100);
  endless->lists.clear();
}

}  // namespace
}  // namespace quillmere
