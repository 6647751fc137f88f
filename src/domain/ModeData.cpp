#include "domain/ModeData.h"

#include "base/text/Graphemes.h"

namespace quillmere {
namespace {

constexpr const char* fallbackLanguage = "en";

PostProcessingMode postProcessingModeOfStoredNumber(qint16 number) {
  return postProcessingModeFromRaw(number).value_or(PostProcessingMode::cloud);
}

QString languageOrFallback(const QString& language) {
  return language.isEmpty() ? QString::fromLatin1(fallbackLanguage) : normalizeLanguageCode(language);
}

template <typename E>
E caseOrDefault(const std::optional<QString>& raw, E fallback) {
  return raw ? fromRawValue<E>(*raw).value_or(fallback) : fallback;
}

QString postProcessingProviderOf(const Mode& mode, PostProcessingMode kind) {
  if (kind == PostProcessingMode::local) return rawValue(PostProcessingProvider::localGemma);
  const auto fallback =
      kind == PostProcessingMode::off ? PostProcessingProvider::openai : PostProcessingProvider::quillmere;
  return mode.postProcessingProvider.value_or(rawValue(fallback));
}

QString languageModelOf(const Mode& mode, PostProcessingMode kind) {
  const auto fallback =
      kind == PostProcessingMode::local ? PostProcessingProvider::localGemma : PostProcessingProvider::openai;
  return mode.languageModel.value_or(defaultModel(fallback));
}

}  // namespace

ProviderType ModeData::providerType() const {
  return providerTypeOfModel(model);
}

bool ModeData::isOfflineCapable() const {
  return providerType() == ProviderType::local && postProcessingMode != PostProcessingMode::cloud;
}

ModeData modeDataFrom(const Mode& mode) {
  ModeData data;
  data.id = mode.id.value_or(QUuid());
  if (data.id.isNull()) data.id = QUuid::createUuid();
  data.name = mode.name.value_or(QStringLiteral("Default"));
  data.preset = mode.preset.value_or(rawValue(PresetType::quillmere));
  data.language = languageOrFallback(mode.language.value_or(QString()));
  data.model = mode.model.value_or(QStringLiteral("base"));
  data.punctuation = mode.punctuation.value_or(false);
  data.capitalization = mode.capitalization.value_or(false);
  data.profanityFilter = mode.profanityFilter.value_or(false);
  data.customInstructions = mode.customInstructions.value_or(QString());
  data.postProcessingMode = postProcessingModeOfStoredNumber(mode.postProcessingMode.value_or(0));
  data.languageModel = languageModelOf(mode, data.postProcessingMode);
  data.cloudProvider = mode.cloudProvider.value_or(rawValue(CloudProvider::openai));
  data.cloudTranscriptionModel = mode.cloudTranscriptionModel.value_or(QStringLiteral("whisper-1"));
  data.postProcessingProvider = postProcessingProviderOf(mode, data.postProcessingMode);
  data.englishSpelling = caseOrDefault(mode.englishSpelling, EnglishSpelling::american);
  data.userSystemPrompt = leftGraphemes(mode.userSystemPrompt.value_or(QString()), maxUserSystemPromptCharacters);
  data.useStreamingTranscription = mode.useStreamingTranscription.value_or(false);
  data.cloudAccuracyTier = caseOrDefault(mode.cloudAccuracyTier, CloudAccuracyTier::high);
  return data;
}

void applyTo(const ModeData& data, Mode& mode) {
  mode.name = data.name;
  mode.preset = data.preset;
  mode.language = languageOrFallback(data.language);
  mode.model = data.model;
  mode.punctuation = data.punctuation;
  mode.capitalization = data.capitalization;
  mode.profanityFilter = data.profanityFilter;
  mode.customInstructions = data.customInstructions;
  mode.userSystemPrompt = normalizedUserSystemPrompt(data.userSystemPrompt);
  mode.languageModel = data.languageModel;
  mode.cloudProvider = data.cloudProvider;
  mode.cloudTranscriptionModel = data.cloudTranscriptionModel;
  mode.postProcessingMode = static_cast<qint16>(data.postProcessingMode);
  mode.postProcessingProvider = data.postProcessingProvider;
  mode.englishSpelling = rawValue(data.englishSpelling);
  mode.useStreamingTranscription = data.useStreamingTranscription;
  mode.cloudAccuracyTier = rawValue(data.cloudAccuracyTier);
}

std::optional<QString> normalizedUserSystemPrompt(const QString& prompt) {
  const QString kept = leftGraphemes(trimmedText(prompt), maxUserSystemPromptCharacters);
  if (kept.isEmpty()) return std::nullopt;
  return kept;
}

ProviderType providerTypeOfModel(const QString& model) {
  return model == QLatin1String("cloud") ? ProviderType::cloud : ProviderType::local;
}

bool isEnglishOnlyModel(const QString& model) {
  if (providerTypeOfModel(model) == ProviderType::cloud) return false;
  if (model.endsWith(QLatin1String(".en"))) return true;
  const QString lower = model.toLower();
  return lower.startsWith(QLatin1String("parakeet")) && lower.contains(QLatin1String("v2"));
}

QString normalizeLanguageCode(const QString& code) {
  QString text = trimmedText(code);
  if (text.isEmpty()) return QStringLiteral("auto");
  text.replace(u'_', u'-');
  QStringList pieces = text.split(u'-', Qt::SkipEmptyParts);
  if (pieces.isEmpty()) return text.toLower();
  for (qsizetype i = 0; i < pieces.size(); ++i) {
    QString& piece = pieces[i];
    const int length = i == 0 ? 0 : graphemeCount(piece);
    piece = piece.toLower();
    if (length == 2) piece = piece.toUpper();
    if (length == 4) piece = leftGraphemes(piece, 1).toUpper() + piece.mid(leftGraphemes(piece, 1).size());
  }
  return pieces.join(u'-');
}

}  // namespace quillmere
