#include "platform/x11/X11KeySynthesizer.h"

#include "platform/x11/X11Desk.h"

namespace quillmere {
namespace {

class X11KeySynthesizerTest : public X11DeskTest {
 protected:
  std::unique_ptr<X11KeySynthesizer> synthesizer = *X11KeySynthesizer::open(server.displayName());
};

TEST_F(X11KeySynthesizerTest, TheLetterIsFoundOnEveryLayoutThatHasIt) {
  const struct {
    QStringList layout;
    int lockedLayout;
    std::optional<int> v, c;
  } cases[] = {
      {{"us"}, 0, 55, 54},
      {{"fr"}, 0, 55, 54},
      {{"de"}, 0, 55, 54},
      {{"us", "-variant", "dvorak"}, 0, 60, 31},
      {{"us,ru"}, 1, 55, 54},
      {{"ru,us", "-variant", ",dvorak"}, 0, 60, 31},
      {{"ru"}, 0, std::nullopt, std::nullopt},
      {{"gr"}, 0, std::nullopt, std::nullopt},
      {{"us", "-variant", ""}, 0, 55, 54},
  };
  for (const auto& one : cases) {
    ASSERT_TRUE(setLayout(one.layout));
    other.lockLayout(uint8_t(one.lockedLayout));
    EXPECT_EQ(synthesizer->keyCodeForLetter(QLatin1Char('v')), one.v) << one.layout.join(' ').toStdString();
    EXPECT_EQ(synthesizer->keyCodeForLetter(QLatin1Char('C')), one.c) << one.layout.join(' ').toStdString();
  }
}

TEST_F(X11KeySynthesizerTest, WhatTheUserHoldsDoesNotGetIn) {
  other.showFocusedWindow();
  using Modifier = KeySynthesizer::Modifier;
  // The last key that came: those of modifiers come, too.
  const auto last = [this] {
    const auto presses = other.takePresses();
    return presses.empty() ? OtherProgram::Press() : presses.back();
  };
  for (const uint32_t held : {XKB_KEY_Shift_L, XKB_KEY_Alt_L, XKB_KEY_Super_L, XKB_KEY_Control_R}) {
    keys.press(held);
    EXPECT_TRUE(synthesizer->press(55, Modifier::control));
    EXPECT_EQ(last(), (OtherProgram::Press{55, XCB_MOD_MASK_CONTROL})) << held;
    keys.release(held);
    EXPECT_TRUE(synthesizer->press(KeySynthesizer::NamedKey::space, Modifier::none));
    EXPECT_EQ(last(), (OtherProgram::Press{65, 0})) << "nothing is left down";
  }
}

TEST_F(X11KeySynthesizerTest, WithoutADisplayThereIsNone) {
  EXPECT_FALSE(X11KeySynthesizer::open(":4711"));
}

}  // namespace
}  // namespace quillmere
