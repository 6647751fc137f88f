#pragma once
#include <QString>
#include <atomic>
#include <memory>
#include <vector>

#include "audio/ConversionError.h"
#include "audio/ConversionOptions.h"
#include "base/Result.h"
#include "base/log/Logger.h"
#include "ports/AudioResampler.h"
#include "ports/MediaReader.h"

namespace quillmere {

// One conversion, from opening the file to the samples; what AudioConverter runs on its worker. Blocks; any thread,
// once. When `stop` is set it ends between two blocks and the result means nothing.
class SampleConversion {
 public:
  using Outcome = Result<std::vector<float>, ConversionError>;

  SampleConversion(MediaReaderFactory& readers, AudioResamplerFactory& resamplers, Logger logger, QString filePath,
                   ConversionOptions options);

  Outcome run(const std::atomic<bool>& stop);

  // Room to set aside in advance. A statement that the size of the file makes implausible is cut to a plausible one.
  static qint64 reservation(std::optional<qint64> nominalFrames, double sourceRate, double targetRate,
                            qint64 fileBytes);

 private:
  std::optional<ConversionError> readAll(const std::atomic<bool>& stop);
  std::optional<ConversionError> append(const AudioBlock& block);
  std::optional<ConversionError> flushResampler();
  std::optional<ConversionError> makeResampler(const AudioStreamFormat& format);
  // After a read that failed: nothing when there are samples to go on with.
  std::optional<ConversionError> settleReadError(const MediaError& error);
  bool isTargetFormat(const AudioStreamFormat& format) const;
  void makeRoom(qint64 frames);
  void report(bool isEnd);
  void normalize();

  MediaReaderFactory& readers_;
  AudioResamplerFactory& resamplers_;
  Logger logger_;
  QString filePath_;
  ConversionOptions options_;

  std::unique_ptr<MediaReader> reader_;
  std::unique_ptr<AudioResampler> resampler_;
  AudioStreamFormat resamplerFormat_;
  std::optional<qint64> nominalFrames_;
  qint64 framesRead_ = 0;
  int reportedTens_ = 0;
  float reportedShare_ = 0;
  std::vector<float> output_;
};

}  // namespace quillmere
