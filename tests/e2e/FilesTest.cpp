#include <gtest/gtest.h>

#include "e2e/Application.h"
#include "e2e/Eventually.h"
#include "support/SpeechClip.h"
#include "support/WordErrorRate.h"

namespace quillmere {
namespace {

// What a file manager does for "Open with": the first start takes the file along, the next one hands its file over.
TEST(FilesTest, AreTranscribedByTheOneThatRuns) {
  Application application;
  ASSERT_TRUE(application.start({SpeechClip::path()}));
  const auto completed = [] {
    qsizetype count = 0;
    for (const QJsonObject& row : Application::history()) count += row["status"].toString() == "completed" ? 1 : 0;
    return count;
  };
  ASSERT_TRUE(eventually([&] { return completed() == 1; })) << application.errors().toStdString();
  const QString other =
      qEnvironmentVariable("DESKTOP_FOLDER") + "/home/other " + QFileInfo(SpeechClip::path()).fileName();
  ASSERT_TRUE(QFile::copy(SpeechClip::path(), other));
  const Tool second = Tool::run(Application::program("quillmere-desktop"), {other});
  EXPECT_EQ(second.code, 0) << second.err.toStdString();
  ASSERT_TRUE(eventually([&] { return completed() == 2; })) << application.errors().toStdString();
  for (const QJsonObject& row : Application::history())
    EXPECT_TRUE(wordsOf(row["text"].toString()).contains("americans")) << row["text"].toString().toStdString();
}

}  // namespace
}  // namespace quillmere
