#pragma once
#include <gtest/gtest.h>

#include "recording/RecordingSide.h"
#include "support/RunTask.h"

namespace quillmere {

// One microphone, and nothing that a recording changes about the sound unless a test says so.
class RecordingFixture : public ::testing::Test, protected RecordingSide {
 protected:
  RecordingFixture() : RecordingSide(Store::inMemory) {
    setMediaControl("off");
    defaults.setValue("autoIncreaseMicVolume", false);
    devices.list = {FakeAudioDevices::microphone(7, "usb-mic", "Desk Microphone", 1.0F)};
    devices.defaultUid = "usb-mic";
  }

  QString inRecordings(const QString& name) const { return recordings() + u'/' + name; }
  void setMediaControl(const char* mode) { defaults.setValue("mediaControlMode", QString::fromLatin1(mode)); }
  void raiseMicrophone() { defaults.setValue("autoIncreaseMicVolume", true); }

  bool start() { return runTask(executor, lifecycle.startRecording()).hasValue(); }
  std::optional<RecordingStopResult> stop(StopIntent intent = StopIntent::keep) {
    return runTask(executor, lifecycle.stopRecording(intent));
  }
  // A whole recording.
  RecordingStopResult record(Duration length = std::chrono::seconds(2)) {
    EXPECT_TRUE(start());
    executor.advance(length);
    auto result = stop();
    EXPECT_TRUE(result);
    return result.value_or(RecordingStopResult());
  }

  const QString wav = "recording_1700000000.wav";
  const QString m4a = "recording_1700000000.m4a";
};

}  // namespace quillmere
