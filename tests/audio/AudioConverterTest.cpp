#include "audio/AudioConverter.h"

#include <latch>

#include "base/async/TaskScope.h"
#include "support/FakeAudioResampler.h"
#include "support/FakeMediaReader.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

AudioConverter::ConversionOptions plain() {
  return {1024, 16000, false, {}};
}

class AudioConverterTest : public ::testing::Test {
 protected:
  const QString path = QStringLiteral("/music/a.wav");
  FakeMediaReaderFactory readers;
  FakeAudioResamplerFactory resamplers;
  ManualExecutor executor;
  WorkerPool pool{2, QStringLiteral("audio.conversion")};
  AudioConverter converter{readers, resamplers, pool, Logging()};
};

TEST_F(AudioConverterTest, worksOnAWorkerAndReturnsOnTheMainThread) {
  std::thread::id worker;
  readers.files[path].frames = 48000;
  readers.files[path].onRead = [&] { worker = std::this_thread::get_id(); };
  const auto samples = runTask(executor, converter.convert(path, plain()));
  ASSERT_TRUE(samples);
  EXPECT_EQ(samples->size(), 16000u);
  EXPECT_NE(worker, std::this_thread::get_id());
}

TEST_F(AudioConverterTest, aCancelEndsAnEndlessConversion) {
  std::latch isReading(1);
  std::once_flag once;
  readers.files[path].frames = qint64(1) << 40;
  readers.files[path].sample = [](qint64) { return 0.0f; };
  readers.files[path].onRead = [&] { std::call_once(once, [&] { isReading.count_down(); }); };
  TaskScope scope(executor);
  auto handle = scope.spawn(converter.convert(path, plain()));
  executor.runReady();
  isReading.wait();
  handle.cancel();
  EXPECT_THROW(static_cast<void>(runTask(executor, handle.join())), Cancelled);
}

}  // namespace
}  // namespace quillmere
