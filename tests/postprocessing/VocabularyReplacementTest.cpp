#include "postprocessing/VocabularyReplacement.h"

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
      {"a.b axb", "a.b", "dot", "dot axb"},
      {"use C++, c++ and C++11", "C++", "Cpp", "use Cpp, Cpp and C++11"},
      {"ASP.net .NET .network (.net)", ".net", ".NET", "ASP.net .NET .network (.NET)"},
      {"C C++", "C", "see", "see see++"},
      {"word", "word", "$0 \\1 \\\\ \\n end\\", "$0 \\1 \\\\ \\n end\\"},  // nothing in it means anything
      {"  word \n", "other", "x", "word"},
      {"word", "word", "", "word"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(replaced(c.text, c.word, c.replacement), QString::fromUtf8(c.expected)) << c.text << " | " << c.word;
}

TEST(ApplyVocabularyTest, RowsRunByWordAscendingEachOnceOnTheResultBefore) {
  EXPECT_EQ(applyVocabulary("alpha", {row("beta", "gamma"), row("alpha", "beta")}), "gamma");
  // The later word comes first in the list but not in the order, so its result is not taken up again.
  EXPECT_EQ(applyVocabulary("beta", {row("beta", "alpha"), row("alpha", "gamma")}), "alpha");
}

TEST(ApplyVocabularyTest, IncompleteRowsTakeNoPartAndTheTextIsTrimmedAllTheSame) {
  EXPECT_EQ(applyVocabulary(" text ", {row({}, "x"), row("text", {}), row("text", ""), nullptr}), "text");
}

TEST(VocabularyForPromptTest, WhatIsToBeWrittenOncePerSpelling) {
  EXPECT_EQ(vocabularyForPrompt({row("Anna", {}), row("quill mere", "Quillmere"), row("quilmer", "Quillmere"),
                                 row("Otto", ""), row({}, "x"), row("", "x")}),
            (QStringList{"Anna", "Quillmere", "Otto"}));
}

}  // namespace
}  // namespace quillmere
