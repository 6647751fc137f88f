#include "providers/MissingAPIKey.h"

#include <algorithm>

#include "storage/CloudProviderAPIKeyProviding.h"

namespace quillmere {

QString MissingAPIKey::displayText() const {
  if (const auto* transcription = std::get_if<Transcription>(&context))
    return displayName(transcription->provider) + QStringLiteral(" (transcription)");
  if (const auto* postProcessing = std::get_if<PostProcessing>(&context))
    return displayName(postProcessing->provider) + QStringLiteral(" (post-processing)");
  return QStringLiteral("Internet connection");
}

std::vector<MissingAPIKey> missingAPIKeys(const Mode& mode, bool isOnline, const CloudProviderAPIKeyProviding* keys) {
  std::vector<MissingAPIKey> missing;
  const auto isKeyMissing = [&](auto provider) { return keys == nullptr || keys->apiKey(provider).isEmpty(); };

  if (mode.model.value_or(QStringLiteral("base")).toLower() == QLatin1String("cloud")) {
    if (!isOnline) return {MissingAPIKey{MissingAPIKey::Offline{}}};
    const auto provider = fromRawValue<CloudProvider>(mode.cloudProvider.value_or(QStringLiteral("openai")));
    if (provider && *provider != CloudProvider::quillmere && isKeyMissing(*provider))
      missing.push_back({MissingAPIKey::Transcription{*provider}});
  }

  // The local model needs no key, whatever provider text the mode still holds.
  const int postProcessing = mode.postProcessingMode.value_or(0);
  if (postProcessing == 0 || postProcessing == static_cast<int>(PostProcessingMode::local)) return missing;
  const QString raw = mode.postProcessingProvider.value_or(QStringLiteral("openai"));
  const auto provider = fromRawValue<PostProcessingProvider>(raw);  // nothing for a custom endpoint
  if (!provider || *provider == PostProcessingProvider::quillmere || *provider == PostProcessingProvider::localGemma)
    return missing;
  if (!isKeyMissing(*provider)) return missing;
  const bool isNamedAlready = std::any_of(missing.begin(), missing.end(), [&](const MissingAPIKey& entry) {
    const auto* transcription = std::get_if<MissingAPIKey::Transcription>(&entry.context);
    return transcription != nullptr && rawValue(transcription->provider) == raw;
  });
  if (!isNamedAlready) missing.push_back({MissingAPIKey::PostProcessing{*provider}});
  return missing;
}

}  // namespace quillmere
