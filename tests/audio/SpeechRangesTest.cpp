#include "audio/SpeechRanges.h"

#include <vector>

#include "audio/TrimJudgement.h"

namespace quillmere {
namespace {

using Ranges = std::vector<TimeRange>;

constexpr double rate = 16000;

// As the model gives times: whole hundredths of a second, divided in floats.
TimeRange hundredths(int start, int end) {
  return {static_cast<float>(start) / 100.0f, static_cast<float>(end) / 100.0f};
}

TEST(SpeechRangesTest, AGapOfTwoTenthsMergesWhereverItLies) {
  for (int end = 100; end < 1'000'000; end += 317) {
    const Ranges close{hundredths(end - 50, end), hundredths(end + 20, end + 90)};
    ASSERT_EQ(mergeSegments(close, 200), Ranges{hundredths(end - 50, end + 90)}) << end;
    const Ranges apart{hundredths(end - 50, end), hundredths(end + 21, end + 90)};
    ASSERT_EQ(mergeSegments(apart, 200), apart) << end;
  }
}

TEST(SpeechRangesTest, MergingIsAChain) {
  EXPECT_EQ(mergeSegments({}, 200), Ranges{});
  EXPECT_EQ(mergeSegments({{0, 1}, {1.1f, 2}, {2.2f, 3}, {4, 5}, {5, 6}}, 200), (Ranges{{0, 3}, {4, 6}}));
  EXPECT_EQ(mergeSegments({{0, 1}, {0.5f, 2}}, 200), (Ranges{{0, 2}})) << "an overlap is no gap";
}

TEST(SpeechRangesTest, PaddingStaysWithinTheAudio) {
  const Ranges padded = padSegments({{0.02f, 1}, {2, 3}, {8, 9.98f}}, 50, 10.0);
  const Ranges expected{{0, 1.05f}, {1.95f, 3.05f}, {7.95f, 10}};
  ASSERT_EQ(padded.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_FLOAT_EQ(padded[i].start, expected[i].start) << i;
    EXPECT_FLOAT_EQ(padded[i].end, expected[i].end) << i;
  }
}

TEST(SpeechRangesTest, SamplesAreCutTowardsZeroAndClamped) {
  struct Case {
    TimeRange segment;
    SampleRange expected;
  };
  for (const Case& c : {Case{{0.00009f, 0.50009f}, {1, 8001}}, Case{{1.5f, 2.5f}, {24000, 32000}},
                        Case{{3, 4}, {31999, 32000}}, Case{{-1, 1}, {0, 16000}}, Case{{1, 0.5f}, {16000, 16000}}})
    EXPECT_EQ(sampleRanges({c.segment}, 32000, rate, Logger()), std::vector<SampleRange>{c.expected})
        << c.segment.start;
  EXPECT_TRUE(sampleRanges({{0, 1}}, 0, rate, Logger()).empty());
}

TEST(TrimJudgementTest, EveryLimitCountsOnItsOwnSide) {
  using J = TrimJudgement;
  struct Case {
    double original, trimmed;
    std::optional<qint64> size;
    J expected;
  };
  const Case cases[] = {
      {40, 39.5, 100000, J::noSignificantSilence},
      {(40.3 * rate) / rate, (40.3 * rate - 8000) / rate, 100000, J::noSignificantSilence},
      {40, 0.29, 100000, J::tooShort},
      {40, 0.3, 100000, J::accepted},
      {40, 20, 5000, J::invalidFile},
      {40, 20, 5001, J::accepted},
      {40, 20, std::nullopt, J::invalidFile},
  };
  for (const Case& c : cases)
    EXPECT_EQ(judgeTrim(c.original, c.trimmed, c.size), c.expected) << c.original << ' ' << c.trimmed;
}

}  // namespace
}  // namespace quillmere
