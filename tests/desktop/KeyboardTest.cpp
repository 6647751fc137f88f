#include <gtest/gtest.h>

#include "desktop/Keyboard.h"

namespace quillmere {
namespace {

class KeyboardTest : public testing::Test {
 protected:
  // A page, with the keyboard on the control of that name.
  void open(const char* page, const char* control) {
    ASSERT_NE(activeWindow(f, QString::fromLatin1(page)), nullptr);
    ASSERT_TRUE(tabTo(f, QString::fromLatin1(control)));
  }
  void tab(bool isBack = false) {
    press(f, isBack ? Qt::Key_Backtab : Qt::Key_Tab, isBack ? Qt::ShiftModifier : Qt::NoModifier);
  }
  bool comesTo(const char* start) {
    return f.settleUntil([&] { return focused(f).startsWith(QLatin1String(start)); });
  }

  DesktopFixture f;
};

TEST_F(KeyboardTest, AListAndTheSideBarAreOneStopWhereverTheirArrowsWere) {
  open("modes", "New mode");
  tab();
  press(f, Qt::Key_Down);
  EXPECT_TRUE(comesTo("E-mail & notes."));
  tab(true);
  EXPECT_EQ(focused(f), QStringLiteral("New mode")) << "past the row before";
  tab(true);
  EXPECT_EQ(focused(f), QStringLiteral("Modes"));
  press(f, Qt::Key_Down);
  EXPECT_EQ(focused(f), QStringLiteral("Vocabulary"));
  tab(true);
  EXPECT_NE(focused(f), QStringLiteral("Modes")) << "past the page before";
  tab();
  EXPECT_EQ(focused(f), QStringLiteral("Vocabulary"));
  tab();
  EXPECT_EQ(focused(f), QStringLiteral("Word")) << "past the other pages";
}

TEST_F(KeyboardTest, RowsGoAndTheKeyboardGoesOnWithTheirNeighbours) {
  for (const char* word : {"ant", "bee", "cow"}) f.store->addVocabularyItem(QString::fromLatin1(word));
  open("vocabulary", "ant");
  press(f, Qt::Key_Down);
  press(f, Qt::Key_Return);
  EXPECT_EQ(focused(f), QStringLiteral("Word"));
  press(f, Qt::Key_Escape);
  EXPECT_EQ(focused(f), QStringLiteral("bee")) << "where the editor was opened";
  press(f, Qt::Key_Return);
  press(f, Qt::Key_A, Qt::ControlModifier);
  type(f, QStringLiteral("yak"));
  press(f, Qt::Key_Return);
  EXPECT_TRUE(comesTo("yak")) << "in its new place";
  press(f, Qt::Key_Delete);
  EXPECT_TRUE(comesTo("cow"));
  press(f, Qt::Key_Delete);
  EXPECT_TRUE(comesTo("ant"));
  press(f, Qt::Key_Delete);
  EXPECT_TRUE(comesTo("Word")) << "nothing is left";
}

TEST_F(KeyboardTest, WhatHadTheKeyboardMayGoWithItsPageOrAlone) {
  open("settings", "Seconds until then");
  f.settings.setRestoreClipboardAfterPaste(false);
  EXPECT_TRUE(comesTo("Microphone"));
  press(f, Qt::Key_PageUp, Qt::ControlModifier);
  EXPECT_TRUE(f.settleUntil([&] { return !focused(f).isEmpty(); })) << "another page";
  press(f, Qt::Key_Comma, Qt::ControlModifier);
  EXPECT_TRUE(comesTo("Microphone"));
}

}  // namespace
}  // namespace quillmere
