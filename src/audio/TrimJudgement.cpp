#include "audio/TrimJudgement.h"

namespace quillmere {
namespace {

constexpr double significantSilenceSeconds = 0.5;
constexpr double minimumTrimmedSeconds = 0.3;
constexpr qint64 minimumTrimmedBytes = 5000;
// Far below one sample: durations are sample counts divided by a rate.
constexpr double rounding = 1e-6;

}  // namespace

TrimJudgement judgeTrim(double originalDuration, double trimmedDuration, std::optional<qint64> fileSize) {
  if (originalDuration - trimmedDuration <= significantSilenceSeconds + rounding) {
    return TrimJudgement::noSignificantSilence;
  }
  if (trimmedDuration < minimumTrimmedSeconds - rounding) return TrimJudgement::tooShort;
  if (!fileSize || *fileSize <= minimumTrimmedBytes) return TrimJudgement::invalidFile;
  return TrimJudgement::accepted;
}

}  // namespace quillmere
