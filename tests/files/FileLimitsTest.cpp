#include "files/FileLimits.h"

#include "support/TestTexts.h"

namespace quillmere {
namespace {

Mode cloudMode(const char* provider) {
  Mode mode;
  mode.model = QStringLiteral("Cloud");
  mode.cloudProvider = QString::fromLatin1(provider);
  return mode;
}

TEST(FileLimits, RefusesOneByteAboveTheLimitOfEachProvider) {
  struct Row {
    const char* provider;
    qint64 limit;
    const char* label;
  };
  const Row rows[] = {{"quillmere", 2147483648, "Quillmere Cloud"},
                      {"openai", 26214400, "OpenAI"},
                      {"assemblyai", 2362232012, "AssemblyAI"},
                      {"somebody", 26214400, "Cloud Provider"},
                      {"", 26214400, "Cloud Provider"}};
  for (const Row& row : rows) {
    const Mode mode = cloudMode(row.provider);
    EXPECT_FALSE(refusalBySize(row.limit, &mode)) << row.provider;
    const auto refusal = refusalBySize(row.limit + 1, &mode);
    ASSERT_TRUE(refusal) << row.provider;
    const FileTranscriptionError expected{
        FileTranscriptionError::FileTooLarge{row.limit + 1, row.limit, QString::fromLatin1(row.label)}};
    EXPECT_EQ(*refusal, expected) << row.provider;
  }
}

TEST(FileLimits, LocalModesAndNoModeTakeAnySizeAndFormat) {
  Mode local;
  local.model = QStringLiteral("base");
  constexpr qint64 fourGiB = 4LL << 30;
  EXPECT_FALSE(refusalBySize(fourGiB, &local));
  EXPECT_FALSE(refusalBySize(fourGiB, nullptr));
  EXPECT_EQ(checkFormat(QStringLiteral("xyz"), &local).verdict, FormatCheck::Verdict::skippedLocal);
  EXPECT_EQ(checkFormat(QStringLiteral("xyz"), nullptr).verdict, FormatCheck::Verdict::skippedNoMode);
  const Mode unknown = cloudMode("somebody");
  EXPECT_EQ(checkFormat(QStringLiteral("xyz"), &unknown).verdict, FormatCheck::Verdict::skippedNoMode);
}

TEST(FileLimits, ComparesExtensionsInLowerCase) {
  const Mode openai = cloudMode("openai");
  EXPECT_EQ(checkFormat(QStringLiteral("MP3"), &openai).verdict, FormatCheck::Verdict::supported);
  const FormatCheck flac = checkFormat(QStringLiteral("flac"), &openai);
  EXPECT_EQ(flac.verdict, FormatCheck::Verdict::unsupported);
  const QStringList sorted{"m4a", "mp3", "mp4", "mpeg", "mpga", "wav", "webm"};
  EXPECT_EQ(flac.supportedFormats, sorted);
  const Mode assembly = cloudMode("assemblyai");
  EXPECT_EQ(checkFormat(QStringLiteral("flac"), &assembly).verdict, FormatCheck::Verdict::supported);
  EXPECT_EQ(checkFormat(QStringLiteral("wma"), &assembly).verdict, FormatCheck::Verdict::unsupported);
  EXPECT_EQ(checkFormat(QString(), &openai).verdict, FormatCheck::Verdict::unsupported);
  EXPECT_TRUE(isVideoExtension(QStringLiteral("MOV")));
  EXPECT_FALSE(isVideoExtension(QStringLiteral("webm")));
}

TEST(FileLimits, AlertsNameSizesProviderAndFormats) {
  const TestTexts texts;
  const auto size = alertText({FileTranscriptionError::FileTooLarge{3221225472, 26214400, QStringLiteral("OpenAI")}});
  for (const char* part : {"3.0 GB", "25 MB", "OpenAI"})
    EXPECT_TRUE(size.message.contains(QLatin1String(part))) << size.message.toStdString();
  const auto format = alertText({FileTranscriptionError::UnsupportedFormat{
      QStringLiteral("flac"), QStringLiteral("OpenAI"), {"m4a", "mp3", "mp4", "mpeg", "mpga", "wav", "webm"}}});
  EXPECT_TRUE(format.message.contains(QStringLiteral("M4A, MP3, MP4, MPEG, MPGA, WAV, WEBM")))
      << format.message.toStdString();
}

TEST(FileLimits, NamesCopiesSoThatAnyFileSystemTakesThem) {
  EXPECT_EQ(importedFileName(1700000000, QStringLiteral("a.b"), QStringLiteral("wav")),
            QStringLiteral("imported_1700000000_a.b.wav"));
  EXPECT_EQ(importedFileName(7, QStringLiteral("talk"), QString()), QStringLiteral("imported_7_talk"));
  EXPECT_EQ(importedFileName(7, QStringLiteral("caf\uFFFD"), QStringLiteral("wav")),
            QStringLiteral("imported_7_caf.wav"));
  EXPECT_EQ(importedFileName(7, QStringLiteral("line\nbreak \"quoted\""), QStringLiteral("wav")),
            QStringLiteral("imported_7_line\nbreak \"quoted\".wav"));
  const QString family = QStringLiteral("👨‍👩‍👧");
  const QString longName = importedFileName(1700000000, family.repeated(40), QStringLiteral("flac"));
  EXPECT_LE(longName.toUtf8().size(), 255);
  EXPECT_TRUE(longName.endsWith(family + QStringLiteral(".flac"))) << "cut inside a character";
}

}  // namespace
}  // namespace quillmere
