#include "interface/ModesViewModel.h"

#include <QSet>
#include <algorithm>

#include "base/text/Folding.h"
#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "domain/catalogs/LanguageData.h"
#include "domain/catalogs/SpeechLanguages.h"
#include "interface/FollowRows.h"
#include "models/WhisperModelManager.h"
#include "providers/LocalModelChoice.h"
#include "storage/ModeDeletion.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

QVariantMap choice(const QString& value, const QString& text) {
  return {{QStringLiteral("value"), value}, {QStringLiteral("text"), text}};
}

QString languageName(const QString& code) {
  if (code.isEmpty() || code == QLatin1String("auto")) return localizedText("modes.language.auto");
  const QString key = QStringLiteral("language.") + code;
  const QString name = localizedText(key);
  return name == key ? LanguageData::displayName(code).value_or(code) : name;
}

QString idText(const Mode& mode) {
  return mode.id ? mode.id->toString(QUuid::WithoutBraces) : QString();
}

}  // namespace

ModesViewModel::ModesViewModel(Services services, const Logging& logging) : services_(services), logging_(logging) {
  read();
  subscriptions_.push_back(services_.persistence.observeChanges([this](const StoreChange& change) {
    if (change.modes) read();
  }));
  subscriptions_.push_back(services_.appState.observe(
      [this, seen = services_.appState.data().selectedModeId](const AppStateData& data) mutable {
        if (data.selectedModeId == seen) return;
        seen = data.selectedModeId;
        allChanged();
      }));
  subscriptions_.push_back(services_.models.observeDownloadedModels([this](const auto&) { allChanged(); }));
}

void ModesViewModel::read() {
  const bool isOtherList = followRows(*this, modes_, services_.persistence.fetchAllModes());
  allChanged();
  if (isOtherList) Q_EMIT listChanged();
}

void ModesViewModel::allChanged() {
  if (!modes_.empty()) Q_EMIT dataChanged(index(0), index(count() - 1));
}

int ModesViewModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QHash<int, QByteArray> ModesViewModel::roleNames() const {
  return {{idRole, "modeId"},
          {nameRole, "name"},
          {detailsRole, "details"},
          {selectedRole, "isSelected"},
          {usableRole, "isUsable"}};
}

QVariant ModesViewModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count()) return {};
  const Mode& mode = *modes_[size_t(index.row())];
  switch (role) {
    case idRole:
      return idText(mode);
    case nameRole:
    case Qt::DisplayRole:
      return mode.name.value_or(QString());
    case detailsRole:
      return QStringList{modelName(mode.model.value_or(QString())), languageName(mode.language.value_or(QString()))}
          .join(QStringLiteral(" · "));
    case selectedRole:
      return idText(mode).compare(services_.appState.data().selectedModeId, Qt::CaseInsensitive) == 0;
    case usableRole:
      return isUsable(mode);
    default:
      return {};
  }
}

QString ModesViewModel::modelName(const QString& model) const {
  if (providerTypeOfModel(model) == ProviderType::cloud) return localizedText("modes.model.service");
  if (const auto installed = services_.models.findDownloaded(model)) return installed->displayName;
  for (const WhisperCppModel& known : services_.models.availableModels())
    if (known.name == model) return localizedText("modes.model.missing", known.displayName);
  return localizedText("modes.model.missing", model);
}

bool ModesViewModel::isUsable(const Mode& mode) const {
  const auto isThere = [this](const QString& name) { return services_.models.findDownloaded(name).has_value(); };
  const auto chosen = chooseLocalModel(mode.model.value_or(QString()), mode.language, isThere);
  return chosen && chosen->isDownloaded;
}

QVariantMap ModesViewModel::values(const QString& id) const {
  const ModePtr mode = id.isEmpty() ? nullptr : services_.persistence.fetchMode(id);
  ModeData data;
  if (mode) {
    data = modeDataFrom(*mode);
  } else {
    const auto& installed = services_.models.downloadedModels();
    data.model = installed.empty() ? services_.settings.defaultTranscriptionModel() : installed.front().name;
    data.language = QStringLiteral("auto");
    data.preset = rawValue(PresetType::voiceToText);
  }
  return {{QStringLiteral("name"), data.name},
          {QStringLiteral("model"), data.model},
          {QStringLiteral("language"), data.language.isEmpty() ? QStringLiteral("auto") : data.language},
          {QStringLiteral("preset"), data.preset}};
}

QString ModesViewModel::save(const QString& id, const QVariantMap& values) {
  PersistenceController& store = services_.persistence;
  const ModePtr mode = id.isEmpty() ? nullptr : store.fetchMode(id);
  if (!id.isEmpty() && !mode) return localizedText("modes.lookup.notFound", id);
  Mode blank;
  blank.punctuation = blank.capitalization = true;
  blank.profanityFilter = false;
  ModeData data = modeDataFrom(mode ? *mode : blank);
  if (!mode) data.postProcessingMode = PostProcessingMode::off;
  const QString model = values.value(QStringLiteral("model")).toString();
  data.name = values.value(QStringLiteral("name")).toString().trimmed();
  data.language = values.value(QStringLiteral("language")).toString();
  data.preset = values.value(QStringLiteral("preset")).toString();
  if (data.name.isEmpty()) return localizedText("modes.edit.noName");
  if (const auto other = store.fetchModeByName(data.name); other && *other != mode)
    return localizedText("modes.edit.duplicate", data.name);
  if (const auto meant = services_.models.findMeant(model); meant && !knowsLanguage(*meant, data.language))
    return meant->isEnglishOnly ? localizedText("modes.edit.englishOnly")
                                : localizedText("modes.edit.languageUnknown", languageName(data.language));
  const bool isOtherModel = model != data.model;
  data.model = model;
  const ModePtr saved = mode ? store.saveMode(data) : store.createMode(data);
  if (!saved || store.isSaveRefused()) return localizedText("models.use.notSaved");
  // Its name is shown elsewhere, and another model is to be made ready.
  const bool isSelected = idText(*saved).compare(services_.appState.data().selectedModeId, Qt::CaseInsensitive) == 0;
  if (isSelected && (isOtherModel || data.name != services_.appState.data().selectedModeName))
    services_.appState.selectMode(*saved, true);
  return {};
}

QString ModesViewModel::remove(const QString& id) {
  const ModePtr mode = services_.persistence.fetchMode(id);
  if (!mode) return localizedText("modes.lookup.notFound", id);
  const auto deleted = deleteModeAndReferences(services_.persistence, services_.settings, logging_, mode,
                                               QUuid::fromString(services_.appState.data().selectedModeId));
  if (!deleted) return deleted.error().message;
  if (deleted->newSelection) services_.appState.selectMode(*deleted->newSelection, true);
  return services_.persistence.isSaveRefused() ? localizedText("models.use.notSaved") : QString();
}

void ModesViewModel::select(const QString& id) {
  if (const ModePtr mode = services_.persistence.fetchMode(id)) services_.appState.selectMode(*mode, true);
}

QVariantList ModesViewModel::modelChoices(const QString& present) const {
  QVariantList choices;
  QSet<QString> names;
  const auto add = [&](const std::vector<WhisperCppModel>& models) {
    for (const WhisperCppModel& model : models) {
      if (names.contains(model.name)) continue;
      names.insert(model.name);
      choices << choice(model.name, model.displayName);
    }
  };
  add(services_.models.downloadedModels());
  add(services_.models.customModels());
  if (!present.isEmpty() && !names.contains(present)) choices << choice(present, modelName(present));
  return choices;
}

QVariantList ModesViewModel::languageChoices(const QString& model, const QString& present) const {
  const auto meant = services_.models.findMeant(model);
  struct Language {
    QString sortKey, code, name;
  };
  std::vector<Language> languages;
  for (const auto& language : LanguageData::allLanguages()) {
    if (meant && language.code != present && !knowsLanguage(*meant, language.code)) continue;
    const QString name = languageName(language.code);
    languages.push_back({foldedForSearch(name), language.code, name});
  }
  // As the user's language sorts them, after the automatic choice, which stands first.
  std::stable_sort(languages.begin() + 1, languages.end(),
                   [](const Language& a, const Language& b) { return a.sortKey < b.sortKey; });
  QVariantList choices;
  for (const Language& language : languages) choices << choice(language.code, language.name);
  return choices;
}

QVariantList ModesViewModel::presetChoices() const {
  QVariantList choices;
  for (const PresetType preset : allCases<PresetType>())
    choices << choice(rawValue(preset),
                      localizedText(QStringLiteral("modes.preset.") + rawValue(preset) + QStringLiteral(".name")));
  return choices;
}

}  // namespace quillmere
