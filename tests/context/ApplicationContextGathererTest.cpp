#include "context/ApplicationContextGatherer.h"

#include <gtest/gtest.h>

#include "support/FakeAccessibility.h"
#include "support/FakeWorkspace.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

class ApplicationContextGathererTest : public testing::Test {
 protected:
  void isFrontmost(const char* bundleId, const char* name = "Some program") {
    RunningApplication application;
    application.processId = 77;
    application.bundleId = QString::fromLatin1(bundleId);
    application.localizedName = QString::fromUtf8(name);
    workspace.frontmost = application;
  }
  ApplicationContext gather() { return runTask(executor, gatherer.gather()); }
  static FakeAccessibilityNode::Ptr make(const char* role) { return node(QString::fromLatin1(role)); }

  ManualExecutor executor;
  FakeWorkspace workspace;
  FakeAccessibility accessibility;
  ElectronAppDetector electron{Logging()};
  ApplicationContextGatherer gatherer{workspace, accessibility, electron};
};

TEST_F(ApplicationContextGathererTest, WithoutAnApplicationOrPermissionOnlyTheTablesSpeak) {
  EXPECT_EQ(gather().appName, "Unknown");
  isFrontmost("org.mozilla.firefox", "Firefox");
  accessibility.trusted = false;
  accessibility.limits.clear();
  accessibility.focus(make("AXTextField")->with("AXValue", "secret"));
  const auto context = gather();
  EXPECT_EQ(context.appName, "Firefox");
  EXPECT_EQ(context.category, "Web Browser");
  EXPECT_EQ(context.browserTabTitle, std::nullopt);
  EXPECT_EQ(context.focusedElement, FocusedElementInfo());
  EXPECT_EQ(context.contextQuality, "Limited");
  EXPECT_TRUE(accessibility.limits.empty());
}

TEST_F(ApplicationContextGathererTest, AFieldInABrowser) {
  isFrontmost("com.google.Chrome");
  const auto field = make("AXTextField")
                         ->with("AXTitle", "To")
                         ->with("AXValue", "https://example.org")
                         ->with("AXRoleDescription", "entry")
                         ->with("AXPlaceholderValue", "Address");
  accessibility.focus(field);
  auto window = make("AXWindow")->with("AXTitle", "Window - Google Chrome");
  window->child(make("AXGroup")->child(make("AXWebArea")->with("AXTitle", "Mail - Chrome")));
  accessibility.addApplication(77, window);
  const auto context = gather();
  EXPECT_EQ(context.browserTabTitle, "Mail");
  const FocusedElementInfo expected{"AXTextField", "To", "entry", "https://example.org", "Address"};
  EXPECT_EQ(context.focusedElement, expected);
  EXPECT_EQ(context.textInputFormat, "url");
  EXPECT_EQ(context.contextQuality, "Full");
  EXPECT_EQ(accessibility.limits, std::vector<Duration>{std::chrono::milliseconds(400)});
}

TEST_F(ApplicationContextGathererTest, TheTabTitleFallsBackToTheWindow) {
  struct Case {
    int depth;         // of the web area, the window being 1
    const char* page;  // null: no title
    const char* expected;
  };
  const Case cases[] = {{6, "Page", "Page"}, {7, "Page", "Window"}, {2, "", "Window"}, {2, nullptr, "Window"}};
  for (const Case& each : cases) {
    isFrontmost("com.apple.Safari");
    auto inner = make("AXWebArea");
    if (each.page) inner->with("AXTitle", QString::fromLatin1(each.page));
    for (int i = each.depth; i > 2; --i) inner = make("AXGroup")->child(inner);
    accessibility.addApplication(77, make("AXWindow")->with("AXTitle", "Window - Safari")->child(inner));
    EXPECT_EQ(gather().browserTabTitle, QString::fromLatin1(each.expected)) << each.depth;
  }
}

TEST_F(ApplicationContextGathererTest, AWebAreaTellsWhatItHoldsInside) {
  isFrontmost("com.microsoft.VSCode");
  const auto area = make("AXWebArea")->with("AXSelectedText", "selected")->with("AXTitle", "not this");
  accessibility.focus(area);
  FocusedElementInfo expected;
  expected.role = "AXWebArea";
  expected.description = "Web content area";
  expected.value = "selected";
  EXPECT_EQ(gather().focusedElement, expected);

  const auto inner = node()->with("AXTitle", "Editor");
  area->pointing("AXFocusedUIElement", inner);
  expected.role = "AXWebContent";
  expected.title = "Editor";
  EXPECT_EQ(gather().focusedElement, expected);

  inner->with("AXRole", "AXTextArea")
      ->with("AXValue", "")
      ->with("AXDescription", "Code")
      ->with("AXPlaceholderValue", "p");
  const FocusedElementInfo full{"AXTextArea", "Editor", "Code", QString(""), "p"};
  EXPECT_EQ(gather().focusedElement, full);
}

TEST_F(ApplicationContextGathererTest, WithoutAFocusTheWindowIsSearched) {
  isFrontmost("org.gnome.gedit");
  // A field, though a group that takes a value comes first.
  auto settable = make("AXGroup")->with("AXValue", "in the group")->settable("AXValue");
  auto window = make("AXWindow")
                    ->child(make("AXGroup")->child(make("AXStaticText"))->child(settable))
                    ->child(make("AXTextField")->with("AXValue", "in the field"));
  accessibility.addApplication(77, window);
  EXPECT_EQ(gather().focusedElement.value, "in the group");
  settable->settableAttributes.clear();
  const auto found = gather().focusedElement;
  EXPECT_EQ(found.role, "AXTextField");
  EXPECT_EQ(found.value, "in the field");

  // A page wins over fields, and the first window serves when none is focused.
  window->child(make("AXWebArea")->with("AXSelectedText", "chosen"));
  accessibility.tree.applications.value(77)->elements.clear();
  EXPECT_EQ(gather().focusedElement.value, "chosen");
  accessibility.tree.applications.value(77)->lists.clear();
  EXPECT_EQ(gather().focusedElement, FocusedElementInfo());
}

TEST_F(ApplicationContextGathererTest, ALargeInterfaceIsNotWalkedWhole) {
  isFrontmost("org.gnome.gedit");
  auto window = make("AXWindow");
  for (int i = 0; i < 100; ++i) {
    auto group = make("AXGroup");
    for (int j = 0; j < 100; ++j) group->child(make("AXStaticText"));
    window->child(group);
  }
  window->child(make("AXTextField"));
  accessibility.addApplication(77, window);
  EXPECT_EQ(gather().focusedElement, FocusedElementInfo());
  EXPECT_LT(accessibility.tree.reads, 2000);
}

TEST_F(ApplicationContextGathererTest, AProgramThatHangsLeavesTheFieldsEmpty) {
  isFrontmost("com.google.Chrome", "Chrome");
  accessibility.hangs = true;
  const TimePoint begin = executor.now();
  EXPECT_EQ(gather().contextQuality, "Limited");
  EXPECT_EQ(executor.now() - begin, std::chrono::milliseconds(500));
  // The work still runs when the program wakes up, long after the one who asked.
  accessibility.focus(make("AXTextField")->with("AXValue", "late"));
  ASSERT_EQ(accessibility.late.size(), 1u);
  accessibility.late.front()(accessibility.tree);
}

TEST_F(ApplicationContextGathererTest, WhatWasReadBeforeTheTimeWasUpIsKept) {
  isFrontmost("com.google.Chrome");
  accessibility.focus(make("AXTextField")->with("AXValue", "kept"));
  accessibility.addApplication(77, make("AXWindow")->with("AXTitle", "Tab"));
  accessibility.tree.readsUntilOutOfTime = 9;
  const auto context = gather();
  EXPECT_EQ(context.focusedElement.value, "kept");
  EXPECT_EQ(context.browserTabTitle, std::nullopt);
  EXPECT_EQ(context.contextQuality, "Partial");
}

TEST(PromptBlockTest, TagsOfWhatIsKnown) {
  ApplicationContext context;
  context.appName = "Firefox";
  context.category = "Web Browser";
  context.description = "A browser";
  context.browserTabTitle = QString("");
  context.focusedElement.role = "AXTextAXField";
  context.focusedElement.title = "Subject";
  // A hundred and one characters, each of several code units.
  const QString family = "👨‍👩‍👧";
  context.focusedElement.value = family.repeated(101);
  context.textInputFormat = "text";
  const QString head = QStringLiteral(
      "<APPLICATION_CONTEXT>\n<APP>Firefox</APP>\n<TAB></TAB>\n<CATEGORY>Web Browser</CATEGORY>\n"
      "<DESCRIPTION>A browser</DESCRIPTION>\n<TEXT_FORMAT>text</TEXT_FORMAT>\n");
  EXPECT_EQ(ApplicationContextGatherer::promptBlock(context),
            head + QStringLiteral("<FOCUSED_ELEMENT>TextField - Subject</FOCUSED_ELEMENT>\n<FOCUSED_CONTENT>") +
                family.repeated(100) + QStringLiteral("...</FOCUSED_CONTENT>\n</APPLICATION_CONTEXT>"));

  context.browserTabTitle.reset();
  context.focusedElement = {};
  context.focusedElement.value = QString("");
  EXPECT_EQ(ApplicationContextGatherer::promptBlock(context),
            QString(head).remove("<TAB></TAB>\n") + QStringLiteral("</APPLICATION_CONTEXT>"));
}

}  // namespace
}  // namespace quillmere
