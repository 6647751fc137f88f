#pragma once
#include <QString>
#include <optional>

#include "domain/RawValue.h"

namespace quillmere {

enum class PresetType { quillmere, voiceToText, message, mail, note, meeting, code, custom };
enum class ProviderType { local, cloud };
enum class PostProcessingMode : qint16 { off = 0, cloud = 1, local = 2 };
enum class CloudProvider { quillmere, openai, groq, fireworks, deepgram, assemblyAI, elevenLabs, mistral };
enum class PostProcessingProvider { quillmere, openai, anthropic, gemini, groq, cerebras, localGemma };
enum class CloudAccuracyTier { medium, high, highest };
enum class EnglishSpelling { american, british, australian, canadian };

template <>
struct RawValues<PresetType> {
  using E = PresetType;
  static constexpr std::array values{std::pair{E::quillmere, "quillmere"}, std::pair{E::voiceToText, "voiceToText"},
                                     std::pair{E::message, "message"},     std::pair{E::mail, "mail"},
                                     std::pair{E::note, "note"},           std::pair{E::meeting, "meeting"},
                                     std::pair{E::code, "code"},           std::pair{E::custom, "custom"}};
};
template <>
struct RawValues<ProviderType> {
  static constexpr std::array values{std::pair{ProviderType::local, "local"}, std::pair{ProviderType::cloud, "cloud"}};
};
template <>
struct RawValues<CloudProvider> {
  using E = CloudProvider;
  static constexpr std::array values{std::pair{E::quillmere, "quillmere"},
                                     std::pair{E::openai, "openai"},
                                     std::pair{E::groq, "groq"},
                                     std::pair{E::fireworks, "fireworks"},
                                     std::pair{E::deepgram, "deepgram"},
                                     std::pair{E::assemblyAI, "assemblyai"},
                                     std::pair{E::elevenLabs, "elevenlabs"},
                                     std::pair{E::mistral, "mistral"}};
};
template <>
struct RawValues<PostProcessingProvider> {
  using E = PostProcessingProvider;
  static constexpr std::array values{
      std::pair{E::quillmere, "quillmere"},   std::pair{E::openai, "openai"}, std::pair{E::anthropic, "anthropic"},
      std::pair{E::gemini, "gemini"},         std::pair{E::groq, "groq"},     std::pair{E::cerebras, "cerebras"},
      std::pair{E::localGemma, "local_gemma"}};
};
template <>
struct RawValues<CloudAccuracyTier> {
  using E = CloudAccuracyTier;
  static constexpr std::array values{std::pair{E::medium, "medium"}, std::pair{E::high, "high"},
                                     std::pair{E::highest, "highest"}};
};
template <>
struct RawValues<EnglishSpelling> {
  using E = EnglishSpelling;
  static constexpr std::array values{std::pair{E::american, "american"}, std::pair{E::british, "british"},
                                     std::pair{E::australian, "australian"}, std::pair{E::canadian, "canadian"}};
};

// The case with this stored number; nothing for a number above 2 or below 0.
std::optional<PostProcessingMode> postProcessingModeFromRaw(int raw);

// Keys of the texts that the interface shows.
QString nameKey(PresetType preset);
QString tooltipKey(PresetType preset);
QString labelKey(CloudAccuracyTier tier);
QString labelKey(EnglishSpelling spelling);
QString descriptionKey(EnglishSpelling spelling);

// "Quillmere Cloud", "OpenAI", ...: how a provider is named in messages.
QString displayName(CloudProvider provider);
QString displayName(PostProcessingProvider provider);
QString defaultModel(PostProcessingProvider provider);

}  // namespace quillmere
