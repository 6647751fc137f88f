#pragma once
#include <QFile>
#include <QStringList>
#include <vector>

#include "base/async/Combinators.h"
#include "ports/AudioRecorder.h"

namespace quillmere {

class FakeAudioRecorder;

// Makes recorders that write files of the length the test asks for, and keeps what was done with them.
class FakeAudioRecorderFactory final : public AudioRecorderFactory {
 public:
  std::optional<PlatformError> recordError;
  Duration startTakes = Duration::zero();
  Duration stopTakes = Duration::zero();
  // What the file is filled to: at the start, and by stop() or an interruption. Zeros after a WAV header's length;
  // nothing: no file.
  std::optional<qint64> bytesAtStart = 44;
  std::optional<qint64> bytesAtStop = 64044;
  float decibels = -30;
  std::optional<Duration> firstSample;  // after record()
  std::optional<AudioRecorder::Interruption> interruptsAtStart;

  QStringList paths;    // of record()
  QStringList stopped;  // of stop(), when it has ended
  std::vector<FakeAudioRecorder*> running;

  void prepare() override {}
  std::unique_ptr<AudioRecorder> create() override;
  // The running recorder's end without a stop.
  void interrupt(AudioRecorder::Interruption interruption);

  static void fill(const QString& path, qint64 bytes) {
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.resize(bytes)) qFatal("cannot write %s", qPrintable(path));
  }
};

class FakeAudioRecorder final : public AudioRecorder {
 public:
  explicit FakeAudioRecorder(FakeAudioRecorderFactory& owner) : owner_(owner) {}
  ~FakeAudioRecorder() override { leave(); }

  Task<Result<void, PlatformError>> record(QString path) override {
    if (!path_.isEmpty()) co_return Failed{PlatformError{QStringLiteral("audio"), 15, QStringLiteral("once")}};
    owner_.paths << path;
    path_ = path;
    if (owner_.startTakes > Duration::zero()) co_await sleepFor(owner_.startTakes);
    if (owner_.recordError) co_return Failed{*owner_.recordError};
    if (owner_.bytesAtStart) {
      QFile file(path);
      if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        co_return Failed{PlatformError{QStringLiteral("filesystem"), 2, file.errorString()}};
      FakeAudioRecorderFactory::fill(path, *owner_.bytesAtStart);
    }
    owner_.running.push_back(this);
    isRecording_ = true;
    if (owner_.interruptsAtStart) interrupt(*owner_.interruptsAtStart);
    co_return Result<void, PlatformError>();
  }
  Task<void> stop() override { return shielded(finish()); }
  bool isRecording() const override { return isRecording_; }
  float averagePowerDecibels() override { return isRecording_ ? owner_.decibels : -160.0F; }
  double recordedSeconds() const override { return 0; }
  std::optional<Duration> firstSampleLatency() const override { return owner_.firstSample; }
  void setInterruptionObserver(std::function<void(Interruption)> observer) override { observer_ = std::move(observer); }

  void interrupt(const Interruption& interruption) {
    if (!std::exchange(isRecording_, false)) return;
    complete();
    if (const auto observer = observer_) observer(interruption);
  }

 private:
  Task<void> finish() {
    if (!std::exchange(isRecording_, false)) co_return;
    if (owner_.stopTakes > Duration::zero()) co_await sleepFor(owner_.stopTakes);
    complete();
    owner_.stopped << path_;
  }
  void complete() {
    leave();
    if (owner_.bytesAtStop) FakeAudioRecorderFactory::fill(path_, *owner_.bytesAtStop);
  }
  void leave() {
    isRecording_ = false;
    std::erase(owner_.running, this);
  }

  FakeAudioRecorderFactory& owner_;
  QString path_;
  bool isRecording_ = false;
  std::function<void(Interruption)> observer_;
};

inline std::unique_ptr<AudioRecorder> FakeAudioRecorderFactory::create() {
  return std::make_unique<FakeAudioRecorder>(*this);
}

inline void FakeAudioRecorderFactory::interrupt(AudioRecorder::Interruption interruption) {
  if (!running.empty()) running.back()->interrupt(interruption);
}

}  // namespace quillmere
