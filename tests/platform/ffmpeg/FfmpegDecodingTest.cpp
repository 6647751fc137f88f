#include <sys/stat.h>

#include "platform/ffmpeg/FfmpegFixture.h"

namespace quillmere {
namespace {

using Kind = ConversionError::Kind;

constexpr double seconds = 1.5;

class FfmpegDecodingTest : public FfmpegFixture {
 protected:
  // A stereo file of one tone under the name "source.wav".
  QString makeSource() {
    return media.write("source.wav",
                       SampleMedia::wav(44100, 2, qint64(seconds * 44100), SampleMedia::tone(440, 44100)));
  }
  bool ffmpeg(const QString& arguments) { return media.ffmpeg(arguments.split(u' ')); }
  static double secondsLeft(MediaReader& reader) {
    qint64 frames = 0;
    for (auto block = reader.read(4096); block && block->frameCount > 0; block = reader.read(4096))
      frames += block->frameCount;
    return double(frames) / reader.format().sampleRate;
  }
  void expectTone(const QString& name, double lengthTolerance, double levelTolerance = 0.03) {
    const auto samples = decode(media.path(name));
    ASSERT_TRUE(samples) << qPrintable(name) << " " << qPrintable(samples.error().message());
    EXPECT_NEAR(double(samples->size()), seconds * 16000, lengthTolerance * 16000) << qPrintable(name);
    const auto middle = std::span<const float>(*samples).subspan(4000, 16000);
    EXPECT_NEAR(SampleMedia::levelAt(middle, 440, 16000), 0.5, levelTolerance) << qPrintable(name);
    EXPECT_NEAR(SampleMedia::rms(middle), 0.5 / std::sqrt(2.0), levelTolerance) << qPrintable(name);
  }
};

TEST_F(FfmpegDecodingTest, Formats) {
  const struct {
    const char *name, *codecs;
    double lengthTolerance;  // seconds; codecs pad the end
    bool isOptionalEncoder = false, canSeek = false;
  } cases[] = {
      {"a.wav", "-c:a pcm_s16le", 0, false, true},
      {"u8.wav", "-c:a pcm_u8", 0},
      {"f32.wav", "-c:a pcm_f32le", 0},
      {"a.aiff", "-c:a pcm_s16be", 0},
      {"a.flac", "-c:a flac", 0, false, true},
      {"alac.m4a", "-c:a alac", 0},
      {"a.m4a", "-c:a aac", 0.05, false, true},
      {"a.aac", "-c:a aac", 0.05},
      {"a.mp3", "-c:a libmp3lame", 0.05, true, true},
      {"a.ogg", "-c:a libvorbis", 0.01, true},
      {"a.webm", "-c:a libopus", 0.01, true},
      {"a.wma", "-c:a wmav2", 0.1},
      {"a.mov", "-c:v mpeg4 -c:a aac", 0.05},
      {"a.avi", "-c:v mpeg4 -c:a pcm_s16le", 0.01},
      {"a.ts", "-c:v mpeg2video -c:a aac", 0.1},
  };
  makeSource();
  for (const auto& c : cases) {
    const QString name = c.name, codecs = c.codecs;
    const QString from = codecs.contains("-c:v") ? "-f lavfi -i testsrc=d=1.5:s=64x64 -i source.wav -map 0:v -map 1:a "
                                                 : "-i source.wav ";
    if (!ffmpeg(from + codecs + ' ' + name)) {
      EXPECT_TRUE(c.isOptionalEncoder) << "the ffmpeg program makes no " << c.name;
      continue;
    }
    expectTone(name, c.lengthTolerance);
    const auto length = duration(media.path(name));
    ASSERT_TRUE(length) << c.name;
    EXPECT_NEAR(*length, seconds, c.lengthTolerance + 0.03) << c.name;
    if (!c.canSeek) continue;
    auto reader = *readers.open(media.path(name), MediaReaderFactory::Output::native);
    for (const double place : {1.0, 0.5}) {
      ASSERT_TRUE(reader->seek(qint64(place * 44100))) << c.name;
      EXPECT_NEAR(secondsLeft(*reader), seconds - place, c.lengthTolerance + 0.1) << c.name;
    }
  }
}

TEST_F(FfmpegDecodingTest, OpensAnyNameAsTheFileItNames) {
  const QByteArray wav = SampleMedia::wav(16000, 1, 1600, SampleMedia::tone(440, 16000));
  for (const char* name :
       {"quote'\"s.wav", "new\nline.wav", "100% %d %03d.wav", "http:", "concat:a.wav|b.wav", "file:a.wav", "pipe:0",
        "-", "-i.wav", "data:audio,x", "wrong.mp3", "größe 音声.wav", "subfile,,start,0,end,0,,:a"}) {
    const auto samples = decode(media.write(QString::fromUtf8(name), wav));
    ASSERT_TRUE(samples) << name << ": " << qPrintable(samples.error().message());
    EXPECT_EQ(samples->size(), 1600u) << name;
  }
}

TEST_F(FfmpegDecodingTest, BadFilesAreRefused) {
  const QByteArray junk = [] {
    QByteArray bytes(100000, '\0');
    quint32 state = 12345;
    for (char& byte : bytes) byte = char((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
  }();
  const QString text = media.write("text.wav", "Dear reader, this is not a recording.\n");
  for (const QString& path :
       {media.path("missing.wav"), media.path("."), QString("/dev/null"), media.write("zero.wav", {}), text})
    EXPECT_EQ(openError(path), MediaError::Kind::cannotOpen) << qPrintable(path);
  for (const char* name : {"junk.wav", "junk.m4a", "junk"})
    EXPECT_FALSE(decode(media.write(QString::fromUtf8(name), junk))) << name;

  const QString pipe = media.path("pipe.wav");  // must not wait for a writer
  ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
  EXPECT_EQ(openError(pipe), MediaError::Kind::cannotOpen);
}

TEST_F(FfmpegDecodingTest, FilesThatOnlyReferToOthersAreRefused) {
  media.write("a.wav", SampleMedia::wav(16000, 1, 16000, SampleMedia::tone(440, 16000)));
  const std::pair<const char*, QByteArray> cases[] = {
      {"list.m3u8", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\na.wav\n#EXT-X-ENDLIST\n"},
      {"list.wav", "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nhttp://127.0.0.1:9/a.wav\n#EXT-X-ENDLIST\n"},
      {"list.ffconcat", "ffconcat version 1.0\nfile a.wav\n"},
      {"script.sbg", "-SE\n\na: 440/50\nNOW a\n"},
      {"call.sdp", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=audio 5004 RTP/AVP 0\n"},
      {"dash.mpd", "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\"></MPD>\n"},
  };
  for (const auto& [name, content] : cases)
    EXPECT_EQ(openError(media.write(name, content)), MediaError::Kind::cannotOpen) << name;
}

TEST_F(FfmpegDecodingTest, FilesWithoutSound) {
  const QString empty = media.write("e.wav", SampleMedia::wav(16000, 1, 0, SampleMedia::tone(1, 2)));
  EXPECT_EQ(decode(empty).error().kind, Kind::emptyAudioFile);
  ASSERT_TRUE(ffmpeg("-f lavfi -i testsrc=d=0.5:s=64x64 -c:v mpeg4 silent.mp4"));
  EXPECT_EQ(openError(media.path("silent.mp4")), MediaError::Kind::noAudioTrack);
  EXPECT_EQ(decode(media.path("silent.mp4")).error().kind, Kind::invalidAudioFile);
}

TEST_F(FfmpegDecodingTest, TruncatedFiles) {
  makeSource();
  ASSERT_TRUE(ffmpeg("-i source.wav -c:a aac a.m4a"));
  ASSERT_TRUE(ffmpeg("-i source.wav -c:a flac a.flac"));
  media.write("cut.m4a", media.read("a.m4a").chopped(2000));
  EXPECT_EQ(openError(media.path("cut.m4a")), MediaError::Kind::cannotOpen);  // its index is gone

  for (const char* whole : {"source.wav", "a.flac"}) {
    const QString name = QString::fromUtf8(whole);
    const QByteArray bytes = media.read(name);
    const QString cut = media.write("cut_" + name, bytes.left(bytes.size() / 2));
    const auto samples = decode(cut);
    ASSERT_TRUE(samples) << whole;
    EXPECT_GT(samples->size(), 4000u) << whole;  // what is there, and no more
    EXPECT_LT(samples->size(), size_t(0.6 * seconds * 16000)) << whole;
    if (name == "a.flac") continue;  // states its length in its header, and nothing else
    EXPECT_EQ(duration(cut).error().kind, MediaError::Kind::incomplete) << whole;
  }
}

// A recorder that was killed leaves a header of zero length before its samples.
TEST_F(FfmpegDecodingTest, AHeaderThatSaysNothingIsNotBelieved) {
  QByteArray wav = SampleMedia::wav(16000, 1, 24000, SampleMedia::tone(440, 16000));
  std::fill_n(wav.begin() + 4, 4, '\0');
  std::fill_n(wav.begin() + 40, 4, '\0');
  const QString path = media.write("killed.wav", wav);
  expectTone("killed.wav", 0);
  const auto length = duration(path);
  ASSERT_TRUE(length);
  EXPECT_NEAR(*length, seconds, 0.01);
}

TEST_F(FfmpegDecodingTest, ManyChannelsAndHighRates) {
  for (const auto& [rate, channels] : {std::pair(192000, 2), {48000, 12}, {44100, 3}, {11025, 1}, {96000, 64}}) {
    // The same tone everywhere: whatever the weights, they sum up to it.
    const auto samples =
        decode(media.write("many.wav", SampleMedia::wav(rate, channels, rate, SampleMedia::tone(440, rate, 0.9))));
    ASSERT_TRUE(samples) << rate << " " << channels;
    EXPECT_NEAR(double(samples->size()), 16000, 1);
    EXPECT_NEAR(SampleMedia::levelAt(std::span<const float>(*samples).subspan(2000, 12000), 440, 16000), 0.9, 0.01)
        << rate << " " << channels;
  }
}

// The tone must stay where it is when a stream changes its rate and channels on the way.
TEST_F(FfmpegDecodingTest, ParametersThatChangeInTheMiddle) {
  for (const auto& [name, rate, channels] : {std::tuple("one.ts", 48000, 2), std::tuple("two.ts", 32000, 1)}) {
    media.write("part.wav", SampleMedia::wav(rate, channels, rate, SampleMedia::tone(440, rate)));
    ASSERT_TRUE(media.ffmpeg({"-i", "part.wav", "-c:a", "mp2", QString::fromUtf8(name)}));
  }
  const QString joined = media.write("joined.ts", media.read("one.ts") + media.read("two.ts"));
  const auto samples = decode(joined);
  ASSERT_TRUE(samples);
  EXPECT_NEAR(double(samples->size()), 32000, 0.15 * 16000);
  const std::span<const float> all(*samples);
  EXPECT_NEAR(SampleMedia::levelAt(all.subspan(4000, 8000), 440, 16000), 0.5, 0.05);
  EXPECT_NEAR(SampleMedia::levelAt(all.last(12000).first(8000), 440, 16000), 0.5, 0.05);

  // As 16-bit integers it keeps the format that it began with.
  auto reader = readers.open(joined, MediaReaderFactory::Output::signed16Interleaved);
  ASSERT_TRUE(reader);
  EXPECT_NEAR(secondsLeft(**reader), 2, 0.15);
}

TEST_F(FfmpegDecodingTest, TheLibrarysOwnMessagesGoToTheLogAtDebugLevel) {
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(decode(media.write("x.m4a", QByteArray("\0\0\0\x18"
                                                      "ftypM4A \0\0\0\0M4A mp42\0\0\0\x08"
                                                      "free",
                                                      32))));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(sink->lines(LogLevel::debug).filter("FFmpeg: ").isEmpty());
  EXPECT_FALSE(sink->publicLines().join(u'\n').contains("moov"));  // they may quote the file
}

}  // namespace
}  // namespace quillmere
