#pragma once
#include <QString>
#include <QUuid>

#include "domain/Entities.h"
#include "domain/ModeTypes.h"

namespace quillmere {

// The value copy of a mode that an editor works on. The stored row stays the truth for everything else.
struct ModeData {
  QUuid id;
  QString name;
  QString preset;
  QString language;
  QString model;
  bool punctuation = false;
  bool capitalization = false;
  bool profanityFilter = false;
  QString customInstructions;
  QString languageModel;
  QString cloudProvider;
  QString cloudTranscriptionModel;
  PostProcessingMode postProcessingMode = PostProcessingMode::off;
  QString postProcessingProvider;
  EnglishSpelling englishSpelling = EnglishSpelling::american;
  QString userSystemPrompt;
  bool useStreamingTranscription = false;
  CloudAccuracyTier cloudAccuracyTier = CloudAccuracyTier::high;
  bool operator==(const ModeData&) const = default;

  ProviderType providerType() const;
  // Runs without network: local speech and no cloud post-processing.
  bool isOfflineCapable() const;
};

constexpr int maxUserSystemPromptCharacters = 2000;

ModeData modeDataFrom(const Mode& mode);
// Writes the edited fields onto the row (not id, dates, order and flags; the store sets modifiedDate).
void applyTo(const ModeData& data, Mode& mode);
// Trimmed, at most 2000 characters; nothing when nothing is left.
std::optional<QString> normalizedUserSystemPrompt(const QString& prompt);

ProviderType providerTypeOfModel(const QString& model);
bool isEnglishOnlyModel(const QString& model);

// "EN" -> "en", "zh_hant_tw" -> "zh-Hant-TW", white space only -> "auto".
QString normalizeLanguageCode(const QString& code);

}  // namespace quillmere
