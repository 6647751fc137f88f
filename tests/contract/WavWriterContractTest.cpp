#include <QFileInfo>

#include "contract/Sides.h"
#include "platform/sndfile/SndfileWavWriterFactory.h"
#include "support/FakeWavWriter.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

struct FakeSide {
  std::vector<float> samplesOf(const QByteArray&) const { return factory.samples; }
  FakeWavWriterFactory factory;
};

struct SndfileSide {
  std::vector<float> samplesOf(const QByteArray& bytes) const {
    const qsizetype count = (bytes.size() - 44) / 2;
    // All but the samples is what the other writer of such files makes.
    EXPECT_EQ(bytes.left(44), SampleMedia::wav(16000, 1, count, [](qint64, int) { return 0.0; }).left(44));
    std::vector<float> samples;
    for (qsizetype i = 0; i < count; ++i)
      samples.push_back(float(qFromLittleEndian<qint16>(bytes.constData() + 44 + 2 * i)) / 32768);
    return samples;
  }
  SndfileWavWriterFactory factory;
};

template <typename Side>
class WavWriterContract : public testing::Test, public Side {};
using Sides = testing::Types<FakeSide, SndfileSide>;
TYPED_TEST_SUITE(WavWriterContract, Sides, SideNames);

TYPED_TEST(WavWriterContract, WritesWholeFilesForTheirOwnerOnly) {
  SampleMedia media;
  EXPECT_FALSE(this->factory.create("/nowhere/at/all.wav", 16000));
  const QString path = media.write("schön_trimmed.m4a", "an older file");
  {
    auto writer = this->factory.create(path, 16000);
    ASSERT_TRUE(writer) << writer.error().description.toStdString();
    for (const auto& piece : {std::vector<float>{0, 0.5f, -0.5f}, {}, {1, -1, 1.5f, -7}})
      ASSERT_TRUE((*writer)->append(piece));
    ASSERT_TRUE((*writer)->finish());
  }
  const QByteArray bytes = media.read("schön_trimmed.m4a");
  ASSERT_EQ(bytes.size(), 44 + 7 * 2);
  const std::vector<float> samples = this->samplesOf(bytes);
  // Too loud is cut off, it does not wrap around.
  const float expected[] = {0, 0.5f, -0.5f, 1, -1, 1, -1};
  for (size_t i = 0; i < 7; ++i) EXPECT_NEAR(samples[i], expected[i], 1e-4) << i;
  EXPECT_EQ(QFileInfo(path).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

}  // namespace
}  // namespace quillmere
