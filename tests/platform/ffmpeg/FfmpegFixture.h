#pragma once
#include "audio/SampleConversion.h"
#include "platform/ffmpeg/FfmpegAudioResamplerFactory.h"
#include "platform/ffmpeg/FfmpegMediaEncoder.h"
#include "platform/ffmpeg/FfmpegMediaReaderFactory.h"
#include "support/RecordingLogSink.h"
#include "support/SampleMedia.h"

namespace quillmere {

// The real adapters under the conversions that use them.
class FfmpegFixture : public ::testing::Test {
 protected:
  using Outcome = SampleConversion::Outcome;

  Outcome decode(const QString& path, double rate = 16000) {
    SampleConversion conversion(readers, resamplers, logging.logger("AudioConverter"), path, {32768, rate, false, {}});
    return conversion.run(stop);
  }
  Result<double, MediaError> duration(const QString& path) { return readers.durationSeconds(path, stop); }
  MediaError::Kind openError(const QString& path) {
    const auto reader = readers.open(path, MediaReaderFactory::Output::native);
    EXPECT_FALSE(reader) << qPrintable(path);
    return reader ? MediaError::Kind::stopped : reader.error().kind;
  }

  SampleMedia media;
  std::shared_ptr<RecordingLogSink> sink = std::make_shared<RecordingLogSink>();
  Logging logging{sink};
  FfmpegLog log{logging};
  FfmpegMediaReaderFactory readers{log};
  FfmpegAudioResamplerFactory resamplers{log};
  FfmpegMediaEncoder encoder{log};
  std::atomic<bool> stop{false};
};

}  // namespace quillmere
