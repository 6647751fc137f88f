#include "platform/linux/ApplicationIdentity.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

TEST(ApplicationIdentityTest, AWindowGetsTheNameThatTheTablesKnow) {
  const struct {
    const char* windowClass;
    const char* instance;
    const char* bundleId;
  } cases[] = {
      {"Code", "code", "com.microsoft.VSCode"},
      {"firefox-esr", "Navigator", "org.mozilla.firefox"},
      {"Tor Browser", "Navigator", "org.mozilla.firefox"},
      {"Chromium", "chromium (/tmp/profile)", "com.google.Chrome"},
      {"Alacritty", "Alacritty", "io.alacritty"},
      {"XTerm", "xterm", "xterm"},
      {"Gnome-terminal", "gnome-terminal-server", "gnome-terminal"},
      {"Org.gnome.TextEditor", "org.gnome.TextEditor", "org.gnome.texteditor"},
      {"", "kitty", "net.kovidgoyal.kitty"},
      {"", "", ""},
  };
  for (const auto& one : cases)
    EXPECT_EQ(applicationIdentity::bundleIdOfWindow(one.windowClass, one.instance), one.bundleId) << one.windowClass;
  EXPECT_EQ(applicationIdentity::bundleId("org.mozilla.firefox.desktop"), "org.mozilla.firefox");
  EXPECT_EQ(applicationIdentity::bundleId("dev.zed.Zed.desktop"), "dev.zed.Zed");
  EXPECT_EQ(applicationIdentity::bundleId("Org.Example.App.desktop"), "org.example.app");
}

}  // namespace
}  // namespace quillmere
