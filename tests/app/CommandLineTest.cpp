#include "app/cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <QProcess>

#include "app/cli/ProgressBar.h"
#include "app/cli/Terminal.h"
#include "base/text/Graphemes.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

bool canParse(const std::string& arguments) {
  Invocation invocation;
  CommandLine line(invocation);
  try {
    line.tree().parse(arguments);
  } catch (const CLI::Error&) {
    return false;
  }
  return true;
}

TEST(CommandLine, RefusesWhatMakesNoSense) {
  const TestTexts texts;
  for (const char* wrong : {"", "transcribe", "nonsense", "history -n 0", "history -n many", "history show",
                            "models download", "modes edit", "modes edit x --punctuation perhaps", "completion tcsh",
                            "settings set enableVAD", "transcribe a.wav --unknown"})
    EXPECT_FALSE(canParse(wrong)) << wrong;
  EXPECT_TRUE(canParse("transcribe - a.wav --mode Mail --language=de -q"));
  EXPECT_TRUE(canParse("transcribe -q -- a.wav --odd"));
}

TEST(CommandLine, EveryCommandAndOptionHasAHelpTextInEveryLanguage) {
  for (const char* language : {"en", "de"}) {
    const TestTexts texts(QString::fromLatin1(language));
    Invocation invocation;
    CommandLine line(invocation);
    const std::string all = line.tree().help("", CLI::AppFormatMode::All);
    EXPECT_EQ(all.find("cli.help"), std::string::npos) << all.substr(all.find("cli.help"), 60);
    EXPECT_NE(all.find("--no-history"), std::string::npos);
  }
}

TEST(CommandLine, CompletionScriptsAreAcceptedByTheirShell) {
  const TestTexts texts;
  Invocation invocation;
  CommandLine line(invocation);
  for (const char* shell : {"bash", "zsh", "fish"}) {
    const std::string script = completionScript(line.tree(), shell);
    EXPECT_NE(script.find("transcribe"), std::string::npos) << shell;
    EXPECT_NE(script.find("no-history"), std::string::npos) << shell;
  }
  EXPECT_TRUE(completionScript(line.tree(), "tcsh").empty());

  QProcess bash;
  bash.start("bash", {"--norc", "-s"});
  ASSERT_TRUE(bash.waitForStarted());
  bash.write(QByteArray::fromStdString(completionScript(line.tree(), "bash")));
  bash.write(
      "\nCOMP_WORDS=(quillmere models im); COMP_CWORD=2; _quillmere; echo \"<${COMPREPLY[*]}>\"\n"
      "COMP_WORDS=(quillmere history search --li); COMP_CWORD=3; _quillmere; echo \"<${COMPREPLY[*]}>\"\n");
  bash.closeWriteChannel();
  ASSERT_TRUE(bash.waitForFinished());
  EXPECT_EQ(bash.readAllStandardError(), QByteArray());
  EXPECT_EQ(bash.readAllStandardOutput(), QByteArray("<import>\n<--limit>\n"));
}

TEST(Terminal, ShowsNoControlCharacters) {
  EXPECT_EQ(printable("a\033[31mred\a\r", true), "a␛[31mred␇␍");
  EXPECT_EQ(printable("two\nlines\tand", true), "two\nlines and");
  EXPECT_EQ(printable("two\nlines", false), "two␊lines");
  EXPECT_EQ(printable("grüße 漢字", false), "grüße 漢字");
}

TEST(ProgressBar, FitsTheTerminalAndKeepsBothEndsOfTheName) {
  const QString name = "a very long name of a recording that was made in spring.flac";
  for (const int columns : {20, 40, 80, 200}) {
    for (const double share : {-1.0, 0.0, 0.5, 1.0, 7.0}) {
      const QString line = progressLine(name, share, "note", columns);
      EXPECT_LT(graphemeCount(line), std::max(columns, 36)) << columns << ' ' << share << ' ' << line.toStdString();
    }
  }
  const QString half = progressLine(name, 0.5, QString(), 80);
  EXPECT_TRUE(half.startsWith("a very")) << half.toStdString();
  EXPECT_TRUE(half.contains("spring.flac")) << half.toStdString();
  EXPECT_TRUE(half.contains(" 50 %")) << half.toStdString();
  EXPECT_TRUE(progressLine(name, 7.0, QString(), 80).contains("100 %"));
  EXPECT_FALSE(progressLine(name, -5, QString(), 80).contains(u'%'));
}

}  // namespace
}  // namespace quillmere
