#include "contract/SoundSides.h"
#include "platform/pulse/PulseFixture.h"
#include "support/FakeAudioRecorder.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;
using Interruption = AudioRecorder::Interruption;
using Kind = Interruption::Kind;

struct FakeSide : FakeRoom {
  QString recordingPath(const char* name) const { return folder.filePath(name); }
  bool isComplete(const QString& path) const { return QFile(path).size() >= *factory->bytesAtStart; }
  bool isCaptured() const { return !factory->running.empty(); }
  bool isStarting(const QString& path) const { return factory->paths.contains(path); }
  void hear(const AudioRecorder&) {}
  void setServerFrozen(bool isFrozen) { factory->startTakes = isFrozen ? 1h : 0h; }
  void unplug() { factory->interrupt({Kind::deviceGone, "gone"}); }
  void endServer(bool) {
    factory->interrupt({Kind::serverGone, "gone"});
    factory->recordError = PlatformError{"audio", 6, "none"};
  }
  bool startServer() {
    factory->recordError.reset();
    return true;
  }
  QTemporaryDir folder;
  std::unique_ptr<FakeAudioRecorderFactory> factory = std::make_unique<FakeAudioRecorderFactory>();
};

struct PulseSide : PulseRoom {
  bool start() {
    if (!PulseRoom::start()) return false;
    headset = server.plugIn("headset");
    devices->preferInput("headset");
    return waitUntil([this] { return devices->captureInputUid() == "headset"; });
  }
  bool isComplete(const QString& path) const {
    const RecordedWave wave(path);
    return wave.isAsPromised && wave.isComplete;
  }
  bool isStarting(const QString& path) const { return QFile::exists(path); }
  void hear(const AudioRecorder& recorder) { EXPECT_TRUE(waitForSeconds(recorder, 0.3)); }
  void setServerFrozen(bool isFrozen) { server.setFrozen(isFrozen); }
  void unplug() { EXPECT_TRUE(server.unloadModule(headset)); }
  void endServer(bool isPolite) { isPolite ? server.terminate() : server.kill(); }
  bool startServer() {
    return server.start() && waitUntil([this] { return devices->isConnected(); });
  }
  int headset = -1;
};

template <typename Side>
class AudioRecorderContract : public SoundContract<Side> {
 protected:
  QString newPath() { return this->recordingPath(qPrintable(QString("take%1.wav").arg(++takes))); }
  std::unique_ptr<AudioRecorder> started(const QString& path) {
    auto recorder = this->factory->create();
    recorder->setInterruptionObserver([this, path, raw = recorder.get()](const Interruption& told) {
      EXPECT_FALSE(raw->isRecording());
      EXPECT_TRUE(this->isComplete(path));
      interruptions.push_back(told);
    });
    const auto result = this->run(recorder->record(path));
    EXPECT_TRUE(result) << (result ? "" : qPrintable(result.error().description));
    EXPECT_TRUE(recorder->isRecording());
    this->hear(*recorder);
    return recorder;
  }
  void expectRefusal(const QString& path, const char* domain) {
    const auto recorder = this->factory->create();
    const auto refused = this->run(recorder->record(path));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().domain, domain);
    EXPECT_FALSE(refused.error().description.isEmpty());
    EXPECT_FALSE(recorder->isRecording());
  }
  void expectInterruption(Kind kind, const std::function<void()>& cause) {
    this->factory->prepare();
    interruptions.clear();
    const auto recorder = started(newPath());
    cause();
    ASSERT_TRUE(waitUntil([this] { return !interruptions.empty(); }));
    this->run(recorder->stop());
    ASSERT_EQ(interruptions.size(), 1u);
    EXPECT_EQ(interruptions[0].kind, kind);
    EXPECT_FALSE(interruptions[0].description.isEmpty());
  }
  int takes = 0;
  std::vector<Interruption> interruptions;
};
using Sides = testing::Types<FakeSide, PulseSide>;
TYPED_TEST_SUITE(AudioRecorderContract, Sides, SideNames);

TYPED_TEST(AudioRecorderContract, RecordsOnceUntilTheStop) {
  const QString path = this->newPath();
  const auto recorder = this->started(path);
  EXPECT_FALSE(this->run(recorder->record(this->newPath())));
  EXPECT_TRUE(recorder->isRecording() && this->isCaptured());
  this->run(recorder->stop());
  EXPECT_FALSE(recorder->isRecording());
  EXPECT_TRUE(this->isComplete(path));
  EXPECT_TRUE(waitUntil([this] { return !this->isCaptured(); }));
  recorder->averagePowerDecibels();
  EXPECT_EQ(recorder->averagePowerDecibels(), -160) << "nothing came since";
  this->run(recorder->stop());
  const auto unused = this->factory->create();
  this->run(unused->stop());
  EXPECT_EQ(unused->averagePowerDecibels(), -160);
  EXPECT_TRUE(this->interruptions.empty());
}

TYPED_TEST(AudioRecorderContract, AFileThatCannotBeMadeIsAnErrorAndNobodyElsesIsTouched) {
  const QString theirs = this->newPath();
  EXPECT_TRUE(QFile(theirs).open(QIODevice::WriteOnly));
  this->expectRefusal(theirs, "filesystem");
  EXPECT_TRUE(QFile::exists(theirs) && QFile(theirs).size() == 0);
  this->expectRefusal(this->recordingPath("no/such/folder/take.wav"), "filesystem");
  EXPECT_TRUE(waitUntil([this] { return !this->isCaptured(); }));
}

TYPED_TEST(AudioRecorderContract, ACancelledStartLeavesNoFileAndADestroyedRecorderAWholeOne) {
  const QString cancelled = this->newPath();
  this->setServerFrozen(true);
  const auto starting = this->factory->create();
  TaskScope scope(this->executor);
  auto handle = scope.spawn(starting->record(cancelled));
  EXPECT_TRUE(waitUntil([&] { return this->isStarting(cancelled); }));
  handle.cancel();
  EXPECT_THROW(std::ignore = this->run(handle.join()), Cancelled);
  this->setServerFrozen(false);
  EXPECT_FALSE(starting->isRecording());
  EXPECT_TRUE(waitUntil([&] { return !QFile::exists(cancelled) && !this->isCaptured(); }));

  const QString path = this->newPath();
  auto recorder = this->started(path);
  recorder.reset();
  EXPECT_TRUE(this->isComplete(path));
  EXPECT_TRUE(waitUntil([this] { return !this->isCaptured(); }));
  EXPECT_TRUE(this->interruptions.empty());
}

TYPED_TEST(AudioRecorderContract, AnUnpluggedMicrophoneEndsTheRecordingAndTheNextUsesAnother) {
  this->expectInterruption(Kind::deviceGone, [this] { this->unplug(); });
  this->run(this->started(this->newPath())->stop());
}

TYPED_TEST(AudioRecorderContract, AServerThatEndsEndsTheRecordingAndTheNextServerTakesTheNext) {
  for (const bool isPolite : {false, true}) {
    SCOPED_TRACE(isPolite);
    this->expectInterruption(Kind::serverGone, [&] { this->endServer(isPolite); });
    const QString lost = this->newPath();
    this->expectRefusal(lost, "audio");
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(lost); }));
    ASSERT_TRUE(this->startServer());
    this->run(this->started(this->newPath())->stop());
  }
}

}  // namespace
}  // namespace quillmere
