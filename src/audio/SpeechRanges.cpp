#include "audio/SpeechRanges.h"

#include <algorithm>

namespace quillmere {
namespace {

// Segment times are whole hundredths of a second whose difference, in floats, misses the decimal number by a little;
// less than this for a day of audio.
constexpr float rounding = 0.005f;

QString seconds(qint64 samples, double sampleRate) {
  return QString::number(static_cast<double>(samples) / sampleRate, 'f', 2);
}

}  // namespace

std::vector<TimeRange> mergeSegments(const std::vector<TimeRange>& segments, int gapMs) {
  if (segments.size() < 2) return segments;
  const float gap = static_cast<float>(gapMs) / 1000;
  std::vector<TimeRange> merged;
  TimeRange current = segments.front();
  for (auto next = segments.begin() + 1; next != segments.end(); ++next) {
    if (next->start - current.end <= gap + rounding) {
      current.end = next->end;
    } else {
      merged.push_back(current);
      current = *next;
    }
  }
  merged.push_back(current);
  return merged;
}

std::vector<TimeRange> padSegments(std::vector<TimeRange> segments, int padMs, double durationSeconds) {
  const float pad = static_cast<float>(padMs) / 1000;
  for (TimeRange& segment : segments) {
    segment.start = std::max(0.0f, segment.start - pad);
    segment.end = std::min(static_cast<float>(durationSeconds), segment.end + pad);
  }
  return segments;
}

std::vector<SampleRange> sampleRanges(const std::vector<TimeRange>& segments, qint64 totalSamples, double sampleRate,
                                      const Logger& logger) {
  std::vector<SampleRange> ranges;
  if (totalSamples <= 0) return ranges;
  ranges.reserve(segments.size());
  qint64 index = 0;
  for (const TimeRange& segment : segments) {
    const SampleRange wanted{static_cast<qint64>(static_cast<double>(segment.start) * sampleRate),
                             static_cast<qint64>(static_cast<double>(segment.end) * sampleRate)};
    if (wanted.start >= totalSamples) {
      logger.warning("⚠️ Segment %ld startSample (%ld) >= totalSamples (%ld) - segment is beyond audio end!", index,
                     wanted.start, totalSamples);
    }
    if (wanted.end > totalSamples) {
      logger.warning("⚠️ Segment %ld endSample (%ld) > totalSamples (%ld) - segment extends beyond audio end", index,
                     wanted.end, totalSamples);
    }
    SampleRange range;
    range.start = std::clamp<qint64>(wanted.start, 0, totalSamples - 1);
    range.end = std::clamp<qint64>(wanted.end, range.start, totalSamples);
    if (range != wanted) {
      logger.debug("Segment %ld clamped: %ld-%ld → %ld-%ld", index, wanted.start, wanted.end, range.start, range.end);
    }
    logger.info("Segment %ld: extracted %ld samples (%{public}ss)", index, range.count(),
                seconds(range.count(), sampleRate));
    ranges.push_back(range);
    ++index;
  }
  const qint64 total = sampleCount(ranges);
  logger.info("Total extracted: %ld samples (%{public}ss) from %ld segment(s)", total, seconds(total, sampleRate),
              index);
  return ranges;
}

qint64 sampleCount(const std::vector<SampleRange>& ranges) {
  qint64 total = 0;
  for (const SampleRange& range : ranges) total += range.count();
  return total;
}

}  // namespace quillmere
