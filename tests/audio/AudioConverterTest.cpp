#include "audio/AudioConverter.h"

#include <thread>

#include "support/FakeAudioResampler.h"
#include "support/FakeMediaReader.h"
#include "support/RunTask.h"

namespace quillmere {
namespace {

TEST(AudioConverterTest, WorksOnAWorkerAndReturnsOnTheMainThread) {
  const QString path = QStringLiteral("/music/a.wav");
  FakeMediaReaderFactory readers;
  FakeAudioResamplerFactory resamplers;
  ManualExecutor executor;
  WorkerPool pool{2, QStringLiteral("audio.conversion")};
  AudioConverter converter{readers, resamplers, pool, Logging()};
  std::thread::id worker;
  readers.files[path].frames = 48000;
  readers.files[path].onRead = [&] { worker = std::this_thread::get_id(); };
  AudioConverter::ConversionOptions options{1024, 16000, false, {}};
  const auto samples = runTask(executor, converter.convert(path, options));
  ASSERT_TRUE(samples);
  EXPECT_EQ(samples->size(), 16000u);
  EXPECT_NE(worker, std::this_thread::get_id());
}

}  // namespace
}  // namespace quillmere
