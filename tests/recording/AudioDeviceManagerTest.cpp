#include "recording/AudioDeviceManager.h"

#include <gtest/gtest.h>

#include "support/FakeAudioDevices.h"
#include "support/FakeErrorReporting.h"
#include "support/ManualExecutor.h"
#include "support/RecordingLogSink.h"
#include "support/RunTask.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

class AudioDeviceManagerTest : public ::testing::Test {
 protected:
  AudioDeviceManagerTest() {
    devices.list = {FakeAudioDevices::microphone(3, desk.uid, desk.name, 1.5F),
                    FakeAudioDevices::microphone(4, head.uid, head.name, std::nullopt)};
    devices.defaultUid = desk.uid;
    manager.setOnSelectedDeviceInvalidated([this](const AudioDevice& device) { lost.push_back(device.uid); });
  }
  void select(const std::optional<AudioDevice>& device) { runTask(executor, manager.selectDevice(device)); }
  bool apply() { return runTask(executor, manager.applySelectedDevice()); }

  const AudioDevice desk{QStringLiteral("desk"), QStringLiteral("Desk Microphone"), QStringLiteral("desk")};
  const AudioDevice head{QStringLiteral("head"), QStringLiteral("Headset"), QStringLiteral("head")};
  TestTexts texts;
  ManualExecutor executor;
  std::shared_ptr<RecordingLogSink> log = std::make_shared<RecordingLogSink>();
  FakeErrorReporting reporting;
  FakeAudioDevices devices;
  std::vector<QString> lost;
  AudioDeviceManager manager{devices, executor, &reporting, Logging(log)};
};

TEST_F(AudioDeviceManagerTest, ListsMicrophonesOnly) {
  struct Case {
    const char* name;
    bool isListed;
    bool isMonitor = false;
    int channels = 1;
  };
  const Case cases[] = {
      {"Monitor of Speakers", false, true}, {"Line out", false, false, 0}, {"CADefaultDeviceAggregate-1201-0", false},
      {"CA thing Aggregate", false},        {"Aggregate Mic", true},       {"Default and Aggregate", false},
      {"System Microphone", false},         {"system microphone", true},   {"default aggregate", true}};
  devices.list.clear();
  QStringList expected;
  for (const Case& one : cases) {
    auto input = FakeAudioDevices::microphone(quint32(devices.list.size()) + 1, QString::fromLatin1(one.name).toLower(),
                                              QString::fromLatin1(one.name));
    input.uid += QString::number(devices.list.size());
    input.isMonitor = one.isMonitor;
    input.channelCount = one.channels;
    devices.list.push_back(input);
    if (one.isListed) expected << input.name;
  }
  QStringList names;
  for (const AudioDevice& device : manager.helper().listInputDevices()) names << device.name;
  EXPECT_EQ(names, expected);
}

TEST_F(AudioDeviceManagerTest, NamesTransports) {
  EXPECT_EQ(CoreAudioDeviceHelper::transportTypeName(0x626C746E), QStringLiteral("built_in"));
  EXPECT_EQ(CoreAudioDeviceHelper::transportTypeName(0x70636920), QStringLiteral("pci")) << "with its blank";
  EXPECT_EQ(CoreAudioDeviceHelper::transportTypeName(0xABCD), QStringLiteral("unknown(0xABCD)"));
  EXPECT_EQ(manager.helper().transportType(QStringLiteral("gone")), QStringLiteral("unknown"));
}

TEST_F(AudioDeviceManagerTest, ScanFillsTheFieldsOfTheActiveDevice) {
  EXPECT_EQ(manager.activeInputDeviceName().get(), QStringLiteral("System Default"));
  manager.scanDevices(DeviceScanReason::initialBootstrap);
  EXPECT_EQ(manager.availableDevices().get(), (std::vector{desk, head}));
  EXPECT_EQ(manager.systemDefaultDeviceUID().get(), desk.uid);
  EXPECT_EQ(manager.activeInputDeviceName().get(), desk.name);
  EXPECT_EQ(manager.inputVolumeScalar().get(), 1.0F) << "cut at the end of the scale";
  EXPECT_TRUE(reporting.breadcrumbs.empty());
  EXPECT_TRUE(log->contains(QStringLiteral("📱 Device scan (initial_bootstrap) finished in 0ms · devices=2")));

  select(head);
  EXPECT_EQ(manager.activeInputDeviceIdentifier().get(), head.uid);
  EXPECT_EQ(manager.inputVolumeScalar().get(), std::nullopt);

  devices.list.clear();
  devices.defaultUid.reset();
  manager.scanDevices(DeviceScanReason::manual);
  EXPECT_EQ(manager.activeInputDeviceIdentifier().get(), std::nullopt);
  EXPECT_EQ(manager.activeInputDeviceName().get(), QStringLiteral("System Default"));
}

TEST_F(AudioDeviceManagerTest, UnpluggingTheChosenMicrophoneFallsBack) {
  manager.scanDevices(DeviceScanReason::initialBootstrap);
  select(head);
  EXPECT_EQ(devices.defaultsSet, std::vector{head.uid});
  executor.runReady();
  reporting.breadcrumbs.clear();
  devices.list.pop_back();
  devices.defaultUid = desk.uid;
  devices.tell(AudioDevices::Change::deviceList);
  EXPECT_TRUE(manager.selectedDevice().get()) << "nothing happens inside the server's event";
  executor.runReady();
  EXPECT_FALSE(manager.selectedDevice().get());
  EXPECT_EQ(lost, std::vector{head.uid});
  EXPECT_EQ(manager.activeInputDeviceName().get(), desk.name);
  ASSERT_EQ(reporting.breadcrumbs.size(), 2u);
  EXPECT_EQ(reporting.breadcrumbs[0].message, QStringLiteral("Selected audio device invalidated"));
  EXPECT_EQ(reporting.breadcrumbs[0].data.value(QStringLiteral("selectedDeviceUID")), head.uid);
  EXPECT_EQ(reporting.breadcrumbs[1].data.value(QStringLiteral("reason")), QStringLiteral("coreaudio.device_list"));
}

TEST_F(AudioDeviceManagerTest, ARestartOfTheSoundServerKeepsTheChoice) {
  select(head);
  devices.isServerThere = false;
  devices.list.clear();
  devices.defaultUid.reset();
  devices.tell(AudioDevices::Change::deviceList);
  executor.runReady();
  EXPECT_EQ(manager.selectedDevice().get(), head);
  EXPECT_FALSE(apply());
  EXPECT_EQ(manager.selectedDevice().get(), head);
  EXPECT_TRUE(lost.empty());

  devices.isServerThere = true;
  devices.list = {FakeAudioDevices::microphone(41, head.uid, head.name)};
  devices.defaultUid = head.uid;
  devices.tell(AudioDevices::Change::deviceList);
  executor.runReady();
  EXPECT_EQ(manager.selectedDevice().get(), head) << "another number, the same microphone";
  EXPECT_TRUE(apply());
}

TEST_F(AudioDeviceManagerTest, ApplyingTheChoice) {
  EXPECT_TRUE(apply()) << "nothing chosen";
  select(desk);
  EXPECT_TRUE(devices.defaultsSet.empty()) << "it is the default already";

  devices.refusesDefault = true;
  select(head);
  EXPECT_FALSE(apply());
  EXPECT_TRUE(log->contains(QStringLiteral("⚠️ Failed to switch system default input to: Headset")));
  EXPECT_EQ(manager.selectedDevice().get(), head) << "a refusal is no disappearance";

  devices.defaultUid.reset();
  EXPECT_FALSE(apply());
  EXPECT_TRUE(log->contains(QStringLiteral("⚠️ Unable to read current default input device")));

  devices.list.pop_back();
  EXPECT_FALSE(apply());
  EXPECT_FALSE(manager.selectedDevice().get());
  EXPECT_EQ(lost, std::vector{head.uid});
}

TEST_F(AudioDeviceManagerTest, RestoresTheVolumeOfTheDefaultInput) {
  runTask(executor, manager.restoreInputVolume(0.75F));
  EXPECT_EQ(devices.volumesSet, (std::vector{std::pair{desk.uid, 0.75F}}));
  EXPECT_TRUE(log->contains(QStringLiteral("Restored microphone input volume to 75%")));
  devices.defaultUid.reset();
  runTask(executor, manager.restoreInputVolume(0.5F));
  EXPECT_TRUE(log->contains(QStringLiteral("Restore mic volume failed - unable to get system default device ID")));
}

TEST_F(AudioDeviceManagerTest, ChangesBehindItsEndAreNobodysBusiness) {
  {
    AudioDeviceManager other(devices, executor, nullptr, Logging(log));
    devices.tell(AudioDevices::Change::defaultInput);
  }
  EXPECT_EQ(devices.observerCount(), 1u);
  executor.runReady();
}

}  // namespace
}  // namespace quillmere
