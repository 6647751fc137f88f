#include "postprocessing/VocabularyReplacement.h"

#include <gtest/gtest.h>

namespace quillmere {
namespace {

VocabularyPtr row(std::optional<QString> word, std::optional<QString> replacement) {
  auto result = std::make_shared<Vocabulary>();
  result->word = std::move(word);
  result->replacement = std::move(replacement);
  return result;
}

QString replaced(const char* text, const char* word, const char* replacement) {
  return applyVocabulary(QString::fromUtf8(text), {row(QString::fromUtf8(word), QString::fromUtf8(replacement))});
}

TEST(ApplyVocabularyTest, WholeWordsInAnyCase) {
  struct Case {
    const char* text;
    const char* word;
    const char* replacement;
    const char* expected;
  };
  const Case cases[] = {
      {"quill QUILL Quill", "quill", "Quillmere", "Quillmere Quillmere Quillmere"},
      {"quills tranquill quill_x", "quill", "X", "quills tranquill quill_x"},
      {"ÜBER über Überall", "über", "ueber", "ueber ueber Überall"},
      {"страх Страх страхи", "СТРАХ", "fear", "fear fear страхи"},
      {"a.b axb", "a.b", "dot", "dot axb"},
      {"use C++ here, C++11", "C++", "Cpp", "use C++ here, Cpp11"},  // no boundary behind the symbol but before a digit
      {"say .net", ".net", "dotnet", "say .net"},
      {"word", "word", "$0-$0", "word-word"},
      {"Word", "word", "<$0$1$9>", "<Word>"},
      {"word", "word", "5$ $x $", "5$ $x $"},
      {"word", "word", "\\$0 \\\\ \\n", "$0 \\ n"},
      {"word", "word", "$10", "0"},
      {"  word \n", "other", "x", "word"},
      {"word", "", "x", "word"},
      {"word", "word", "", "word"},
      {"", "word", "x", ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(replaced(c.text, c.word, c.replacement), QString::fromUtf8(c.expected)) << c.text << " | " << c.word;
}

TEST(ApplyVocabularyTest, RowsRunByWordAscendingEachOnceOnTheResultBefore) {
  EXPECT_EQ(applyVocabulary("alpha", {row("beta", "gamma"), row("alpha", "beta")}), "gamma");
  // The later word comes first in the list but not in the order, so its result is not taken up again.
  EXPECT_EQ(applyVocabulary("beta", {row("beta", "alpha"), row("alpha", "gamma")}), "alpha");
  EXPECT_EQ(applyVocabulary("a", {row("a", "a a")}), "a a");
}

TEST(ApplyVocabularyTest, IncompleteRowsTakeNoPartAndTheTextIsTrimmedAllTheSame) {
  EXPECT_EQ(applyVocabulary(" \n text\t", {}), "text");
  EXPECT_EQ(applyVocabulary(" text ", {row({}, "x"), row("text", {}), row("text", ""), nullptr}), "text");
}

}  // namespace
}  // namespace quillmere
