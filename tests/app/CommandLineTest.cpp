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
  EXPECT_TRUE(canParse("transcribe -q --language=de -- a.wav --odd"));
}

TEST(CommandLine, EveryCommandAndOptionHasAHelpText) {
  const TestTexts texts;
  Invocation invocation;
  CommandLine line(invocation);
  const std::string all = line.tree().help("", CLI::AppFormatMode::All);
  EXPECT_EQ(all.find("cli.help"), std::string::npos) << all.substr(all.find("cli.help"), 60);
}

TEST(CommandLine, CompletionScriptsAreAcceptedByTheirShell) {
  const TestTexts texts;
  Invocation invocation;
  CommandLine line(invocation);
  for (const char* shell : {"zsh", "fish"})
    EXPECT_NE(completionScript(line.tree(), shell).find("no-history"), std::string::npos) << shell;
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
}

TEST(ProgressBar, FitsTheTerminalAndKeepsBothEndsOfTheName) {
  const QString name = "a very long name of a recording that was made in spring.flac";
  for (const int columns : {20, 40, 80, 200})
    for (const double share : {-1.0, 0.0, 0.5, 1.0, 7.0})
      EXPECT_LT(graphemeCount(progressLine(name, share, "note", columns)), std::max(columns, 36)) << columns << share;
  const QString half = progressLine(name, 0.5, QString(), 80);
  for (const char* part : {"a very", "spring.flac", " 50 %"}) EXPECT_TRUE(half.contains(part)) << half.toStdString();
  EXPECT_TRUE(progressLine(name, 7.0, QString(), 80).contains("100 %"));
  EXPECT_FALSE(progressLine(name, -5, QString(), 80).contains(u'%'));
}

}  // namespace
}  // namespace quillmere
