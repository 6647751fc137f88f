#include "core/ShortcutStore.h"

#include <gtest/gtest.h>

#include "core/TriggerFixture.h"

namespace quillmere {
namespace {

namespace names = shortcutNames;

struct ShortcutStoreFixture : TriggerFixture {
  ShortcutStore store{defaults, shortcuts, &state, logging};

  QString keysOf(const char* name) {
    const auto keys = shortcuts.shortcut(name);
    return keys ? keys->text() : QString();
  }
  void byOtherProcess(const char* name, const QVariant& value) {
    defaults.changeByOtherProcess(shortcutSettingKey(name), value);
  }
};

TEST(ShortcutStoreTest, FollowsChangesOfEveryProcess) {
  ShortcutStoreFixture f;
  f.store.start();
  f.byOtherProcess(names::changeMode, "Ctrl+Alt+M");
  EXPECT_EQ(f.keysOf(names::changeMode), "Ctrl+Alt+M");
  EXPECT_TRUE(f.store.setKeys(names::changeMode, KeyCombination::parse("Super+M")));
  EXPECT_EQ(f.keysOf(names::changeMode), "Super+M");
  f.byOtherProcess(names::changeMode, "");
  EXPECT_EQ(f.keysOf(names::changeMode), "");
  f.byOtherProcess(names::changeMode, "F9");
  f.byOtherProcess(names::changeMode, QVariant());
  EXPECT_EQ(f.keysOf(names::changeMode), "");
  EXPECT_TRUE(f.notices.toasts.empty());
}

TEST(ShortcutStoreTest, AKeyThatSomebodyElseHasIsNamed) {
  ShortcutStoreFixture f;
  f.shortcuts.takenByOthers = {"Ctrl+Alt+D"};
  f.store.start();
  f.byOtherProcess(names::toggleRecordingWithTranscription, "Ctrl+Alt+D");
  ASSERT_EQ(f.notices.toasts.size(), 1U);
  EXPECT_TRUE(f.notices.toasts[0].first.contains("Ctrl+Alt+D")) << f.notices.toasts[0].first.toStdString();
  EXPECT_EQ(f.store.unavailable().size(), 1U);
  // It is tried again when something else changes, without a further word.
  f.shortcuts.takenByOthers.clear();
  f.byOtherProcess(names::changeMode, "F9");
  EXPECT_EQ(f.keysOf(names::toggleRecordingWithTranscription), "Ctrl+Alt+D");
  EXPECT_TRUE(f.store.unavailable().empty());
  EXPECT_EQ(f.notices.toasts.size(), 1U);
}

TEST(ShortcutStoreTest, TwoNamesMayExchangeTheirKeys) {
  ShortcutStoreFixture f;
  f.byOtherProcess(names::changeMode, "F8");
  f.byOtherProcess(names::startStreaming, "F9");
  f.store.start();
  f.byOtherProcess(names::changeMode, "F9");
  f.byOtherProcess(names::startStreaming, "F8");
  EXPECT_EQ(f.keysOf(names::changeMode), "F9");
  EXPECT_EQ(f.keysOf(names::startStreaming), "F8");
  EXPECT_TRUE(f.store.unavailable().empty());
}

TEST(ShortcutStoreTest, AWordWrittenByHandIsRefused) {
  ShortcutStoreFixture f;
  f.byOtherProcess(names::changeMode, "Ctrl+Nonsense");
  f.store.start();
  EXPECT_EQ(f.keysOf(names::changeMode), "");
  ASSERT_EQ(f.notices.toasts.size(), 1U);
  EXPECT_TRUE(f.notices.toasts[0].first.contains("Ctrl+Nonsense"));
}

}  // namespace
}  // namespace quillmere
