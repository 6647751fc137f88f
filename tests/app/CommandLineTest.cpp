#include "app/cli/CommandLine.h"

#include <QProcess>

#include "app/cli/ProgressBar.h"
#include "app/cli/Terminal.h"
#include "base/text/Graphemes.h"
#include "support/TestTexts.h"

namespace quillmere {
namespace {

// Parses and returns what was asked for; the error's name where it can't be parsed.
std::variant<CommandOptions, std::string> parse(std::vector<std::string> arguments) {
  Invocation invocation;
  const auto tree = makeCommandLine(invocation);
  std::reverse(arguments.begin(), arguments.end());
  try {
    tree->parse(arguments);
  } catch (const CLI::Error& error) {
    return error.get_name();
  }
  return invocation.command;
}

template <typename Options>
Options parsed(std::vector<std::string> arguments) {
  const auto result = parse(std::move(arguments));
  if (const auto* error = std::get_if<std::string>(&result)) ADD_FAILURE() << *error;
  const auto* command = std::get_if<CommandOptions>(&result);
  const auto* options = command ? std::get_if<Options>(command) : nullptr;
  EXPECT_NE(options, nullptr);
  return options ? *options : Options();
}

TEST(CommandLine, ReadsEveryKindOfCommand) {
  const TestTexts texts;
  const auto transcribe = parsed<TranscribeOptions>(
      {"transcribe", "-", "a b.wav", "--mode", "Mail", "--language=de", "--json", "--no-history", "-q"});
  EXPECT_EQ(transcribe.files, (std::vector<std::string>{"-", "a b.wav"}));
  EXPECT_EQ(transcribe.mode, "Mail");
  EXPECT_EQ(transcribe.language, "de");
  EXPECT_TRUE(transcribe.isJson && transcribe.isWithoutHistory && transcribe.isQuiet);
  EXPECT_EQ(parsed<TranscribeOptions>({"transcribe", "--", "--odd name"}).files.front(), "--odd name");

  EXPECT_EQ(parsed<HistoryOptions>({"history"}).action, HistoryOptions::Action::list);
  EXPECT_EQ(parsed<HistoryOptions>({"history", "-n", "3"}).limit, 3);
  EXPECT_EQ(parsed<HistoryOptions>({"history", "search", "big house"}).search, "big house");
  const auto remove = parsed<HistoryOptions>({"history", "delete", "aaaa", "bbbb", "--yes"});
  EXPECT_EQ(remove.action, HistoryOptions::Action::remove);
  EXPECT_EQ(remove.ids.size(), 2u);
  EXPECT_TRUE(remove.isConfirmed);

  EXPECT_TRUE(parsed<ModelsOptions>({"models", "--json"}).isJson);
  EXPECT_TRUE(parsed<ModelsOptions>({"models", "download", "base", "--fresh"}).isFresh);
  EXPECT_EQ(parsed<ModelsOptions>({"models", "import", "/tmp/x", "--name", "mine"}).importName, "mine");
  const auto edit = parsed<ModesOptions>(
      {"modes", "edit", "Default", "--name", "New", "--punctuation", "false", "--post-processing", "off"});
  EXPECT_EQ(edit.action, ModesOptions::Action::edit);
  EXPECT_EQ(edit.punctuation, false);
  EXPECT_FALSE(edit.capitalization.has_value());
  EXPECT_EQ(parsed<VocabularyOptions>({"vocabulary", "add", "a", "b"}).replacement, "b");
  EXPECT_EQ(parsed<SettingsOptions>({"settings", "set", "enableVAD", "false"}).value, "false");
  EXPECT_TRUE(parsed<SettingsOptions>({"settings", "reset", "--all"}).isAll);
  EXPECT_EQ(parsed<CompletionOptions>({"completion", "zsh"}).shell, "zsh");
}

TEST(CommandLine, RefusesWhatMakesNoSense) {
  const TestTexts texts;
  const std::vector<std::vector<std::string>> wrong{{},
                                                    {"transcribe"},
                                                    {"nonsense"},
                                                    {"history", "-n", "0"},
                                                    {"history", "-n", "many"},
                                                    {"history", "show"},
                                                    {"models", "download"},
                                                    {"modes", "edit"},
                                                    {"modes", "edit", "x", "--punctuation", "perhaps"},
                                                    {"completion", "tcsh"},
                                                    {"settings", "set", "enableVAD"},
                                                    {"transcribe", "a.wav", "--unknown"}};
  for (const auto& arguments : wrong) {
    const auto result = parse(arguments);
    EXPECT_TRUE(std::holds_alternative<std::string>(result)) << ::testing::PrintToString(arguments);
  }
}

TEST(CommandLine, EveryCommandAndOptionHasAHelpTextInEveryLanguage) {
  for (const char* language : {"en", "de"}) {
    const TestTexts texts(QString::fromLatin1(language));
    Invocation invocation;
    const auto tree = makeCommandLine(invocation);
    const std::string all = tree->help("", CLI::AppFormatMode::All);
    EXPECT_EQ(all.find("cli.help"), std::string::npos) << all.substr(all.find("cli.help"), 60);
    EXPECT_NE(all.find("--no-history"), std::string::npos);
  }
}

TEST(CommandLine, CompletionScriptsAreAcceptedByTheirShell) {
  const TestTexts texts;
  Invocation invocation;
  const auto tree = makeCommandLine(invocation);
  for (const char* shell : {"bash", "zsh", "fish"}) {
    const std::string script = completionScript(*tree, shell);
    EXPECT_NE(script.find("transcribe"), std::string::npos) << shell;
    EXPECT_NE(script.find("no-history"), std::string::npos) << shell;
  }
  EXPECT_TRUE(completionScript(*tree, "tcsh").empty());

  QProcess bash;
  bash.start(QStringLiteral("bash"), {QStringLiteral("--norc"), QStringLiteral("-s")});
  ASSERT_TRUE(bash.waitForStarted());
  bash.write(QByteArray::fromStdString(completionScript(*tree, "bash")));
  bash.write(
      "\nCOMP_WORDS=(quillmere models im); COMP_CWORD=2; _quillmere; echo \"<${COMPREPLY[*]}>\"\n"
      "COMP_WORDS=(quillmere history search --li); COMP_CWORD=3; _quillmere; echo \"<${COMPREPLY[*]}>\"\n");
  bash.closeWriteChannel();
  ASSERT_TRUE(bash.waitForFinished());
  EXPECT_EQ(bash.readAllStandardError(), QByteArray());
  EXPECT_EQ(bash.readAllStandardOutput(), QByteArray("<import>\n<--limit>\n"));
}

TEST(Terminal, ShowsNoControlCharacters) {
  EXPECT_EQ(printable(QStringLiteral("a\033[31mred\a\r"), true), QStringLiteral("a␛[31mred␇␍"));
  EXPECT_EQ(printable(QStringLiteral("two\nlines\tand"), true), QStringLiteral("two\nlines and"));
  EXPECT_EQ(printable(QStringLiteral("two\nlines"), false), QStringLiteral("two␊lines"));
  EXPECT_EQ(printable(QStringLiteral("grüße 漢字"), false), QStringLiteral("grüße 漢字"));
}

TEST(ProgressBar, FitsTheTerminalAndKeepsBothEndsOfTheName) {
  const QString name = QStringLiteral("a very long name of a recording that was made in spring.flac");
  for (const int columns : {20, 40, 80, 200}) {
    for (const double share : {-1.0, 0.0, 0.5, 1.0, 7.0}) {
      const QString line = progressLine(name, share, QStringLiteral("note"), columns);
      EXPECT_LT(graphemeCount(line), std::max(columns, 36)) << columns << ' ' << share << ' ' << line.toStdString();
    }
  }
  const QString half = progressLine(name, 0.5, QString(), 80);
  EXPECT_TRUE(half.startsWith(QStringLiteral("a very"))) << half.toStdString();
  EXPECT_TRUE(half.contains(QStringLiteral("spring.flac"))) << half.toStdString();
  EXPECT_TRUE(half.contains(QStringLiteral(" 50 %"))) << half.toStdString();
  EXPECT_TRUE(progressLine(name, 7.0, QString(), 80).contains(QStringLiteral("100 %")));
  EXPECT_FALSE(progressLine(name, -5, QString(), 80).contains(u'%'));
}

}  // namespace
}  // namespace quillmere
