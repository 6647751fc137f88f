#include "context/SelectedTextService.h"

#include <gtest/gtest.h>

#include "support/FakeAccessibility.h"
#include "support/FakePasteboard.h"
#include "support/FakeWorkspace.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

class SelectedTextServiceTest : public testing::Test {
 protected:
  SelectedTextServiceTest() {
    RunningApplication application;
    application.processId = 5;
    workspace.frontmost = application;
    ClipboardItemData image;
    image.types = QStringList{"image/png", "text/uri-list"};
    image.data = {{"image/png", QByteArray("\x89PNG\0x", 6)}, {"text/uri-list", "file:///a"}};
    before = {image};
    pasteboard.copyElsewhere(before);
  }

  // A menu bar File, Edit, ... whose Copy item copies the text, after a while.
  FakeAccessibilityNode::Ptr copyItem(const QString& title, const QString& character, const QString& text,
                                      Duration after = {}) {
    auto item = node("AXMenuItem")->with("AXTitle", title)->with("AXEnabled", "true");
    if (character.size() > 1)
      item->with("AXIdentifier", character);
    else if (!character.isNull())
      item->with("AXMenuItemCmdChar", character);
    return item->doing("AXPress", [this, text, after] {
      executor.startTimer(after, [this, text] { pasteboard.copyElsewhere(text); });
      return true;
    });
  }
  void setMenus(const std::vector<std::pair<QString, FakeAccessibilityNode::Ptr>>& menus) {
    auto bar = node("AXMenuBar");
    for (const auto& [title, item] : menus) {
      auto menu = node("AXMenu")->with("AXTitle", title);
      if (item) menu->child(node("AXMenuItem")->with("AXTitle", "Cut"))->child(item);
      bar->child(menu);
    }
    accessibility.addApplication(5, node("AXWindow"), bar);
  }
  std::optional<QString> capture() { return runTask(executor, service.capture()); }

  ManualExecutor executor;
  FakeWorkspace workspace;
  FakeAccessibility accessibility;
  FakePasteboard pasteboard;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  SelectedTextReader reader{workspace, accessibility, pasteboard, Logging(log)};
  SelectedTextService service{accessibility, reader, Logging(log)};
  ClipboardItems before;
};

TEST_F(SelectedTextServiceTest, ByAccessibilityTheClipboardIsNotTouched) {
  accessibility.focus(node("AXTextArea")->with("AXSelectedText", "naïve 👩‍🚀"));
  setMenus({{"File", nullptr}, {"Edit", copyItem("Copy", "C", "other")}});
  const quint64 count = pasteboard.changeCount();
  EXPECT_EQ(capture(), "naïve 👩‍🚀");
  EXPECT_EQ(pasteboard.changeCount(), count);
  EXPECT_FALSE(log->publicLines().join(' ').contains("naïve"));
}

TEST_F(SelectedTextServiceTest, ByTheCopyItemTheClipboardIsGivenBack) {
  struct Case {
    const char* name;
    QString menu, title, character;  // or an identifier
    bool isFound;
  };
  const Case cases[] = {
      {"usual", "Edit", "Copy", "C", true},
      {"lower case, mnemonic", "&Bearbeiten", "&Kopieren", "c", true},
      {"another menu", "Go", "Copy", "C", true},
      {"no shortcut readable", "Edit", "Copy", QString(), true},
      {"another shortcut", "Edit", "Copy", "D", false},
      {"identifier", "Edit", "Etwas", "copy:", true},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    setMenus({{"File", nullptr},
              {each.menu, copyItem(each.title, each.character, "selected", std::chrono::milliseconds(120))}});
    EXPECT_EQ(capture(), each.isFound ? std::optional(QStringLiteral("selected")) : std::nullopt);
    EXPECT_EQ(pasteboard.contents, before);
  }
}

TEST_F(SelectedTextServiceTest, ADisabledCopyItemMeansThatNothingIsSelected) {
  setMenus({{"Edit", copyItem("Copy", "C", "second")->with("AXEnabled", "false")}});
  EXPECT_EQ(capture(), std::nullopt);
  EXPECT_TRUE(accessibility.tree.performedActions.isEmpty());
}

TEST_F(SelectedTextServiceTest, AnItemThatCopiesNothingIsWaitedForHalfASecond) {
  setMenus({{"Edit", copyItem("Copy", "C", "too late", std::chrono::seconds(3))}});
  const TimePoint begin = executor.now();
  EXPECT_EQ(capture(), std::nullopt);
  EXPECT_EQ(executor.now() - begin, std::chrono::milliseconds(500));
  EXPECT_EQ(pasteboard.contents, before);
}

// A short dictation whose text is pasted while the copy is still under way.
TEST_F(SelectedTextServiceTest, ADictatedTextIsNeitherTakenForTheSelectionNorTakenAway) {
  setMenus({{"Edit", copyItem("Copy", "C", "too late", std::chrono::seconds(3))}});
  executor.startTimer(std::chrono::milliseconds(100), [this] { pasteboard.writeText("dictated", true); });
  EXPECT_EQ(capture(), std::nullopt);
  EXPECT_EQ(pasteboard.plainText(), "dictated");

  pasteboard.copyElsewhere(ClipboardItems());
  setMenus({{"Edit", copyItem("Copy", "C", "selected")}});
  pasteboard.readTakes = std::chrono::milliseconds(100);
  executor.startTimer(std::chrono::milliseconds(150), [this] { pasteboard.writeText("dictated", true); });
  capture();
  EXPECT_EQ(pasteboard.plainText(), "dictated");
}

TEST_F(SelectedTextServiceTest, PasswordsAreNeverCopied) {
  accessibility.focus(node("AXTextField")->with("AXSubrole", "AXSecureTextField")->with("AXSelectedText", "secret"));
  setMenus({{"Edit", copyItem("Copy", "C", "secret")}});
  EXPECT_EQ(capture(), std::nullopt);
  EXPECT_TRUE(accessibility.tree.performedActions.isEmpty());
}

TEST_F(SelectedTextServiceTest, WithoutPermissionNothingIsAsked) {
  accessibility.trusted = false;
  EXPECT_EQ(capture(), std::nullopt);
  EXPECT_TRUE(accessibility.limits.empty());
  accessibility.trusted = true;
  accessibility.hangs = true;
  EXPECT_EQ(capture(), std::nullopt) << "nor from a program that hangs";
}

TEST_F(SelectedTextServiceTest, ACancelAtAnyMomentGivesTheClipboardBack) {
  setMenus({{"Edit", copyItem("Copy", "C", "selected", std::chrono::milliseconds(50))}});
  pasteboard.readTakes = std::chrono::milliseconds(20);
  for (int turns = 0; turns < 60; ++turns) {
    {
      TaskScope scope(executor);
      auto task = scope.spawn(service.capture());
      for (int i = 0; i < turns && !task.isDone(); ++i)
        if (!executor.runOne()) executor.advance(std::chrono::milliseconds(10));
      task.cancel();
      executor.runUntil([&] { return task.isDone(); });
    }
    executor.advance(std::chrono::milliseconds(200));
    ASSERT_EQ(pasteboard.contents, before) << "cancelled after " << turns << " turns";
  }
}

}  // namespace
}  // namespace quillmere
