#include "context/ApplicationContextGatherer.h"

#include <gtest/gtest.h>

#include "support/FakeAccessibility.h"
#include "support/FakeWorkspace.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

const QString children = QStringLiteral("AXChildren");

class GathererTest : public testing::Test {
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

TEST_F(GathererTest, WithoutAnApplication) {
  const auto context = gather();
  EXPECT_EQ(context.appName, QLatin1String("Unknown"));
  EXPECT_TRUE(context.bundleId.isEmpty());
  EXPECT_EQ(context.category, QLatin1String("Application"));
  EXPECT_EQ(context.contextQuality, QLatin1String("Limited"));
}

TEST_F(GathererTest, WithoutPermissionOnlyTheTablesSpeak) {
  isFrontmost("org.mozilla.firefox", "Firefox");
  accessibility.trusted = false;
  accessibility.focus(make("AXTextField")->with(QStringLiteral("AXValue"), QStringLiteral("secret")));
  const auto context = gather();
  EXPECT_EQ(context.appName, QLatin1String("Firefox"));
  EXPECT_EQ(context.category, QLatin1String("Web Browser"));
  EXPECT_EQ(context.description, QLatin1String("Privacy-focused open source web browser"));
  EXPECT_EQ(context.browserTabTitle, std::nullopt);
  EXPECT_EQ(context.focusedElement, FocusedElementInfo());
  EXPECT_EQ(context.textInputFormat, QLatin1String("text"));
  EXPECT_EQ(context.contextQuality, QLatin1String("Limited"));
  EXPECT_TRUE(accessibility.limits.empty());
}

TEST_F(GathererTest, AFieldInABrowser) {
  isFrontmost("com.google.Chrome");
  const auto field = make("AXTextField")
                         ->with(QStringLiteral("AXTitle"), QStringLiteral("To"))
                         ->with(QStringLiteral("AXValue"), QStringLiteral("https://example.org"))
                         ->with(QStringLiteral("AXRoleDescription"), QStringLiteral("entry"))
                         ->with(QStringLiteral("AXSelectedText"), QStringLiteral("unused"))
                         ->with(QStringLiteral("AXPlaceholderValue"), QStringLiteral("Address"));
  accessibility.focus(field);
  auto window = make("AXWindow")->with(QStringLiteral("AXTitle"), QStringLiteral("Window - Google Chrome"));
  window->child(
      make("AXGroup")->child(make("AXWebArea")->with(QStringLiteral("AXTitle"), QStringLiteral("Mail - Chrome"))));
  accessibility.addApplication(77, window);
  const auto context = gather();
  EXPECT_EQ(context.browserTabTitle, QStringLiteral("Mail"));
  const FocusedElementInfo expected{QStringLiteral("AXTextField"), QStringLiteral("To"), QStringLiteral("entry"),
                                    QStringLiteral("https://example.org"), QStringLiteral("Address")};
  EXPECT_EQ(context.focusedElement, expected);
  EXPECT_EQ(context.textInputFormat, QLatin1String("url"));
  EXPECT_EQ(context.contextQuality, QLatin1String("Full"));
  EXPECT_EQ(accessibility.limits, std::vector<Duration>{std::chrono::milliseconds(400)});
}

TEST_F(GathererTest, TheTabTitleFallsBackToTheWindow) {
  struct Case {
    int depth;         // of the web area, the window being 1
    const char* page;  // null: no title
    const char* expected;
  };
  const Case cases[] = {{6, "Page", "Page"}, {7, "Page", "Window"}, {2, "", "Window"}, {2, nullptr, "Window"}};
  for (const Case& each : cases) {
    isFrontmost("com.apple.Safari");
    auto inner = make("AXWebArea");
    if (each.page) inner->with(QStringLiteral("AXTitle"), QString::fromLatin1(each.page));
    for (int i = each.depth; i > 2; --i) inner = make("AXGroup")->child(inner);
    accessibility.addApplication(
        77, make("AXWindow")->with(QStringLiteral("AXTitle"), QStringLiteral("Window - Safari"))->child(inner));
    EXPECT_EQ(gather().browserTabTitle, QString::fromLatin1(each.expected)) << each.depth;
  }
  // Only browsers have tabs.
  isFrontmost("org.gnome.gedit");
  EXPECT_EQ(gather().browserTabTitle, std::nullopt);
}

TEST_F(GathererTest, AWebAreaTellsWhatItHoldsInside) {
  isFrontmost("com.microsoft.VSCode");
  const auto area = make("AXWebArea")
                        ->with(QStringLiteral("AXSelectedText"), QStringLiteral("selected"))
                        ->with(QStringLiteral("AXTitle"), QStringLiteral("not this"));
  accessibility.focus(area);
  FocusedElementInfo expected;
  expected.role = QStringLiteral("AXWebArea");
  expected.description = QStringLiteral("Web content area");
  expected.value = QStringLiteral("selected");
  EXPECT_EQ(gather().focusedElement, expected);

  const auto inner = node()->with(QStringLiteral("AXTitle"), QStringLiteral("Editor"));
  area->pointing(QStringLiteral("AXFocusedUIElement"), inner);
  expected.role = QStringLiteral("AXWebContent");
  expected.title = QStringLiteral("Editor");
  EXPECT_EQ(gather().focusedElement, expected);

  inner->with(QStringLiteral("AXRole"), QStringLiteral("AXTextArea"))
      ->with(QStringLiteral("AXValue"), QStringLiteral(""))
      ->with(QStringLiteral("AXDescription"), QStringLiteral("Code"))
      ->with(QStringLiteral("AXPlaceholderValue"), QStringLiteral("p"));
  const FocusedElementInfo full{QStringLiteral("AXTextArea"), QStringLiteral("Editor"), QStringLiteral("Code"),
                                QString(QLatin1String("")), QStringLiteral("p")};
  EXPECT_EQ(gather().focusedElement, full);
}

TEST_F(GathererTest, WithoutAFocusTheWindowIsSearched) {
  isFrontmost("org.gnome.gedit");
  // A field, though a group that takes a value comes first.
  auto settable = make("AXGroup")
                      ->with(QStringLiteral("AXValue"), QStringLiteral("in the group"))
                      ->settable(QStringLiteral("AXValue"));
  auto window = make("AXWindow")
                    ->child(make("AXGroup")->child(make("AXStaticText"))->child(settable))
                    ->child(make("AXTextField")->with(QStringLiteral("AXValue"), QStringLiteral("in the field")));
  accessibility.addApplication(77, window);
  EXPECT_EQ(gather().focusedElement.value, QStringLiteral("in the group"));
  settable->settableAttributes.clear();
  const auto found = gather().focusedElement;
  EXPECT_EQ(found.role, QStringLiteral("AXTextField"));
  EXPECT_EQ(found.value, QStringLiteral("in the field"));

  // A page wins over fields, and the first window serves when none is focused.
  window->child(make("AXWebArea")->with(QStringLiteral("AXSelectedText"), QStringLiteral("chosen")));
  accessibility.tree.applications.value(77)->elements.clear();
  EXPECT_EQ(gather().focusedElement.value, QStringLiteral("chosen"));
  accessibility.tree.applications.value(77)->lists.clear();
  EXPECT_EQ(gather().focusedElement, FocusedElementInfo());
}

TEST_F(GathererTest, ALargeInterfaceIsNotWalkedWhole) {
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

TEST_F(GathererTest, AProgramThatHangsLeavesTheFieldsEmpty) {
  isFrontmost("com.google.Chrome", "Chrome");
  accessibility.hangs = true;
  const TimePoint begin = executor.now();
  {
    const auto context = gather();
    EXPECT_EQ(context.appName, QLatin1String("Chrome"));
    EXPECT_EQ(context.focusedElement, FocusedElementInfo());
    EXPECT_EQ(context.contextQuality, QLatin1String("Limited"));
  }
  EXPECT_EQ(executor.now() - begin, std::chrono::milliseconds(500));
  // The work still runs when the program wakes up, long after the one who asked.
  accessibility.focus(make("AXTextField")->with(QStringLiteral("AXValue"), QStringLiteral("late")));
  ASSERT_EQ(accessibility.late.size(), 1u);
  accessibility.late.front()(accessibility.tree);
}

TEST_F(GathererTest, WhatWasReadBeforeTheTimeWasUpIsKept) {
  isFrontmost("com.google.Chrome");
  accessibility.focus(make("AXTextField")->with(QStringLiteral("AXValue"), QStringLiteral("kept")));
  accessibility.addApplication(77, make("AXWindow")->with(QStringLiteral("AXTitle"), QStringLiteral("Tab")));
  accessibility.tree.readsUntilOutOfTime = 9;
  const auto context = gather();
  EXPECT_EQ(context.focusedElement.value, QStringLiteral("kept"));
  EXPECT_EQ(context.browserTabTitle, std::nullopt);
  EXPECT_EQ(context.contextQuality, QLatin1String("Partial"));
}

TEST(PromptBlock, TagsOfAFullContext) {
  ApplicationContext context;
  context.appName = QStringLiteral("Firefox");
  context.bundleId = QStringLiteral("org.mozilla.firefox");
  context.category = QStringLiteral("Web Browser");
  context.description = QStringLiteral("A browser");
  context.browserTabTitle = QString(QLatin1String(""));
  context.focusedElement.role = QStringLiteral("AXTextAXField");
  context.focusedElement.title = QStringLiteral("Subject");
  context.focusedElement.value = QString(100, QLatin1Char('x'));
  context.textInputFormat = QStringLiteral("text");
  context.contextQuality = QStringLiteral("Partial");
  const QString head = QStringLiteral(
      "<APPLICATION_CONTEXT>\n<APP>Firefox</APP>\n<TAB></TAB>\n<CATEGORY>Web Browser</CATEGORY>\n"
      "<DESCRIPTION>A browser</DESCRIPTION>\n<TEXT_FORMAT>text</TEXT_FORMAT>\n");
  EXPECT_EQ(ApplicationContextGatherer::promptBlock(context),
            head + QStringLiteral("<FOCUSED_ELEMENT>TextField - Subject</FOCUSED_ELEMENT>\n<FOCUSED_CONTENT>") +
                QString(100, QLatin1Char('x')) + QStringLiteral("</FOCUSED_CONTENT>\n</APPLICATION_CONTEXT>"));

  // A hundred and one characters, each of several code units.
  const QString family = QString::fromUtf8("👨‍👩‍👧");
  context.focusedElement.value = family.repeated(101);
  context.focusedElement.title.reset();
  EXPECT_EQ(ApplicationContextGatherer::promptBlock(context),
            head + QStringLiteral("<FOCUSED_ELEMENT>TextField</FOCUSED_ELEMENT>\n<FOCUSED_CONTENT>") +
                family.repeated(100) + QStringLiteral("...</FOCUSED_CONTENT>\n</APPLICATION_CONTEXT>"));

  context.browserTabTitle.reset();
  context.focusedElement = {};
  context.focusedElement.value = QString(QLatin1String(""));
  EXPECT_EQ(ApplicationContextGatherer::promptBlock(context),
            QString(head).remove(QStringLiteral("<TAB></TAB>\n")) + QStringLiteral("</APPLICATION_CONTEXT>"));
}

}  // namespace
}  // namespace quillmere
