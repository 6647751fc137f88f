#include "interface/WaveformSamples.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

#include "ports/MediaReader.h"

namespace quillmere {
namespace {

constexpr qint64 windowFrames = 256;
constexpr qint64 jumpFrames = 4096;  // a shorter way is read through

// Keeps the newest window, which is all that rising positions need.
class MediaWaveformSource final : public WaveformSource {
 public:
  MediaWaveformSource(std::unique_ptr<MediaReader> reader, qint64 length)
      : reader_(std::move(reader)), length_(length) {}

  qint64 length() const override { return length_; }

  std::optional<std::vector<float>> read(qint64 frame, qint64 count) override {
    if (frame - end_ > jumpFrames && !isOver_ && reader_->seek(frame)) {
      kept_.clear();
      keptFrom_ = end_ = frame;
    }
    while (end_ < frame + count && !isOver_) {
      const auto block = reader_->read(std::max<qint64>(windowFrames, std::min<qint64>(frame + count - end_, 65'536)));
      if (!block) {
        hasFailed_ = isOver_ = true;
        break;
      }
      if (block->frameCount == 0) {
        isOver_ = true;
        break;
      }
      // Only the part that some window wants is taken out of the block.
      const qint64 first = std::max(frame, end_);
      const qint64 last = end_ + block->frameCount;
      drop(frame);
      if (first < last) {
        if (kept_.empty()) keptFrom_ = first;
        for (qint64 i = first; i < last; ++i) kept_.push_back(sample(*block, i - end_));
      }
      end_ = last;
    }
    drop(frame);
    const qint64 available = std::min<qint64>(count, qint64(kept_.size()) - (frame - keptFrom_));
    if (kept_.empty() || frame < keptFrom_ || available <= 0)
      return hasFailed_ ? std::nullopt : std::optional<std::vector<float>>(std::in_place);
    const auto begin = kept_.begin() + (frame - keptFrom_);
    return std::vector<float>(begin, begin + available);
  }

 private:
  void drop(qint64 before) {
    if (kept_.empty() || before <= keptFrom_) return;
    const qint64 count = std::min<qint64>(before - keptFrom_, qint64(kept_.size()));
    kept_.erase(kept_.begin(), kept_.begin() + count);
    keptFrom_ += count;
  }

  template <typename T>
  static T at(const std::byte* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
  }

  static float sample(const AudioBlock& block, qint64 index) {
    using Kind = AudioStreamFormat::SampleKind;
    const AudioStreamFormat& format = block.format;
    const qint64 step = bytesPerSample(format.kind) * (format.isPlanar ? 1 : format.channelCount);
    const std::byte* from = block.planes[0] + index * step;
    switch (format.kind) {
      case Kind::unsigned8:
        return float(int(at<std::uint8_t>(from)) - 128) / 128.0F;
      case Kind::signed16:
        return float(at<std::int16_t>(from)) / 32768.0F;
      case Kind::signed32:
        return float(double(at<std::int32_t>(from)) / 2147483648.0);
      case Kind::signed64:
        return float(double(at<std::int64_t>(from)) / 9223372036854775808.0);
      case Kind::float32:
        return at<float>(from);
      case Kind::float64:
        return float(at<double>(from));
    }
    return 0;
  }

  std::unique_ptr<MediaReader> reader_;
  const qint64 length_;
  qint64 end_ = 0;  // frames read so far
  qint64 keptFrom_ = 0;
  std::vector<float> kept_;
  bool isOver_ = false;
  bool hasFailed_ = false;
};

}  // namespace

std::vector<float> waveformSamples(WaveformSource& source, int barCount) {
  std::vector<float> bars;
  bars.reserve(size_t(std::max(barCount, 0)));
  const qint64 length = source.length();
  for (int k = 0; k < barCount; ++k) {
    const qint64 wanted = qint64(double(k) / barCount * double(length));
    const qint64 frame = std::max<qint64>(0, std::min(wanted, length - windowFrames));
    const auto frames = source.read(frame, windowFrames);
    if (!frames || frames->empty()) {
      bars.push_back(0);
      continue;
    }
    double sum = 0;
    for (const float value : *frames) sum += std::abs(value);
    bars.push_back(float(std::min(sum / double(frames->size()) * 3.0, 1.0)));
  }
  return bars;
}

std::unique_ptr<WaveformSource> openWaveform(MediaReaderFactory& readers, const QString& path, QString* error) {
  auto reader = readers.open(path, MediaReaderFactory::Output::native);
  if (!reader) {
    if (error) *error = reader.error().description;
    return nullptr;
  }
  qint64 length = (*reader)->nominalFrames().value_or(0);
  if (length <= 0) {
    const std::atomic<bool> neverStops{false};
    const auto seconds = readers.durationSeconds(path, neverStops);
    if (!seconds) {
      if (error) *error = seconds.error().description;
      return nullptr;
    }
    length = qint64(*seconds * (*reader)->format().sampleRate);
  }
  return std::make_unique<MediaWaveformSource>(std::move(*reader), length);
}

std::vector<float> waveformSamples(MediaReaderFactory& readers, const QString& path, int barCount,
                                   const Logger& logger) {
  QString error;
  const auto source = openWaveform(readers, path, &error);
  if (!source) {
    logger.error("Error loading audio file for waveform: %{public}@", error);
    return {};
  }
  return waveformSamples(*source, barCount);
}

}  // namespace quillmere
