#include "recording/AudioDeviceManager.h"

#include <gtest/gtest.h>

#include "storage/SettingsManager.h"
#include "support/FakeAudioDevices.h"
#include "support/FakeDefaultsStore.h"
#include "support/FakeErrorReporting.h"
#include "support/ManualExecutor.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

class AudioDeviceManagerTest : public ::testing::Test {
 protected:
  void makeManager() {
    manager = std::make_unique<AudioDeviceManager>(devices, settings.audio(), executor, &reporting, Logging());
    manager->scanDevices(DeviceScanReason::initialBootstrap);
  }
  void choose(const QString& id) {
    defaults.changeByOtherProcess(QStringLiteral("selectedMicrophoneId"), id);
    executor.runReady();
  }
  // "head/Headset: desk": the choice, and what a recording takes.
  QString state() {
    executor.runReady();
    const auto chosen = manager->selectedDevice().get();
    const QString active = manager->activeInputDeviceIdentifier().get().value_or(QStringLiteral("-"));
    EXPECT_EQ(active, devices.captureInputUid().value_or(QStringLiteral("-")));
    return (chosen ? chosen->uid + u'/' + chosen->name : QStringLiteral("default")) + QStringLiteral(": ") + active;
  }

  TestTexts texts;
  ManualExecutor executor;
  FakeDefaultsStore defaults;
  SettingsManager settings{defaults, StandardFolders{}, Logging()};
  FakeErrorReporting reporting;
  FakeAudioDevices devices;
  const AudioInputDescription desk = FakeAudioDevices::microphone(3, "desk", "Desk Microphone", 1.5F);
  const AudioInputDescription head = FakeAudioDevices::microphone(4, "head", "Headset", std::nullopt);
  std::unique_ptr<AudioDeviceManager> manager;
};

TEST_F(AudioDeviceManagerTest, ListsMicrophonesOnly) {
  struct Case {
    const char* name;
    bool isListed, isMonitor = false;
    int channels = 1;
  };
  const Case cases[] = {{"Monitor of Speakers", false, true},
                        {"Line out", false, false, 0},
                        {"CA Aggregate", false},
                        {"Aggregate Mic", true},
                        {"System Mic", false},
                        {"system mic", true}};
  QStringList expected;
  for (const Case& one : cases) {
    auto input = FakeAudioDevices::microphone(quint32(devices.list.size()) + 1, QString::number(devices.list.size()),
                                              QString::fromLatin1(one.name));
    input.isMonitor = one.isMonitor;
    input.channelCount = one.channels;
    devices.list.push_back(input);
    if (one.isListed) expected << input.name;
  }
  makeManager();
  QStringList names;
  for (const AudioDevice& device : manager->availableDevices().get()) names << device.name;
  EXPECT_EQ(names, expected);
}

TEST_F(AudioDeviceManagerTest, TheFieldsAreThoseOfTheActiveDevice) {
  devices.list = {desk, head};
  devices.defaultUid = desk.uid;
  makeManager();
  EXPECT_EQ(manager->systemDefaultDeviceUID().get(), desk.uid);
  EXPECT_EQ(manager->activeInputDeviceName().get(), desk.name);
  EXPECT_EQ(manager->inputVolumeScalar().get(), 1.0F) << "cut at the end of the scale";
  EXPECT_TRUE(reporting.breadcrumbs.empty());
  manager->selectDevice(AudioDevice{head.uid, head.name, head.uid});
  EXPECT_EQ(settings.audio().selectedMicrophoneId(), head.uid);
  EXPECT_EQ(manager->activeInputDeviceName().get(), head.name);
  EXPECT_EQ(manager->inputVolumeScalar().get(), std::nullopt);
  devices.list.clear();
  devices.defaultUid.reset();
  manager->scanDevices(DeviceScanReason::manual);
  EXPECT_EQ(manager->activeInputDeviceName().get(), QStringLiteral("System Default"));
}

TEST_F(AudioDeviceManagerTest, DevicesThatArriveOneByOneAndGoLeaveTheChoiceAlone) {
  settings.audio().setSelectedMicrophoneId(head.uid);
  devices.isServerThere = false;
  makeManager();
  EXPECT_EQ(state(), QStringLiteral("head/head: -")) << "it was never seen";
  EXPECT_FALSE(manager->selectedDeviceInUse());
  devices.isServerThere = true;
  devices.defaultUid = desk.uid;
  devices.plugIn(desk);
  EXPECT_EQ(state(), QStringLiteral("head/head: desk"));
  devices.plugIn(head);
  EXPECT_EQ(state(), QStringLiteral("head/Headset: head"));
  EXPECT_EQ(manager->selectedDeviceInUse()->name, head.name);
  EXPECT_EQ(devices.defaultUid, desk.uid) << "other programs use what they used";

  reporting.breadcrumbs.clear();
  devices.unplug(head.uid);
  EXPECT_EQ(state(), QStringLiteral("head/Headset: desk"));
  EXPECT_EQ(std::count_if(reporting.breadcrumbs.begin(), reporting.breadcrumbs.end(),
                          [](const Breadcrumb& one) {
                            return one.message == QStringLiteral("Selected audio device invalidated");
                          }),
            1);
  // The server restarts; everything has other numbers then.
  devices.isServerThere = false;
  devices.unplug(desk.uid);
  EXPECT_EQ(state(), QStringLiteral("head/Headset: -"));
  devices.isServerThere = true;
  devices.defaultUid = desk.uid;
  devices.plugIn(FakeAudioDevices::microphone(41, head.uid, head.name));
  EXPECT_EQ(state(), QStringLiteral("head/Headset: head"));
  devices.plugIn(desk);
  EXPECT_EQ(state(), QStringLiteral("head/Headset: head"));
  EXPECT_EQ(settings.audio().selectedMicrophoneId(), head.uid);
}

TEST_F(AudioDeviceManagerTest, FollowsTheSettingWhoeverWritesIt) {
  devices.list = {desk, head};
  devices.defaultUid = desk.uid;
  makeManager();
  EXPECT_EQ(state(), QStringLiteral("default: desk"));
  choose(head.uid);
  EXPECT_EQ(state(), QStringLiteral("head/Headset: head"));
  choose(QStringLiteral("away"));
  EXPECT_EQ(state(), QStringLiteral("away/away: desk"));
  choose(QString());
  EXPECT_EQ(state(), QStringLiteral("default: desk"));
}

}  // namespace
}  // namespace quillmere
