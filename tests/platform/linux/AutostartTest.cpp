#include "platform/linux/Autostart.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace quillmere {
namespace {

class AutostartTest : public testing::Test {
 protected:
  QByteArray content(const Autostart& autostart) {
    QFile file(autostart.path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
  QTemporaryDir folder_;
};

TEST_F(AutostartTest, TheEntryComesAndGoes) {
  Autostart autostart(folder_.filePath("config"), "/usr/bin/quillmere-desktop");
  EXPECT_TRUE(autostart.setEnabled(false)) << "nothing to remove is no failure";
  EXPECT_TRUE(autostart.setEnabled(true));
  EXPECT_TRUE(autostart.isEnabled());
  EXPECT_EQ(autostart.path(), folder_.filePath("config/autostart/com.quillmere.Quillmere.desktop"));
  EXPECT_TRUE(content(autostart).startsWith("[Desktop Entry]\n"));
  EXPECT_TRUE(content(autostart).contains("\nExec=\"/usr/bin/quillmere-desktop\" --hidden\n"));
  EXPECT_TRUE(autostart.setEnabled(false));
  EXPECT_FALSE(autostart.isEnabled());
}

TEST_F(AutostartTest, WhatOthersAddedStaysUntilTheProgramMoves) {
  Autostart autostart(folder_.path(), "/usr/bin/quillmere-desktop");
  ASSERT_TRUE(autostart.setEnabled(true));
  QFile file(autostart.path());
  ASSERT_TRUE(file.open(QIODevice::Append));
  file.write("X-GNOME-Autostart-enabled=false\n");
  file.close();
  EXPECT_TRUE(autostart.setEnabled(true));
  EXPECT_TRUE(content(autostart).contains("X-GNOME-Autostart-enabled=false\n"));

  Autostart moved(folder_.path(), "/opt/quillmere/bin/quillmere-desktop");
  EXPECT_TRUE(moved.setEnabled(true));
  EXPECT_TRUE(content(moved).contains("Exec=\"/opt/quillmere/bin/quillmere-desktop\" --hidden\n"));
  EXPECT_FALSE(content(moved).contains("/usr/bin"));
}

TEST_F(AutostartTest, APathWithSpecialCharactersIsEscaped) {
  const struct {
    const char* program;
    const char* exec;
  } cases[] = {
      {"/opt/my programs/q", R"(Exec="/opt/my programs/q" --hidden)"},
      {"/opt/50%/q", R"(Exec="/opt/50%%/q" --hidden)"},
      {"/opt/$x`y\"z/q", R"(Exec="/opt/\\$x\\`y\\"z/q" --hidden)"},
      {"/opt/back\\slash/q", R"(Exec="/opt/back\\\\slash/q" --hidden)"},
  };
  for (const auto& one : cases) {
    Autostart autostart(folder_.path(), one.program);
    ASSERT_TRUE(autostart.setEnabled(true));
    EXPECT_TRUE(content(autostart).split('\n').contains(one.exec)) << content(autostart).constData();
  }
}

TEST_F(AutostartTest, AFolderThatCannotBeMadeIsToldOf) {
  QFile file(folder_.filePath("config"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  Autostart autostart(folder_.filePath("config"), "/usr/bin/quillmere-desktop");
  EXPECT_FALSE(autostart.setEnabled(true));
  EXPECT_FALSE(autostart.isEnabled());
}

}  // namespace
}  // namespace quillmere
