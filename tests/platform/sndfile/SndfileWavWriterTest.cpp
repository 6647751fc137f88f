#include <QFileInfo>

#include "platform/sndfile/SndfileWavWriterFactory.h"
#include "support/SampleMedia.h"

namespace quillmere {
namespace {

TEST(SndfileWavWriterTest, WritesWholeSixteenBitFilesForTheirOwnerOnly) {
  SampleMedia media;
  SndfileWavWriterFactory factory;
  EXPECT_FALSE(factory.create(QStringLiteral("/nowhere/at/all.wav"), 16000));
  const QString path = media.write(QStringLiteral("schön_trimmed.m4a"), "an older file");
  {
    auto writer = factory.create(path, 16000);
    ASSERT_TRUE(writer) << writer.error().description.toStdString();
    const float first[] = {0, 0.5f, -0.5f};
    const float second[] = {1, -1, 1.5f, -7};
    ASSERT_TRUE((*writer)->append(first));
    ASSERT_TRUE((*writer)->append({}));
    ASSERT_TRUE((*writer)->append(second));
    ASSERT_TRUE((*writer)->finish());
  }
  const QByteArray bytes = media.read(QStringLiteral("schön_trimmed.m4a"));
  ASSERT_EQ(bytes.size(), 44 + 7 * 2);
  // All but the samples is what the other writer of such files makes.
  EXPECT_EQ(bytes.left(44), SampleMedia::wav(16000, 1, 7, [](qint64, int) { return 0.0; }).left(44));
  const auto sample = [&](int i) { return qFromLittleEndian<qint16>(bytes.constData() + 44 + 2 * i); };
  EXPECT_EQ(sample(0), 0);
  EXPECT_NEAR(sample(1), 16384, 1);
  EXPECT_NEAR(sample(2), -16384, 1);
  EXPECT_GE(sample(3), 32766);
  EXPECT_LE(sample(4), -32767);
  EXPECT_EQ(sample(5), 32767) << "too loud is cut off, it does not wrap around";
  EXPECT_EQ(sample(6), -32768);
  EXPECT_EQ(QFileInfo(path).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

}  // namespace
}  // namespace quillmere
