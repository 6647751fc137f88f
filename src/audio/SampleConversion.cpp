#include "audio/SampleConversion.h"

#include <QFileInfo>
#include <cmath>
#include <new>
#include <stdexcept>

#include "audio/PeakNormalization.h"

namespace quillmere {
namespace {

using Kind = ConversionError::Kind;

// Fewer bytes than this for a second of sound are not believed of a file that states its length, more are assumed of
// one that doesn't.
constexpr qint64 fewestBytesPerSecond = 100;
constexpr qint64 usualBytesPerSecond = 4000;
constexpr qint64 spareFrames = 4096;

ConversionError conversionFailed(const char* text) {
  return {Kind::conversionFailed, QString::fromUtf8(text)};
}

}  // namespace

SampleConversion::SampleConversion(MediaReaderFactory& readers, AudioResamplerFactory& resamplers, Logger logger,
                                   QString filePath, ConversionOptions options)
    : readers_(readers),
      resamplers_(resamplers),
      logger_(std::move(logger)),
      filePath_(std::move(filePath)),
      options_(std::move(options)) {}

qint64 SampleConversion::reservation(std::optional<qint64> nominalFrames, double sourceRate, double targetRate,
                                     qint64 fileBytes) {
  const double most = double(fileBytes) / fewestBytesPerSecond * targetRate;
  double frames = double(fileBytes) / usualBytesPerSecond * targetRate;
  if (nominalFrames && sourceRate > 0) frames = double(*nominalFrames) * targetRate / sourceRate;
  return std::max<qint64>(0, std::llround(std::min(frames, most)));
}

SampleConversion::Outcome SampleConversion::run(const std::atomic<bool>& stop) {
  auto opened = readers_.open(filePath_, MediaReaderFactory::Output::native);
  if (!opened) {
    logger_.error("Failed to open audio file: %@", opened.error().description);
    if (opened.error().kind == MediaError::Kind::unsupported)
      return Failed{ConversionError{Kind::unsupportedFormat, opened.error().description}};
    return Failed{ConversionError{Kind::invalidAudioFile, filePath_}};
  }
  reader_ = std::move(opened).value();
  nominalFrames_ = reader_->nominalFrames();
  if (nominalFrames_ == 0) {
    logger_.error("Audio file has zero frames");
    return Failed{ConversionError{Kind::emptyAudioFile, {}}};
  }
  const AudioStreamFormat source = reader_->format();
  logger_.info("📂 Source: %fHz, %uch, %lld frames", source.sampleRate, unsigned(source.channelCount),
               nominalFrames_.value_or(0));
  if (!(options_.targetSampleRate >= 1) || options_.chunkSize == 0)
    return Failed{conversionFailed("Failed to create target format")};

  std::optional<ConversionError> error;
  try {
    // The last chunk needs the room that its bound asks for, which is a little more than what it brings.
    const double lastChunk = 1.1 * options_.chunkSize * options_.targetSampleRate / source.sampleRate;
    output_.reserve(
        size_t(reservation(nominalFrames_, source.sampleRate, options_.targetSampleRate, QFileInfo(filePath_).size()) +
               std::llround(lastChunk) + spareFrames));
  } catch (const std::bad_alloc&) {  // only a hint; the vector grows as samples come
  } catch (const std::length_error&) {
  }
  const bool isFastPath = isTargetFormat(source);
  try {
    error = readAll(stop);
  } catch (const std::bad_alloc&) {
    error = conversionFailed(isFastPath ? "Failed to allocate buffer" : "Failed to allocate output buffer");
  }
  if (error) return Failed{*std::move(error)};
  reader_.reset();
  resampler_.reset();
  if (stop.load(std::memory_order_relaxed)) return Failed{conversionFailed("Stopped")};
  if (options_.normalize && !output_.empty()) normalize();
  if (output_.empty()) {
    if (framesRead_ == 0) logger_.error("Audio file has zero frames");
    return Failed{ConversionError{Kind::emptyAudioFile, {}}};
  }
  logger_.info("✅ Conversion complete: %ld samples @ %fHz", output_.size(), options_.targetSampleRate);
  return std::move(output_);
}

bool SampleConversion::isTargetFormat(const AudioStreamFormat& format) const {
  return format.sampleRate == options_.targetSampleRate && format.channelCount == 1 &&
         format.kind == AudioStreamFormat::SampleKind::float32;
}

std::optional<ConversionError> SampleConversion::readAll(const std::atomic<bool>& stop) {
  const AudioStreamFormat source = reader_->format();
  if (isTargetFormat(source)) {
    logger_.info("✨ Fast-path: Source already in optimal format");
  } else {
    if (auto error = makeResampler(source)) return error;
    logger_.info("🔄 Starting chunked conversion...");
  }
  for (bool isEnd = false; !isEnd;) {
    for (qint64 left = options_.chunkSize; left > 0;) {
      if (stop.load(std::memory_order_relaxed)) return std::nullopt;
      const auto block = reader_->read(left);
      if (!block) return settleReadError(block.error());
      if (block->frameCount == 0) {
        isEnd = true;
        break;
      }
      if (auto error = append(*block)) return error;
      framesRead_ += block->frameCount;
      left -= block->frameCount;
    }
    report(isEnd);
  }
  return flushResampler();
}

// Blocks in the target's format are copied; anything else goes through the resampler of its format. A source that
// changes in the middle gets a new one, after the last one gave what it held back.
std::optional<ConversionError> SampleConversion::append(const AudioBlock& block) {
  if (isTargetFormat(block.format)) {
    if (auto error = flushResampler()) return error;
    makeRoom(block.frameCount);
    const auto* samples = reinterpret_cast<const float*>(block.planes[0]);
    output_.insert(output_.end(), samples, samples + block.frameCount);
    return std::nullopt;
  }
  if (!resampler_ || block.format != resamplerFormat_) {
    if (auto error = flushResampler()) return error;
    if (auto error = makeResampler(block.format)) return error;
  }
  const size_t before = output_.size();
  const qint64 bound = resampler_->outputBound(block.frameCount);
  makeRoom(bound);
  output_.resize(before + size_t(bound));
  const auto written = resampler_->convert(block, std::span(output_).subspan(before));
  output_.resize(before + size_t(written ? *written : 0));
  if (written) return std::nullopt;
  if (written.error().description.isEmpty()) return conversionFailed("Converter returned error status");
  return ConversionError{Kind::conversionFailed, written.error().description};
}

std::optional<ConversionError> SampleConversion::makeResampler(const AudioStreamFormat& format) {
  auto made = resamplers_.create(format, options_.targetSampleRate);
  if (!made) return ConversionError{Kind::unsupportedFormat, describe(format)};
  resampler_ = std::move(made).value();
  resamplerFormat_ = format;
  return std::nullopt;
}

std::optional<ConversionError> SampleConversion::flushResampler() {
  if (!resampler_) return std::nullopt;
  const auto ending = std::move(resampler_);
  const size_t before = output_.size();
  const qint64 bound = ending->outputBound(0);
  makeRoom(bound);
  output_.resize(before + size_t(bound));
  const auto written = ending->finish(std::span(output_).subspan(before));
  output_.resize(before + size_t(written ? *written : 0));
  if (!written) return ConversionError{Kind::conversionFailed, written.error().description};
  return std::nullopt;
}

// What is reserved in advance is usually enough. Where it isn't, a quarter more, so that little is held in vain.
void SampleConversion::makeRoom(qint64 frames) {
  const size_t wanted = output_.size() + size_t(frames);
  if (wanted > output_.capacity()) output_.reserve(std::max(wanted, output_.capacity() + output_.capacity() / 4));
}

std::optional<ConversionError> SampleConversion::settleReadError(const MediaError& error) {
  logger_.error("Failed to read audio chunk at frame %lld: %@", framesRead_, error.description);
  if (error.kind == MediaError::Kind::incomplete) return ConversionError{Kind::incomplete, {}};
  if (auto failed = flushResampler()) return failed;
  if (output_.empty())
    return ConversionError{Kind::conversionFailed, QStringLiteral("Read error: ") + error.description};
  logger_.warning("Returning partial conversion: %ld samples", output_.size());
  return std::nullopt;
}

void SampleConversion::report(bool isEnd) {
  float share = reportedShare_;
  if (isEnd)
    share = framesRead_ > 0 ? 1.0f : share;
  else if (nominalFrames_)
    share = std::min(1.0f, float(double(framesRead_) / double(*nominalFrames_)));
  else
    return;
  if (isEnd && share == reportedShare_) return;
  reportedShare_ = share;
  const int percent = int(share * 100);
  if (percent / 10 > reportedTens_) {
    reportedTens_ = percent / 10;
    logger_.debug("Conversion progress: %ld%%", percent);
  }
  if (options_.progressHandler) options_.progressHandler(share);
}

void SampleConversion::normalize() {
  const PeakNormalization plan = planNormalization(output_);
  switch (plan.finding) {
    case PeakNormalization::Finding::silent:
      logger_.info("Audio is silent (peak = 0)");
      return;
    case PeakNormalization::Finding::preventClipping:
      logger_.info("📊 Normalizing: peak %f → %f (preventing clipping)", plan.peak, plan.peak * plan.gain);
      break;
    case PeakNormalization::Finding::boostQuiet:
      logger_.info("📊 Normalizing: peak %f → %f (boosting quiet audio)", plan.peak, plan.peak * plan.gain);
      break;
    case PeakNormalization::Finding::notNeeded:
      logger_.info("📊 No normalization needed: peak = %f", plan.peak);
      return;
  }
  applyGain(output_, plan.gain);
}

}  // namespace quillmere
