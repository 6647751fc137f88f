#include "contract/Sides.h"
#include "platform/ffmpeg/FfmpegAudioResamplerFactory.h"
#include "support/FakeAudioResampler.h"

namespace quillmere {
namespace {

using Samples = AudioStreamFormat::SampleKind;

struct FakeSide {
  FakeAudioResamplerFactory factory;
};
struct FfmpegSide {
  FfmpegLog log{Logging()};
  FfmpegAudioResamplerFactory factory{log};
};

template <typename Side>
class AudioResamplerContract : public testing::Test, public Side {
 protected:
  // Brings the source, which repeats one frame, to 16 kHz in pieces; each call gets no more room than it asked for.
  template <typename T>
  std::vector<float> resample(const AudioStreamFormat& source, const std::vector<T>& frame, qint64 frames,
                              qint64 pieceFrames) {
    auto made = this->factory.create(source, 16000);
    EXPECT_TRUE(made);
    std::vector<T> memory;
    for (qint64 i = 0; i < pieceFrames; ++i) memory.insert(memory.end(), frame.begin(), frame.end());
    const auto* const plane = reinterpret_cast<const std::byte*>(memory.data());
    std::vector<float> all;
    const auto room = [&](qint64 count) { return std::vector<float>(size_t((*made)->outputBound(count))); };
    const auto take = [&](const Result<qint64, PlatformError>& written, const std::vector<float>& from) {
      EXPECT_TRUE(written && *written <= qint64(from.size()));
      all.insert(all.end(), from.begin(), from.begin() + *written);
    };
    for (qint64 left = frames; left > 0; left -= pieceFrames) {
      const qint64 count = std::min(left, pieceFrames);
      auto output = room(count);
      const auto written = (*made)->convert(AudioBlock{source, {&plane, 1}, count}, output);
      take(written, output);
    }
    auto output = room(0);
    const auto written = (*made)->finish(output);
    take(written, output);
    return all;
  }
};
using Sides = testing::Types<FakeSide, FfmpegSide>;
TYPED_TEST_SUITE(AudioResamplerContract, Sides, SideNames);

TYPED_TEST(AudioResamplerContract, TheLengthIsThatOfTheSourceHoweverItComes) {
  for (const int rate : {8000, 11025, 22050, 37800, 44100, 47999, 48000}) {
    for (const int frames : {441, 443, 4801, 70001}) {
      const qint64 piece = frames % 1000 + 10;
      const auto samples = this->resample(AudioStreamFormat{double(rate), 1, Samples::float32, false, 0},
                                          std::vector{0.5f}, frames, piece);
      EXPECT_NEAR(double(samples.size()), frames * 16000.0 / rate, 1) << rate << " " << frames;
      EXPECT_NEAR(samples[samples.size() / 2], 0.5, 0.01) << rate << " " << frames;
    }
  }
}

TYPED_TEST(AudioResamplerContract, TwoChannelsAreAveraged) {
  const auto floats =
      this->resample(AudioStreamFormat{16000, 2, Samples::float32, false, 0}, std::vector{0.8f, 0.2f}, 900, 300);
  ASSERT_EQ(floats.size(), 900u);
  EXPECT_NEAR(floats[450], 0.5, 1e-3);
  const auto integers = this->resample(AudioStreamFormat{16000, 2, Samples::signed16, false, 0},
                                       std::vector<std::int16_t>{26214, 6553}, 900, 300);
  ASSERT_EQ(integers.size(), 900u);
  EXPECT_NEAR(integers[450], 0.5, 1e-3);
}

TYPED_TEST(AudioResamplerContract, RefusesWhatIsNoSound) {
  EXPECT_FALSE(this->factory.create(AudioStreamFormat{0, 1, Samples::float32, false, 0}, 16000));
  EXPECT_FALSE(this->factory.create(AudioStreamFormat{16000, 0, Samples::float32, false, 0}, 16000));
}

}  // namespace
}  // namespace quillmere
