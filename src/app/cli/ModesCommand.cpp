#include <QJsonObject>

#include "app/cli/Commands.h"
#include "app/cli/ModeChoice.h"
#include "app/cli/SavedChanges.h"
#include "app/compose/Services.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "domain/catalogs/LanguageData.h"
#include "storage/ModeDeletion.h"

namespace quillmere {

Result<ModePtr, CommandFailure> findMode(CommandContext& context, const QString& nameOrId) {
  PersistenceController& store = *context.services.persistence;
  if (const ModePtr byId = store.fetchMode(nameOrId)) return byId;
  auto byName = store.fetchModeByName(nameOrId);
  if (!byName) return Failed{CommandFailure{byName.error().message, exitUsage}};
  return *byName;
}

namespace {

QJsonObject modeJson(const Mode& mode, bool isSelected) {
  const ModeData data = modeDataFrom(mode);
  return QJsonObject{{"id", data.id.toString(QUuid::WithoutBraces)},
                     {"name", data.name},
                     {"isSelected", isSelected},
                     {"preset", data.preset},
                     {"language", data.language},
                     {"model", data.model},
                     {"punctuation", data.punctuation},
                     {"capitalization", data.capitalization},
                     {"profanityFilter", data.profanityFilter},
                     {"customInstructions", data.customInstructions},
                     {"userSystemPrompt", data.userSystemPrompt},
                     {"cloudProvider", data.cloudProvider},
                     {"cloudTranscriptionModel", data.cloudTranscriptionModel},
                     {"cloudAccuracyTier", rawValue(data.cloudAccuracyTier)},
                     {"postProcessingMode", int(data.postProcessingMode)},
                     {"postProcessingProvider", data.postProcessingProvider},
                     {"languageModel", data.languageModel},
                     {"englishSpelling", rawValue(data.englishSpelling)},
                     {"useStreamingTranscription", data.useStreamingTranscription}};
}

bool isSelected(CommandContext& context, const Mode& mode) {
  return mode.id && QUuid::fromString(context.services.settings->currentModeId()) == *mode.id;
}

template <typename E>
QString joinedCases() {
  QStringList texts;
  for (const E value : allCases<E>()) texts << rawValue(value);
  return texts.join(QStringLiteral(", "));
}

template <typename E>
std::optional<CommandFailure> setRaw(const std::optional<std::string>& text, const char* option,
                                     const std::function<void(E)>& set) {
  if (!text) return std::nullopt;
  const auto value = fromRawValue<E>(argumentText(*text));
  if (!value)
    return CommandFailure{localizedText("cli.modes.badValue", argumentText(*text), option, joinedCases<E>()),
                          exitUsage};
  set(*value);
  return std::nullopt;
}

// Takes the options over into the data, or says what is wrong with one.
std::optional<CommandFailure> applyOptions(const Services& services, const ModesOptions& options, ModeData& data) {
  if (options.newName) {
    data.name = argumentText(*options.newName).trimmed();
    if (data.name.isEmpty()) return CommandFailure{localizedText("cli.modes.noName"), exitUsage};
  }
  if (auto bad = setRaw<PresetType>(options.preset, "--preset", [&](PresetType v) { data.preset = rawValue(v); }))
    return bad;
  if (auto bad = setRaw<CloudProvider>(options.cloudProvider, "--cloud-provider",
                                       [&](CloudProvider v) { data.cloudProvider = rawValue(v); }))
    return bad;
  if (auto bad =
          setRaw<EnglishSpelling>(options.spelling, "--spelling", [&](EnglishSpelling v) { data.englishSpelling = v; }))
    return bad;
  if (auto bad = setRaw<CloudAccuracyTier>(options.accuracy, "--accuracy",
                                           [&](CloudAccuracyTier v) { data.cloudAccuracyTier = v; }))
    return bad;
  if (auto bad =
          setRaw<PostProcessingProvider>(options.postProcessingProvider, "--post-processing-provider",
                                         [&](PostProcessingProvider v) { data.postProcessingProvider = rawValue(v); }))
    return bad;
  if (options.postProcessing) {
    const QString text = argumentText(*options.postProcessing);
    if (text == QLatin1String("off"))
      data.postProcessingMode = PostProcessingMode::off;
    else if (text == QLatin1String("cloud"))
      data.postProcessingMode = PostProcessingMode::cloud;
    else if (text == QLatin1String("local"))
      data.postProcessingMode = PostProcessingMode::local;
    else
      return CommandFailure{localizedText("cli.modes.badValue", text, "--post-processing", "off, cloud, local"),
                            exitUsage};
  }
  if (options.language) {
    const QString code = normalizeLanguageCode(argumentText(*options.language));
    if (!LanguageData::displayName(code)) return CommandFailure{localizedText("cli.language.unknown", code), exitUsage};
    data.language = code;
  }
  const auto setText = [](const std::optional<std::string>& text, QString& field) {
    if (text) field = argumentText(*text);
  };
  setText(options.model, data.model);
  setText(options.prompt, data.userSystemPrompt);
  setText(options.instructions, data.customInstructions);
  setText(options.cloudModel, data.cloudTranscriptionModel);
  setText(options.languageModel, data.languageModel);
  if (options.punctuation) data.punctuation = *options.punctuation;
  if (options.capitalization) data.capitalization = *options.capitalization;
  if (options.profanityFilter) data.profanityFilter = *options.profanityFilter;
  if (data.model.trimmed().isEmpty()) return CommandFailure{localizedText("cli.modes.noModel"), exitUsage};
  if (options.language || options.model) return whyLanguageDoesNotFit(services, data.model, data.language);
  return std::nullopt;
}

void printMode(CommandContext& context, const Mode& mode) {
  const QJsonObject object = modeJson(mode, isSelected(context, mode));
  for (const QString key : {"id", "name", "preset", "language", "model", "punctuation", "capitalization",
                            "profanityFilter", "customInstructions", "userSystemPrompt", "cloudProvider",
                            "cloudTranscriptionModel", "cloudAccuracyTier", "postProcessingMode",
                            "postProcessingProvider", "languageModel", "englishSpelling", "useStreamingTranscription"})
    context.terminal.out(key.leftJustified(26) + object.value(key).toVariant().toString());
}

}  // namespace

Task<int> runModes(CommandContext context, ModesOptions options) {
  using Action = ModesOptions::Action;
  PersistenceController& store = *context.services.persistence;
  if (options.action == Action::list) {
    for (const ModePtr& mode : store.fetchAllModes()) {
      const bool selected = isSelected(context, *mode);
      if (options.isJson) {
        context.terminal.json(modeJson(*mode, selected));
        continue;
      }
      const ModeData data = modeDataFrom(*mode);
      const QString engine =
          data.providerType() == ProviderType::cloud ? data.model + u'/' + data.cloudProvider : data.model;
      context.terminal.out(QStringLiteral("%1 %2  %3  %4  %5")
                               .arg(selected ? QStringLiteral("*") : QStringLiteral(" "),
                                    data.id.toString(QUuid::WithoutBraces).left(8), data.name.leftJustified(20),
                                    data.language.leftJustified(6), engine));
    }
    co_return exitOk;
  }
  if (options.action == Action::add) {
    const QString name = argumentText(options.name).trimmed();
    if (name.isEmpty()) co_return fail(context, {localizedText("cli.modes.noName"), exitUsage});
    if (store.fetchModeByName(name)) co_return fail(context, {localizedText("cli.modes.duplicate", name), exitFailure});
    Mode blank;
    blank.punctuation = blank.capitalization = true;
    blank.profanityFilter = false;
    ModeData data = modeDataFrom(blank);
    data.name = name;
    data.postProcessingMode = PostProcessingMode::off;
    if (const auto bad = applyOptions(context.services, options, data)) co_return fail(context, *bad);
    const ModePtr mode = store.createMode(data);
    const int code = co_await exitWhenSaved(context);
    if (code == exitOk && mode->id) context.terminal.out(mode->id->toString(QUuid::WithoutBraces));
    co_return code;
  }

  const auto found = findMode(context, argumentText(options.name));
  if (!found) co_return fail(context, found.error());
  const ModePtr& mode = *found;
  switch (options.action) {
    case Action::show:
      options.isJson ? (void)context.terminal.json(modeJson(*mode, isSelected(context, *mode)))
                     : printMode(context, *mode);
      co_return exitOk;
    case Action::edit: {
      ModeData data = modeDataFrom(*mode);
      if (const auto bad = applyOptions(context.services, options, data)) co_return fail(context, *bad);
      if (options.newName) {
        const auto other = store.fetchModeByName(data.name);
        if (other && *other != mode)
          co_return fail(context, {localizedText("cli.modes.duplicate", data.name), exitFailure});
      }
      store.saveMode(data);
      co_return co_await exitWhenSaved(context);
    }
    case Action::use:
      context.services.appState->selectMode(*mode, true);
      co_return exitOk;
    case Action::remove: {
      SettingsManager& settings = *context.services.settings;
      std::optional<QUuid> selected;
      if (isSelected(context, *mode)) selected = mode->id;
      const auto deleted = deleteModeAndReferences(store, settings, context.services.logging, mode, selected);
      if (!deleted)
        co_return fail(context, {deleted.error().title + QStringLiteral(": ") + deleted.error().message, exitFailure});
      if (deleted->selection == ModeDeletionOutcome::Selection::switched) {
        context.services.appState->selectMode(*deleted->newSelection, true);
      } else if (deleted->selection == ModeDeletionOutcome::Selection::cleared) {
        settings.setCurrentModeId(QString());
        settings.setCurrentMode(QString());
      }
      co_return co_await exitWhenSaved(context);
    }
    case Action::list:
    case Action::add:
      break;
  }
  co_return exitFailure;
}

}  // namespace quillmere
