#include "recording/AudioDeviceManager.h"

#include <gtest/gtest.h>

#include "storage/SettingsManager.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeDefaultsStore.h"
#include "support/ManualExecutor.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

class AudioDeviceManagerTest : public ::testing::Test {
 protected:
  void makeManager() {
    manager = std::make_unique<AudioDeviceManager>(devices, settings.audio(), executor, nullptr, Logging());
    manager->scanDevices(DeviceScanReason::initialBootstrap);
  }
  void choose(const QString& id) {
    defaults.changeByOtherProcess("selectedMicrophoneId", id);
    executor.runReady();
  }
  // "head/Headset: desk": the choice, and what a recording takes.
  QString state() {
    executor.runReady();
    const auto chosen = manager->selectedDevice().get();
    const QString active = manager->activeInputDeviceIdentifier().get().value_or("-");
    EXPECT_EQ(active, devices.captureInputUid().value_or("-"));
    return (chosen ? chosen->uid + u'/' + chosen->name : "default") + QStringLiteral(": ") + active;
  }

  TestTexts texts;
  ManualExecutor executor;
  FakeDefaultsStore defaults;
  SettingsManager settings{defaults, StandardFolders{}, Logging()};
  FakeAudioDevices devices;
  const AudioInputDescription desk = FakeAudioDevices::microphone(3, "desk", "Desk Microphone");
  const AudioInputDescription head = FakeAudioDevices::microphone(4, "head", "Headset");
  std::unique_ptr<AudioDeviceManager> manager;
};

TEST_F(AudioDeviceManagerTest, ListsMicrophonesOnly) {
  auto monitor = FakeAudioDevices::microphone(1, "a", "Monitor of Speakers");
  monitor.isMonitor = true;
  auto line = FakeAudioDevices::microphone(2, "b", "Line out");
  line.channelCount = 0;
  devices.list = {monitor, line, desk};
  makeManager();
  ASSERT_EQ(manager->availableDevices().get().size(), 1u);
  EXPECT_EQ(manager->availableDevices().get().front().name, desk.name);
}

TEST_F(AudioDeviceManagerTest, TheFieldsAreThoseOfTheActiveDeviceWhoeverChoseIt) {
  devices.list = {desk, head};
  devices.defaultUid = desk.uid;
  makeManager();
  EXPECT_EQ(state(), "default: desk");
  EXPECT_EQ(manager->activeInputDeviceName().get(), desk.name);
  choose(head.uid);
  EXPECT_EQ(state(), "head/Headset: head");
  choose("away");
  EXPECT_EQ(state(), "away/away: desk");
  choose(QString());
  EXPECT_EQ(state(), "default: desk");
  devices.list.clear();
  devices.defaultUid.reset();
  manager->scanDevices(DeviceScanReason::manual);
  EXPECT_EQ(manager->activeInputDeviceName().get(), "System Default");
}

TEST_F(AudioDeviceManagerTest, DevicesThatArriveOneByOneAndGoLeaveTheChoiceAlone) {
  settings.audio().setSelectedMicrophoneId(head.uid);
  devices.isServerThere = false;
  makeManager();
  EXPECT_EQ(state(), "head/head: -") << "it was never seen";
  EXPECT_FALSE(manager->selectedDeviceInUse());
  devices.isServerThere = true;
  devices.defaultUid = desk.uid;
  devices.plugIn(desk);
  EXPECT_EQ(state(), "head/head: desk");
  devices.plugIn(head);
  EXPECT_EQ(state(), "head/Headset: head");
  EXPECT_EQ(manager->selectedDeviceInUse()->name, head.name);
  EXPECT_EQ(devices.defaultUid, desk.uid) << "other programs use what they used";

  devices.unplug(head.uid);
  EXPECT_EQ(state(), "head/Headset: desk");
  // The server restarts; everything has other numbers then.
  devices.isServerThere = false;
  devices.unplug(desk.uid);
  EXPECT_EQ(state(), "head/Headset: -");
  devices.isServerThere = true;
  devices.defaultUid = desk.uid;
  devices.plugIn(FakeAudioDevices::microphone(41, head.uid, head.name));
  EXPECT_EQ(state(), "head/Headset: head");
  devices.plugIn(desk);
  EXPECT_EQ(state(), "head/Headset: head");
  EXPECT_EQ(settings.audio().selectedMicrophoneId(), head.uid);
}

}  // namespace
}  // namespace quillmere
