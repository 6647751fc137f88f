#pragma once
#include <vector>

#include "audio/TimeRange.h"
#include "base/log/Logger.h"

namespace quillmere {

// Samples from start up to, not including, end.
struct SampleRange {
  qint64 start = 0;
  qint64 end = 0;

  qint64 count() const { return end - start; }
  bool operator==(const SampleRange&) const = default;
};

// Joins neighbours whose gap is at most gapMs. Segments are in order of time.
std::vector<TimeRange> mergeSegments(const std::vector<TimeRange>& segments, int gapMs);
// Widens every segment by padMs on both sides, within 0 and durationSeconds.
std::vector<TimeRange> padSegments(std::vector<TimeRange> segments, int padMs, double durationSeconds);
// The samples of the segments, kept within 0 and totalSamples. Says in the log what it had to cut off.
std::vector<SampleRange> sampleRanges(const std::vector<TimeRange>& segments, qint64 totalSamples, double sampleRate,
                                      const Logger& logger);
qint64 sampleCount(const std::vector<SampleRange>& ranges);

}  // namespace quillmere
