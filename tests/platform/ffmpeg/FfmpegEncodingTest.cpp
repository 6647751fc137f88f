#include <sys/resource.h>

#include <QDir>
#include <QFileInfo>
#include <csignal>

#include "audio/FileConversion.h"
#include "platform/ffmpeg/FfmpegFixture.h"

namespace quillmere {
namespace {

class FfmpegEncodingTest : public FfmpegFixture {
 protected:
  FileConversion conversion{readers, encoder, logging.logger("AudioFileConverter")};
  const QString to = media.path("target.m4a");

  QString makeTone(int rate, int channels, double seconds = 1) {
    return media.write("source.wav",
                       SampleMedia::wav(rate, channels, qint64(rate * seconds), SampleMedia::tone(440, rate)));
  }
  void expectTone(const QString& path, double seconds = 1) {
    const auto samples = decode(path);
    ASSERT_TRUE(samples);
    EXPECT_NEAR(double(samples->size()), seconds * 16000, 0.1 * 16000);
    EXPECT_NEAR(SampleMedia::levelAt(std::span<const float>(*samples).subspan(3000, 10000), 440, 16000), 0.5, 0.04);
  }
  // The names of the top-level boxes, in order.
  static QStringList boxes(const QByteArray& bytes) {
    QStringList names;
    for (qsizetype at = 0; at + 8 <= bytes.size();) {
      const auto size = qFromBigEndian<quint32>(bytes.constData() + at);
      names << QString::fromLatin1(bytes.mid(at + 4, 4));
      if (size < 8) break;
      at += size;
    }
    return names;
  }
};

TEST_F(FfmpegEncodingTest, BothRoadsGiveWhatWasThere) {
  // 192 kHz, 5 kHz and 12 channels are more than AAC knows.
  for (const auto& [rate, channels] :
       {std::pair(16000, 1), {44100, 2}, {48000, 6}, {8000, 1}, {192000, 2}, {48000, 12}}) {
    const QString from = makeTone(rate, channels);
    for (const bool isPrimary : {true, false}) {
      const auto format =
          isPrimary ? conversion.convertAudioToAAC(from, to, stop) : conversion.exportToM4A(from, to, stop);
      ASSERT_TRUE(format) << rate << " " << channels << " " << isPrimary;
      EXPECT_EQ(*format, (AudioFileFormat{double(rate), channels, 64000 * channels}));
      const QStringList names = boxes(media.read("target.m4a"));
      EXPECT_EQ(names.first(), "ftyp");
      EXPECT_LT(names.indexOf("moov"), names.indexOf("mdat")) << "the index stands in front";
      EXPECT_EQ(media.read("target.m4a").mid(8, 4), "M4A ");
      expectTone(to);
      EXPECT_EQ(QFileInfo(to).permissions() & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
      const auto reader = readers.open(to, MediaReaderFactory::Output::native);
      ASSERT_TRUE(reader);
      const AudioStreamFormat made = (*reader)->format();
      EXPECT_TRUE(!isPrimary || rate > 96000 || made.sampleRate == rate) << made.sampleRate;
      EXPECT_TRUE(!isPrimary || channels > 6 || made.channelCount == channels) << made.channelCount;
    }
  }
}

TEST_F(FfmpegEncodingTest, TheFallbackTakesAacOverUnchanged) {
  makeTone(44100, 2);
  for (const char* name : {"a.m4a", "a.aac", "a.ts", "a.mkv"}) {
    const QString source = QString::fromUtf8(name);
    ASSERT_TRUE(media.ffmpeg({"-i", "source.wav", "-c:a", "aac", source}));
    const auto before = decode(media.path(source));
    ASSERT_TRUE(conversion.exportToM4A(media.path(source), to, stop)) << name << qPrintable(sink->lines().join(u'\n'));
    const auto after = decode(to);
    ASSERT_TRUE(before && after);
    ASSERT_NEAR(double(before->size()), double(after->size()), 2048.0);
    expectTone(to);
  }
}

TEST_F(FfmpegEncodingTest, Videos) {
  makeTone(48000, 1);
  ASSERT_TRUE(
      media.ffmpeg(QString("-f lavfi -i testsrc=d=1:s=64x64 -i source.wav -c:v mpeg4 -c:a aac v.mov").split(u' ')));
  const auto audio = conversion.extractAudioFromVideo(media.path("v.mov"), to, stop);
  ASSERT_TRUE(audio);
  EXPECT_NEAR(audio->durationSeconds, 1, 0.05);
  EXPECT_EQ(audio->sampleRate, 48000);
  EXPECT_EQ(audio->channelCount, 1);
  expectTone(to);

  ASSERT_TRUE(media.ffmpeg(QString("-f lavfi -i testsrc=d=1:s=64x64 -c:v mpeg4 silent.mov").split(u' ')));
  const auto silent = conversion.extractAudioFromVideo(media.path("silent.mov"), to, stop);
  ASSERT_FALSE(silent);
  EXPECT_EQ(silent.error(), AnyError(AudioError{AudioError::Kind::noAudioTrack, {}}));
}

TEST_F(FfmpegEncodingTest, TargetsWithOddNames) {
  const QString from = makeTone(16000, 1);
  for (const char* name : {"http:x.m4a", "new\nline %d'\".m4a", "no extension"}) {
    const QString target = media.path(QString::fromUtf8(name));
    ASSERT_TRUE(conversion.convertAudioToAAC(from, target, stop)) << name;
    expectTone(target);
  }
}

// A limit on the size of files stands for a disk that fills up on the way.
TEST_F(FfmpegEncodingTest, AFullDiskLeavesNothing) {
  const QString from = makeTone(48000, 2, 3);
  rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  for (const rlim_t room : {rlim_t(0), rlim_t(10000), rlim_t(40000)}) {
    for (const bool isPrimary : {true, false}) {
      const rlimit small{room, before.rlim_max};
      ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
      const auto result =
          isPrimary ? conversion.convertAudioToAAC(from, to, stop) : conversion.exportToM4A(from, to, stop);
      ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
      EXPECT_FALSE(result) << room << isPrimary;
      EXPECT_FALSE(QFileInfo::exists(to)) << room << isPrimary;
    }
  }
  std::signal(SIGXFSZ, oldHandler);
  EXPECT_FALSE(conversion.convertAudioToAAC(from, media.path("no/such/folder/x.m4a"), stop));
}

// Told by the content, whatever the name; a cover is no picture. AAC is taken over as it is.
TEST_F(FfmpegEncodingTest, WhatHasAPictureGivesItsSoundAlone) {
  makeTone(48000, 1);
  const QString film = "-f lavfi -i testsrc=d=1:s=64x64 -i source.wav -c:v %1 -c:a %2 -f %3 %4";
  const std::tuple<const char*, const char*, const char*, const char*> films[] = {
      {"mpeg4", "aac", "matroska", "a.wav"},
      {"mpeg4", "libmp3lame", "avi", "b.avi"},
      {"libvpx", "libopus", "webm", "c.webm"},
      {"mpeg4", "aac", "mpegts", "no_extension"}};
  for (const auto& [video, audio, container, name] : films) {
    if (!media.ffmpeg(film.arg(video, audio, container, name).split(u' '))) continue;  // an encoder that it lacks
    const auto picture = conversion.hasPicture(media.path(name));
    ASSERT_TRUE(picture) << name;
    EXPECT_TRUE(*picture) << name;
    ASSERT_TRUE(conversion.extractAudioFromVideo(media.path(name), to, stop)) << name;
    EXPECT_FALSE(*conversion.hasPicture(to)) << name;
    expectTone(to);
    const bool isCopied = !sink->lines().join(u'\n').contains(QStringLiteral("encoded anew"));
    EXPECT_EQ(isCopied, QString(audio) == "aac") << name;
    sink->clear();
  }
  const QString cover =
      "-i source.wav -f lavfi -i color=d=0.04:s=16x16 -map 0:a -map 1:v -frames:v 1 -c:a flac -c:v png";
  ASSERT_TRUE(media.ffmpeg((cover + " -disposition:v attached_pic cover.flac").split(u' ')));
  EXPECT_FALSE(*conversion.hasPicture(media.path("cover.flac")));
  EXPECT_FALSE(*conversion.hasPicture(media.path("source.wav")));
}

}  // namespace
}  // namespace quillmere
