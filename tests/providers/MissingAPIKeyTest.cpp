#include "providers/MissingAPIKey.h"

#include <gtest/gtest.h>

#include "support/FakeProviders.h"

namespace quillmere {
namespace {

struct Case {
  const char* name;
  std::optional<QString> model;
  std::optional<QString> speech;
  std::optional<qint16> rewriting;
  std::optional<QString> rewriter;
  QStringList keys;
  bool isOnline = true;
  QStringList expected;
};

TEST(MissingAPIKeys, NamesEachMissingThingOnce) {
  const auto none = std::nullopt;
  const QString cloud = "Cloud";
  const QString openai = "openai";
  const QString groq = "groq";
  const QString openaiSpeech = "OpenAI (transcription)";
  const QString openaiText = "OpenAI (post-processing)";
  const std::vector<Case> table{
      {"no provider means OpenAI", cloud, none, none, none, {}, true, {openaiSpeech}},
      {"one entry for both", cloud, openai, 1, openai, {}, true, {openaiSpeech}},
      {"offline says only that", cloud, openai, 1, openai, {}, false, {"Internet connection"}},
      {"only the second", cloud, groq, 1, openai, {groq}, true, {openaiText}},
      {"hosted speech", cloud, "quillmere", 0, none, {}, true, {}},
      {"local speech, offline", none, none, 1, "anthropic", {}, false, {"Anthropic (post-processing)"}},
      {"own endpoint", none, none, 1, "custom:4711", {}, true, {}},
      {"local model keeps an old provider text", none, none, 2, openai, {}, true, {}},
  };
  for (const Case& c : table) {
    Mode mode;
    mode.model = c.model;
    mode.cloudProvider = c.speech;
    mode.postProcessingMode = c.rewriting;
    mode.postProcessingProvider = c.rewriter;
    FakeApiKeys keys;
    for (const QString& key : c.keys) keys.keys.insert(key, "secret");
    QStringList found;
    for (const auto& entry : missingAPIKeys(mode, c.isOnline, &keys)) found.append(entry.displayText());
    EXPECT_EQ(found, c.expected) << c.name;
  }
}

}  // namespace
}  // namespace quillmere
