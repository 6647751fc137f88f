#include "app/cli/ModeChoice.h"

#include <QFileInfo>

#include "app/cli/Commands.h"
#include "app/compose/Services.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "domain/catalogs/LanguageData.h"
#include "domain/catalogs/SpeechLanguages.h"
#include "providers/LocalModelChoice.h"

namespace quillmere {

ExitCode exitCodeFor(const AnyError& error) {
  if (isNetworkFailure(error)) return exitNetwork;
  if (const auto* transcription = std::get_if<TranscriptionError>(&error)) {
    using T = TranscriptionError;
    if (transcription->is<T::ModelNotDownloaded>() || transcription->is<T::ProviderNotAvailable>() ||
        transcription->is<T::ApiKeyMissing>())
      return exitModel;
    if (transcription->is<T::AudioFileNotFound>() || transcription->is<T::InvalidAudioFormat>() ||
        transcription->is<T::AudioConversionFailed>() || transcription->is<T::AudioFileTooLarge>())
      return exitInput;
  }
  if (std::holds_alternative<AudioError>(error)) return exitInput;
  return exitFailure;
}

namespace {

// The model that is used where neither the command line nor a chosen mode names one: the setting's, if it is on the
// disk, else the first that is.
QString modelWhereNoneIsNamed(Services& services) {
  const QString wanted = services.settings->defaultTranscriptionModel();
  WhisperModelManager& models = *services.models.manager;
  if (models.findDownloaded(wanted)) return wanted;
  if (!models.downloadedModels().empty()) return models.downloadedModels().front().name;
  if (!models.customModels().empty()) return models.customModels().front().name;
  return wanted;
}

}  // namespace

std::optional<CommandFailure> whyLanguageDoesNotFit(const Services& services, const QString& model,
                                                    const QString& language) {
  const auto meant = services.models.manager->findMeant(model);
  if (!meant || knowsLanguage(*meant, language)) return std::nullopt;
  return CommandFailure{localizedText("models.error.languageUnknown", meant->name, language), exitUsage};
}

Result<ModePtr, CommandFailure> chooseMode(CommandContext& context, const ModeWishes& options, const ModePtr& before) {
  Services& services = context.services;
  ModePtr stored;
  if (options.mode) {
    auto found = findMode(context, argumentText(*options.mode));
    if (!found) return found;
    stored = *found;
  } else if (const QString id = services.settings->currentModeId(); !id.isEmpty()) {
    stored = services.persistence->fetchMode(id);
  }
  if (before && !options.mode &&
      providerTypeOfModel(before->model.value_or(QString()).toLower()) == ProviderType::local)
    stored = before;
  // A copy that belongs to no store: what the command line changes is for this run alone.
  auto mode = stored ? std::make_shared<Mode>(*stored) : std::make_shared<Mode>();
  if (!stored) {
    mode->name = QStringLiteral("Default");
    mode->preset = rawValue(PresetType::voiceToText);
    mode->language = services.settings->defaultLanguage();
    mode->model = modelWhereNoneIsNamed(services);
    mode->postProcessingMode = qint16(PostProcessingMode::off);
  }
  if (options.language) {
    const QString code = normalizeLanguageCode(argumentText(*options.language));
    if (!LanguageData::displayName(code))
      return Failed{CommandFailure{localizedText("cli.language.unknown", code), exitUsage}};
    mode->language = code;
  }
  if (options.model) {
    QString model = argumentText(*options.model);
    const QFileInfo file(model);
    if (!services.models.manager->findDownloaded(model) && file.isFile())
      model = services.models.manager->addTransientModel(file.absoluteFilePath());
    mode->model = model;
  }
  if (options.language)
    if (auto misfit = whyLanguageDoesNotFit(services, mode->model.value_or(QString()), *mode->language))
      return Failed{*std::move(misfit)};
  return ModePtr(mode);
}

std::optional<CommandFailure> whyModeCannotRun(const Services& services, const Mode& mode) {
  const QString model = mode.model.value_or(QStringLiteral("base"));
  const auto isThere = [&](const QString& name) { return services.models.manager->findDownloaded(name).has_value(); };
  // The engine would take another model for a name that nobody knows; a person has mistyped it.
  if (providerTypeOfModel(model.toLower()) == ProviderType::local && !chooseLocalModel(model, {}, isThere))
    return CommandFailure{localizedText("cli.model.unknown", model), exitModel};
  const auto problem = services.transcription->router->whyModeCannotRun(&mode);
  if (!problem) return std::nullopt;
  if (const auto* missing = std::get_if<TranscriptionError::ModelNotDownloaded>(&problem->kind))
    return CommandFailure{localizedText("cli.model.missing", missing->model.value_or(model)), exitModel};
  return CommandFailure{localizedDescription(*problem), exitCodeFor(*problem)};
}

}  // namespace quillmere
