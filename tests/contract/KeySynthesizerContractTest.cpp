#include "contract/Sides.h"
#include "platform/x11/X11Desk.h"
#include "platform/x11/X11KeySynthesizer.h"
#include "support/FakeKeySynthesizer.h"

namespace quillmere {
namespace {

using Modifier = KeySynthesizer::Modifier;
using NamedKey = KeySynthesizer::NamedKey;

struct FakeSide {
  // What the focused window got last, with the modifiers that were down.
  QString arrived() { return synthesizer->strokes.isEmpty() ? QString() : synthesizer->strokes.takeLast(); }
  void chooseLayoutWithoutV() { synthesizer->keyCodes.clear(); }
  void endDisplay() { synthesizer->available = false; }
  std::unique_ptr<FakeKeySynthesizer> synthesizer = std::make_unique<FakeKeySynthesizer>();
};

struct X11Side : X11Desk {
  X11Side() { other.showFocusedWindow(); }
  QString arrived() {
    const auto presses = other.takePresses();  // those of the modifiers, too
    if (presses.empty()) return {};
    const auto [code, modifiers] = presses.back();
    QString key = QString::number(code);
    for (const auto& [name, symbol] :
         {std::pair{"space", XKB_KEY_space}, std::pair{"tab", XKB_KEY_Tab}, std::pair{"insert", XKB_KEY_Insert}})
      if (code == keys.codeOf(symbol)) key = name;
    if (modifiers == 0) return key;
    return (modifiers == XCB_MOD_MASK_CONTROL ? "control+" : modifiers == XCB_MOD_MASK_SHIFT ? "shift+" : "?") + key;
  }
  void chooseLayoutWithoutV() { EXPECT_TRUE(setLayout({"ru"})); }
  void endDisplay() { server.kill(); }
  std::unique_ptr<X11KeySynthesizer> synthesizer = *X11KeySynthesizer::open(server.displayName());
};

template <typename Side>
class KeySynthesizerContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, X11Side>;
TYPED_TEST_SUITE(KeySynthesizerContract, Sides, SideNames);

TYPED_TEST(KeySynthesizerContract, AStrokeArrivesWithItsModifierOnly) {
  auto& synthesizer = *this->synthesizer;
  ASSERT_TRUE(synthesizer.isAvailable());
  const std::optional<int> v = synthesizer.keyCodeForLetter(u'v');
  ASSERT_TRUE(v);
  EXPECT_EQ(synthesizer.keyCodeForLetter(u'V'), v) << "the key, not what it writes";
  EXPECT_TRUE(synthesizer.press(*v, Modifier::control));
  EXPECT_EQ(this->arrived(), QString("control+%1").arg(*v));
  EXPECT_TRUE(synthesizer.press(*v, Modifier::none));
  EXPECT_EQ(this->arrived(), QString::number(*v)) << "nothing is left down";
  const struct {
    NamedKey key;
    Modifier modifier;
    const char* stroke;
  } cases[] = {{NamedKey::insert, Modifier::shift, "shift+insert"},
               {NamedKey::tab, Modifier::none, "tab"},
               {NamedKey::space, Modifier::control, "control+space"}};
  for (const auto& one : cases) {
    EXPECT_TRUE(synthesizer.press(one.key, one.modifier)) << one.stroke;
    EXPECT_EQ(this->arrived(), one.stroke);
  }
}

TYPED_TEST(KeySynthesizerContract, WhatTheKeyboardLacksIsNotPressed) {
  auto& synthesizer = *this->synthesizer;
  for (const int code : {0, 300}) EXPECT_FALSE(synthesizer.press(code, Modifier::control)) << code;
  this->chooseLayoutWithoutV();
  EXPECT_EQ(synthesizer.keyCodeForLetter(u'v'), std::nullopt);
  EXPECT_EQ(this->arrived(), QString());
}

TYPED_TEST(KeySynthesizerContract, WithoutADisplayNothingGoes) {
  this->endDisplay();
  auto& synthesizer = *this->synthesizer;
  const auto refused = synthesizer.press(55, Modifier::control);
  ASSERT_FALSE(refused);
  EXPECT_FALSE(refused.error().description.isEmpty());
  EXPECT_FALSE(synthesizer.press(NamedKey::insert, Modifier::shift));
  EXPECT_FALSE(synthesizer.isAvailable());
  EXPECT_EQ(synthesizer.keyCodeForLetter(u'v'), std::nullopt);
}

}  // namespace
}  // namespace quillmere
