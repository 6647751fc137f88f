#include <QFileInfo>

#include "contract/Sides.h"
#include "platform/ffmpeg/FfmpegMediaEncoder.h"
#include "support/FakeMediaEncoder.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

struct FakeSide {
  FakeMediaEncoder encoder;
};
struct FfmpegSide {
  FfmpegLog log{Logging()};
  FfmpegMediaEncoder encoder{log};
};

template <typename Side>
class MediaEncoderContract : public testing::Test, public Side {
 protected:
  SampleMedia media;
  const QString to = media.path("target.m4a");
  std::atomic<bool> stop{false};
};
using Sides = testing::Types<FakeSide, FfmpegSide>;
TYPED_TEST_SUITE(MediaEncoderContract, Sides, SideNames);

TYPED_TEST(MediaEncoderContract, AWriterMakesAFile) {
  const AacEncoderSettings settings{16000, 1, 64000};
  auto writer = this->encoder.openWriter(this->to, settings);
  ASSERT_TRUE(writer);
  const std::vector<std::int16_t> samples(16000, 1000);
  const auto* const plane = reinterpret_cast<const std::byte*>(samples.data());
  const AudioStreamFormat format{16000, 1, AudioStreamFormat::SampleKind::signed16, false, 0};
  ASSERT_TRUE((*writer)->append(AudioBlock{format, {&plane, 1}, 16000}));
  ASSERT_TRUE((*writer)->finish());
  EXPECT_GT(QFileInfo(this->to).size(), 0);

  const auto refused = this->encoder.openWriter(this->media.path("no/such/folder/x.m4a"), settings);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().kind, MediaError::Kind::writeFailed);
}

TYPED_TEST(MediaEncoderContract, AnExportMakesAFileUnlessItIsStopped) {
  using Status = MediaExportSession::Status;
  const QString from = this->media.write("a.wav", SampleMedia::wav(16000, 1, 16000, SampleMedia::tone(440, 16000)));
  auto session = this->encoder.createExportSession(from, this->to);
  ASSERT_TRUE(session);
  EXPECT_EQ(session->run(this->stop), Status::completed);
  EXPECT_EQ(session->error(), std::nullopt);
  EXPECT_GT(QFileInfo(this->to).size(), 0);
  this->stop = true;
  EXPECT_EQ(this->encoder.createExportSession(from, this->to)->run(this->stop), Status::cancelled);
}

}  // namespace
}  // namespace quillmere
