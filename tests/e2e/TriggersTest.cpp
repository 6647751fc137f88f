#include <gtest/gtest.h>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Keys.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

TEST(TriggersTest, EveryTriggerStartsAndStops) {
  const struct {
    QList<std::pair<QString, QString>> settings;
    QString keys;
    bool areHeld;
  } cases[] = {
      {{{"KeyboardShortcuts_toggleRecordingWithTranscription", "Ctrl+Alt+D"}}, "ctrl+alt+d", false},
      {{{"pushToTalkMode", "custom"}, {"KeyboardShortcuts_pushToTalk", "F9"}}, "F9", true},
      {{{"pushToTalkMode", "control"}}, "Control_L", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.keys.toStdString());
    Application application(c.settings);
    ASSERT_TRUE(application.start());
    TextField field(TextField::Kind::qtLine);
    ASSERT_TRUE(field.isReady());
    c.areHeld ? Keys::down(c.keys) : Keys::press(c.keys);
    ASSERT_TRUE(application.waitForState("recording"));
    Microphone().speak();
    c.areHeld ? Keys::up(c.keys) : Keys::press(c.keys);
    ASSERT_TRUE(application.waitForState("idle"));
    EXPECT_TRUE(wordsOf(field.eventualText()).contains("americans"));
  }
}

TEST(TriggersTest, CancellingALongRecordingAsksFirst) {
  Application application({{"KeyboardShortcuts_cancelRecording", "F8"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  application.toggle();
  ASSERT_TRUE(application.waitForState("recording"));
  ASSERT_TRUE(eventually([&] { return application.status()["seconds"].toDouble() >= 15.2; }));
  for (const char* answer : {"Escape", "Return"}) {
    EXPECT_EQ(application.state(), "recording");
    Keys::press("F8");
    ASSERT_TRUE(eventually([&] { return application.status()["asksWhetherToCancel"].toBool(); }));
    Keys::press(answer);
    EXPECT_TRUE(eventually([&] { return !application.status()["asksWhetherToCancel"].toBool(); }));
  }
  EXPECT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(Application::history().isEmpty());
}

}  // namespace
}  // namespace quillmere
