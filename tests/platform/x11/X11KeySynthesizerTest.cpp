#include "platform/x11/X11KeySynthesizer.h"

#include "X11Desk.h"

namespace quillmere {
namespace {

// Sees the keys with the modifiers that were down.
class KeyWindow {
 public:
  struct Key {
    int code;
    unsigned modifiers;
    bool isPress;
    bool operator==(const Key&) const = default;
  };
  explicit KeyWindow(const QString& displayName) : connection_(*XcbConnection::open(displayName)) {
    xcb_connection_t* const raw = connection_->raw();
    const xcb_window_t window = xcb_generate_id(raw);
    const uint32_t mask = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE;
    xcb_create_window(raw, XCB_COPY_FROM_PARENT, window, connection_->root(), 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, connection_->screen().root_visual, XCB_CW_EVENT_MASK, &mask);
    xcb_map_window(raw, window);
    xcb_set_input_focus(raw, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    connection_->synchronize();
    events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) {
      const uint8_t type = event.response_type & 0x7f;
      if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) return;
      const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
      keys_.push_back({key.detail, key.state & 0xffu & ~unsigned(XCB_MOD_MASK_2), type == XCB_KEY_PRESS});
    });
  }
  // Presses of one key.
  std::vector<Key> takePressesOf(int code) {
    connection_->synchronize();
    connection_->dispatchNow();
    std::vector<Key> found;
    for (const Key& key : std::exchange(keys_, {}))
      if (key.code == code && key.isPress) found.push_back(key);
    return found;
  }

 private:
  std::unique_ptr<XcbConnection> connection_;
  std::vector<Key> keys_;
  Subscription events_;
};

class X11KeySynthesizerTest : public X11Desk {
 protected:
  void SetUp() override {
    X11Desk::SetUp();
    if (!server) return;
    auto opened = X11KeySynthesizer::open(server->displayName());
    ASSERT_TRUE(opened);
    synthesizer = std::move(opened).value();
  }
  std::unique_ptr<X11KeySynthesizer> synthesizer;
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
    other->lockLayout(uint8_t(one.lockedLayout));
    EXPECT_EQ(synthesizer->keyCodeForLetter(QLatin1Char('v')), one.v) << one.layout.join(' ').toStdString();
    EXPECT_EQ(synthesizer->keyCodeForLetter(QLatin1Char('C')), one.c) << one.layout.join(' ').toStdString();
  }
}

TEST_F(X11KeySynthesizerTest, AStrokeArrivesWithItsModifierOnly) {
  KeyWindow window(server->displayName());
  const unsigned control = XCB_MOD_MASK_CONTROL, shift = XCB_MOD_MASK_SHIFT;
  using Modifier = KeySynthesizer::Modifier;
  using NamedKey = KeySynthesizer::NamedKey;
  EXPECT_TRUE(synthesizer->press(55, Modifier::control));
  EXPECT_EQ(window.takePressesOf(55), (std::vector<KeyWindow::Key>{{55, control, true}}));
  EXPECT_TRUE(synthesizer->press(NamedKey::insert, Modifier::shift));
  EXPECT_EQ(window.takePressesOf(118), (std::vector<KeyWindow::Key>{{118, shift, true}}));
  EXPECT_TRUE(synthesizer->press(NamedKey::tab, Modifier::none));
  EXPECT_EQ(window.takePressesOf(23), (std::vector<KeyWindow::Key>{{23, 0, true}}));
  EXPECT_FALSE(synthesizer->press(300, Modifier::none));

  // What the user holds does not get in.
  for (const uint32_t held : {XKB_KEY_Shift_L, XKB_KEY_Alt_L, XKB_KEY_Super_L, XKB_KEY_Control_R}) {
    keys->press(held);
    EXPECT_TRUE(synthesizer->press(55, Modifier::control));
    EXPECT_EQ(window.takePressesOf(55), (std::vector<KeyWindow::Key>{{55, control, true}})) << held;
    keys->release(held);
    EXPECT_TRUE(synthesizer->press(NamedKey::space, Modifier::none));
    EXPECT_EQ(window.takePressesOf(65), (std::vector<KeyWindow::Key>{{65, 0, true}})) << "nothing is left down";
  }
}

TEST_F(X11KeySynthesizerTest, AServerThatDiesLetsStrokesFail) {
  EXPECT_TRUE(synthesizer->isAvailable());
  server->kill();
  EXPECT_FALSE(synthesizer->press(55, KeySynthesizer::Modifier::control));
  EXPECT_FALSE(synthesizer->isAvailable());
  EXPECT_EQ(synthesizer->keyCodeForLetter(QLatin1Char('v')), std::nullopt);
  EXPECT_FALSE(X11KeySynthesizer::open(QStringLiteral(":4711")));
}

}  // namespace
}  // namespace quillmere
