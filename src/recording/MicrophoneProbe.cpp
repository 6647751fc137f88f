#include "recording/MicrophoneProbe.h"

#include <QTemporaryDir>

#include "base/async/Await.h"
#include "recording/SimpleRecorder.h"

namespace quillmere {
namespace {

constexpr std::chrono::seconds retryPace{2};
constexpr std::chrono::seconds lookPace{1};
constexpr int looksPerFile = 60;  // a file of two megabytes, then a new one

}  // namespace

MicrophoneProbe::MicrophoneProbe(AudioRecorderFactory& recorders, Executor& executor, const Logging& logging)
    : recorders_(recorders), executor_(executor), logging_(logging), scope_(executor) {}

void MicrophoneProbe::start() {
  if (std::exchange(isRunning_, true)) return;
  listening_ = scope_.spawn(listen());
}

void MicrophoneProbe::stop() {
  if (!std::exchange(isRunning_, false)) return;
  listening_.cancel();
  level_.set(0);
}

Task<void> MicrophoneProbe::listen() {
  for (;;) {
    if (!co_await listenOnce()) co_await sleepFor(retryPace);
  }
}

// The recorder and its file end with the frame.
Task<bool> MicrophoneProbe::listenOnce() {
  const QTemporaryDir folder;
  SimpleRecorder recorder(recorders_, executor_, logging_);
  bool isInterrupted = false;
  recorder.setOnInterrupted([this, &isInterrupted](const AudioRecorder::Interruption& interruption) {
    isInterrupted = true;
    problem_.set(interruption.description);
  });
  const Subscription levels = recorder.audioLevel().observe([this](float level) {
    if (isRunning_) level_.set(level);
  });
  const auto started = co_await recorder.start(folder.filePath(QStringLiteral("level.wav")));
  if (!started) {
    problem_.set(localizedDescription(started.error()));
    co_return false;
  }
  if (!isInterrupted) problem_.set(QString());
  for (int look = 0; look < looksPerFile && !isInterrupted; ++look) co_await sleepFor(lookPace);
  co_await recorder.stop();
  co_return !isInterrupted;
}

}  // namespace quillmere
