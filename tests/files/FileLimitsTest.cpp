#include "files/FileLimits.h"

namespace quillmere {
namespace {

Mode cloudMode(const char* provider) {
  Mode mode;
  mode.model = QStringLiteral("Cloud");
  mode.cloudProvider = QString::fromLatin1(provider);
  return mode;
}

TEST(FileLimitsTest, RefusesOneByteAboveTheLimitOfTheProvider) {
  const std::tuple<const char*, qint64, const char*> cases[] = {{"quillmere", 2147483648, "Quillmere Cloud"},
                                                                {"somebody", 26214400, "Cloud Provider"}};
  for (const auto& [provider, limit, label] : cases) {
    const Mode mode = cloudMode(provider);
    EXPECT_FALSE(refusalBySize(limit, &mode)) << provider;
    const FileTranscriptionError expected{
        FileTranscriptionError::FileTooLarge{limit + 1, limit, QString::fromLatin1(label)}};
    EXPECT_EQ(refusalBySize(limit + 1, &mode), expected) << provider;
  }
}

TEST(FileLimitsTest, LocalModesAndNoModeTakeAnySizeAndFormat) {
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

TEST(FileLimitsTest, ComparesExtensionsInLowerCase) {
  const Mode openai = cloudMode("openai");
  EXPECT_EQ(checkFormat(QStringLiteral("MP3"), &openai).verdict, FormatCheck::Verdict::supported);
  EXPECT_EQ(checkFormat(QStringLiteral("flac"), &openai).verdict, FormatCheck::Verdict::unsupported);
  EXPECT_EQ(checkFormat(QString(), &openai).verdict, FormatCheck::Verdict::unsupported);
}

TEST(FileLimitsTest, NamesCopiesSoThatAnyFileSystemTakesThem) {
  EXPECT_EQ(importedFileName(1700000000, QStringLiteral("a.b"), QStringLiteral("wav")),
            QStringLiteral("imported_1700000000_a.b.wav"));
  EXPECT_EQ(importedFileName(7, QStringLiteral("talk"), QString()), QStringLiteral("imported_7_talk"));
  EXPECT_EQ(importedFileName(7, QStringLiteral("caf\uFFFD"), QStringLiteral("wav")),
            QStringLiteral("imported_7_caf.wav"));
  const QString family = QStringLiteral("👨‍👩‍👧");
  const QString longName = importedFileName(1700000000, family.repeated(40), QStringLiteral("flac"));
  EXPECT_LE(longName.toUtf8().size(), 255);
  EXPECT_TRUE(longName.endsWith(family + QStringLiteral(".flac"))) << "cut inside a character";
}

}  // namespace
}  // namespace quillmere
