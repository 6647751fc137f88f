#include <gtest/gtest.h>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "e2e/Keys.h"
#include "e2e/Microphone.h"
#include "e2e/TextField.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

bool staysRecording(const Application& application, int milliseconds) {
  return !eventually([&] { return application.state() != "recording"; }, std::chrono::milliseconds(milliseconds));
}

TEST(TriggersTest, TheToggleShortcutStartsAndStops) {
  Application application({{"KeyboardShortcuts_toggleRecordingWithTranscription", "Ctrl+Alt+D"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  Keys::press("ctrl+alt+d");
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.speak();
  Keys::press("ctrl+alt+d");
  ASSERT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(wordsOf(field.eventualText()).contains("americans"));
}

TEST(TriggersTest, PushToTalkByAShortcut) {
  Application application({{"pushToTalkMode", "custom"}, {"KeyboardShortcuts_pushToTalk", "F9"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  Keys::down("F9");
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.speak();
  Keys::up("F9");
  ASSERT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(wordsOf(field.eventualText()).contains("americans"));
}

TEST(TriggersTest, ABareModifierHeldLongRecordsAsLongAsItIsHeld) {
  Application application({{"pushToTalkMode", "control"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  Keys::down("Control_L");
  ASSERT_TRUE(application.waitForState("recording"));
  Microphone microphone;
  microphone.speak();
  Keys::up("Control_L");
  ASSERT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(wordsOf(field.eventualText()).contains("americans"));
}

TEST(TriggersTest, ASecondTapLocksAndTwoTapsUnlock) {
  Application application({{"pushToTalkMode", "control"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  Keys::hold("Control_L", 60);
  QThread::msleep(400);
  Keys::hold("Control_L", 60);
  ASSERT_TRUE(application.waitForState("recording"));
  EXPECT_TRUE(staysRecording(application, 2500)) << "locked";
  Keys::press("a");  // typing while it is locked is free
  EXPECT_TRUE(staysRecording(application, 300));
  Keys::hold("Control_L", 60);
  QThread::msleep(400);
  EXPECT_EQ(application.state(), "recording");
  Keys::hold("Control_L", 60);
  EXPECT_TRUE(application.waitForState("idle"));
}

TEST(TriggersTest, AQuickTapAloneRecordsOnlyUntilItsTimeIsOver) {
  Application application({{"pushToTalkMode", "control"}});
  ASSERT_TRUE(application.start());
  Keys::hold("Control_L", 60);
  ASSERT_TRUE(application.waitForState("recording"));
  EXPECT_TRUE(application.waitForState("idle"));
}

TEST(TriggersTest, AChordWithTheModifierLeavesNoRecording) {
  Application application({{"pushToTalkMode", "control"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  Keys::down("Control_L");
  Keys::press("c");
  Keys::up("Control_L");
  EXPECT_FALSE(eventually([&] { return application.state() != "idle"; }, std::chrono::milliseconds(800)));
  EXPECT_TRUE(Application::history().isEmpty());
}

TEST(TriggersTest, CancellingALongRecordingAsksFirst) {
  Application application({{"KeyboardShortcuts_cancelRecording", "F8"}});
  ASSERT_TRUE(application.start());
  TextField field(TextField::Kind::qtLine);
  ASSERT_TRUE(field.isReady());
  const auto recordFor = [&](double seconds) {
    application.toggle();
    ASSERT_TRUE(application.waitForState("recording"));
    ASSERT_TRUE(eventually([&] { return application.status()["seconds"].toDouble() >= seconds; }));
  };
  recordFor(13.5);
  Keys::press("F8");
  EXPECT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(Application::history().isEmpty());

  recordFor(15.2);
  Keys::press("F8");
  EXPECT_TRUE(eventually([&] { return application.status()["asksWhetherToCancel"].toBool(); }));
  EXPECT_EQ(application.state(), "recording");
  Keys::press("Escape");  // back to the recording
  EXPECT_TRUE(eventually([&] { return !application.status()["asksWhetherToCancel"].toBool(); }));
  EXPECT_EQ(application.state(), "recording");
  Keys::press("F8");
  ASSERT_TRUE(eventually([&] { return application.status()["asksWhetherToCancel"].toBool(); }));
  Keys::press("x");  // not one of the question's keys
  EXPECT_TRUE(eventually([&] { return field.text() == "x"; })) << field.text().toStdString();
  Keys::press("Return");
  EXPECT_TRUE(application.waitForState("idle"));
  EXPECT_TRUE(Application::history().isEmpty());
}

}  // namespace
}  // namespace quillmere
