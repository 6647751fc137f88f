#include "domain/ModeTypes.h"

namespace quillmere {

std::optional<PostProcessingMode> postProcessingModeFromRaw(int raw) {
  switch (raw) {
    case 0:
      return PostProcessingMode::off;
    case 1:
      return PostProcessingMode::cloud;
    case 2:
      return PostProcessingMode::local;
    default:
      return std::nullopt;
  }
}

QString nameKey(PresetType preset) {
  return QStringLiteral("modes.preset.") + rawValue(preset) + QStringLiteral(".name");
}

QString tooltipKey(PresetType preset) {
  return QStringLiteral("modes.preset.") + rawValue(preset) + QStringLiteral(".tooltip");
}

QString labelKey(CloudAccuracyTier tier) {
  return QStringLiteral("modes.accuracy.") + rawValue(tier);
}

QString labelKey(EnglishSpelling spelling) {
  return QStringLiteral("modes.englishSpelling.") + rawValue(spelling);
}

QString descriptionKey(EnglishSpelling spelling) {
  return labelKey(spelling) + QStringLiteral(".description");
}

QString displayName(CloudProvider provider) {
  switch (provider) {
    case CloudProvider::quillmere:
      return QStringLiteral("Quillmere Cloud");
    case CloudProvider::openai:
      return QStringLiteral("OpenAI");
    case CloudProvider::groq:
      return QStringLiteral("Groq");
    case CloudProvider::fireworks:
      return QStringLiteral("Fireworks AI");
    case CloudProvider::deepgram:
      return QStringLiteral("Deepgram");
    case CloudProvider::assemblyAI:
      return QStringLiteral("AssemblyAI");
    case CloudProvider::elevenLabs:
      return QStringLiteral("ElevenLabs");
    case CloudProvider::mistral:
      return QStringLiteral("Mistral");
  }
  return {};
}

QString displayName(PostProcessingProvider provider) {
  switch (provider) {
    case PostProcessingProvider::quillmere:
      return QStringLiteral("Quillmere Cloud");
    case PostProcessingProvider::openai:
      return QStringLiteral("OpenAI");
    case PostProcessingProvider::anthropic:
      return QStringLiteral("Anthropic");
    case PostProcessingProvider::gemini:
      return QStringLiteral("Google Gemini");
    case PostProcessingProvider::groq:
      return QStringLiteral("Groq");
    case PostProcessingProvider::cerebras:
      return QStringLiteral("Cerebras");
    case PostProcessingProvider::localGemma:
      return QStringLiteral("Gemma (Local)");
  }
  return {};
}

QString defaultModel(PostProcessingProvider provider) {
  switch (provider) {
    case PostProcessingProvider::quillmere:
      return QStringLiteral("quillmere-cloud");
    case PostProcessingProvider::openai:
      return QStringLiteral("gpt-4.1-nano");
    case PostProcessingProvider::anthropic:
      return QStringLiteral("claude-3-5-haiku-latest");
    case PostProcessingProvider::gemini:
      return QStringLiteral("gemini-2.5-flash");
    case PostProcessingProvider::groq:
      return QStringLiteral("llama-3.3-70b-versatile");
    case PostProcessingProvider::cerebras:
      return QStringLiteral("llama-3.3-70b");
    case PostProcessingProvider::localGemma:
      return QStringLiteral("gemma-3-4b-it-Q4_K_M.gguf");
  }
  return {};
}

}  // namespace quillmere
