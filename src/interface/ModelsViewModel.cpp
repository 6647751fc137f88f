#include "interface/ModelsViewModel.h"

#include <QSet>
#include <cmath>

#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "domain/Errors.h"
#include "interface/FollowRows.h"
#include "interface/HistoryText.h"
#include "models/WhisperModelManager.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

QString descriptionKey(WhisperModel model) {
  switch (model) {
    case WhisperModel::tiny:
    case WhisperModel::tinyEn:
      return QStringLiteral("models.describe.tiny");
    case WhisperModel::base:
    case WhisperModel::baseEn:
      return QStringLiteral("models.describe.base");
    case WhisperModel::small:
    case WhisperModel::smallEn:
      return QStringLiteral("models.describe.small");
    case WhisperModel::medium:
    case WhisperModel::mediumEn:
      return QStringLiteral("models.describe.medium");
    case WhisperModel::largeV3Turbo:
      return QStringLiteral("models.describe.turbo");
    case WhisperModel::largeV2:
    case WhisperModel::largeV3:
      break;
  }
  return QStringLiteral("models.describe.large");
}

}  // namespace

ModelsViewModel::ModelsViewModel(Services services) : services_(std::move(services)), scope_(services_.executor) {
  readRows();
  auto& models = services_.models;
  observations_.push_back(models.observeDownloadedModels([this](const auto&) { allChanged(); }));
  observations_.push_back(models.observeCustomModels([this](const auto&) {
    readRows();
    allChanged();
  }));
  observations_.push_back(models.observeDownloadingModels([this](const QSet<QString>& names) {
    std::erase_if(estimates_, [&](const auto& entry) { return !names.contains(entry.first); });
    allChanged();
  }));
  observations_.push_back(models.observeWaitingModels([this](const auto&) { allChanged(); }));
  observations_.push_back(models.observeDownloadProgress([this](const auto&) { progressChanged(); }));
  observations_.push_back(models.observeErrorMessage([this](const std::optional<QString>& message) {
    if (message && services_.notices) services_.notices->showToast(*message, false);
  }));
  if (services_.appState)
    observations_.push_back(services_.appState->observe([this, seen = QString()](const AppStateData& data) mutable {
      if (data.selectedModeId == seen) return;
      seen = data.selectedModeId;
      allChanged();
    }));
  if (services_.persistence)
    observations_.push_back(services_.persistence->observeChanges([this](const StoreChange& change) {
      if (change.modes) allChanged();
    }));
}

ModelsViewModel::~ModelsViewModel() = default;

void ModelsViewModel::readRows() {
  std::vector<Row> rows;
  for (const auto& model : services_.models.availableModels()) rows.push_back({model, false});
  for (const auto& model : services_.models.customModels()) rows.push_back({model, true});
  followRows(*this, rows_, rows);
}

void ModelsViewModel::allChanged() {
  if (!rows_.empty()) Q_EMIT dataChanged(index(0), index(int(rows_.size()) - 1));
  Q_EMIT summaryChanged();
}

void ModelsViewModel::progressChanged() {
  const QMap<QString, double> progress = services_.models.downloadProgress();
  for (int i = 0; i < int(rows_.size()); ++i) {
    const WhisperCppModel& model = rows_[size_t(i)].model;
    const auto known = progress.constFind(model.name);
    if (known == progress.cend()) continue;
    const double bytes = *known < 0 ? -*known : *known * double(model.sizeInBytes);
    estimates_[model.name].add(services_.executor.now(), bytes);
    Q_EMIT dataChanged(index(i), index(i), {progressRole, progressTextRole});
  }
}

int ModelsViewModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : int(rows_.size());
}

QHash<int, QByteArray> ModelsViewModel::roleNames() const {
  return {{nameRole, "name"},
          {displayNameRole, "displayName"},
          {sizeRole, "sizeText"},
          {descriptionRole, "description"},
          {downloadedRole, "isDownloaded"},
          {downloadingRole, "isDownloading"},
          {progressRole, "progress"},
          {progressTextRole, "progressText"},
          {partialRole, "isPartial"},
          {activeRole, "isActive"},
          {customRole, "isCustom"}};
}

QVariant ModelsViewModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= int(rows_.size())) return {};
  const auto& [model, isCustom] = rows_[size_t(index.row())];
  switch (role) {
    case nameRole:
      return model.name;
    case displayNameRole:
    case Qt::DisplayRole:
      return model.displayName;
    case sizeRole:
      return modelSizeText(model.sizeInBytes);
    case descriptionRole: {
      const QString languages =
          localizedText(model.isEnglishOnly ? "models.languages.english" : "models.languages.many");
      if (isCustom) return localizedText("models.describe.custom") + QStringLiteral(" ") + languages;
      const auto known = fromRawValue<WhisperModel>(model.name);
      return known ? localizedText(descriptionKey(*known)) + QStringLiteral(" ") + languages : languages;
    }
    case downloadedRole:
      return isCustom || isDownloaded(model.name);
    case downloadingRole:
      return services_.models.downloadingModels().contains(model.name);
    case progressRole:
      return services_.models.downloadProgress().value(model.name, 0.0);
    case progressTextRole:
      return progressText(model);
    case partialRole:
      return !isCustom && services_.models.partialDownloadBytes(model) > 0;
    case activeRole:
      return model.name == activeName();
    case customRole:
      return isCustom;
    default:
      return {};
  }
}

QString ModelsViewModel::progressText(const WhisperCppModel& model) const {
  if (services_.models.waitingModels().contains(model.name)) return localizedText("models.progress.waiting");
  const QMap<QString, double> all = services_.models.downloadProgress();
  const auto progress = all.constFind(model.name);
  if (progress == all.cend() || *progress == 0) return localizedText("models.progress.connecting");
  if (*progress < 0) return modelSizeText(qint64(-*progress));
  if (*progress >= 1) return localizedText("models.progress.checking");
  const auto total = double(model.sizeInBytes);
  const QString amount = localizedText("models.progress.amount", modelSizeText(qint64(*progress * total)),
                                       modelSizeText(model.sizeInBytes));
  const auto estimate = estimates_.find(model.name);
  const auto left = estimate == estimates_.end() ? std::nullopt : estimate->second.remaining(total);
  if (!left) return amount;
  const double seconds = std::ceil(std::chrono::duration<double>(*left).count());
  return localizedText("models.progress.left", amount, durationText(seconds));
}

QString ModelsViewModel::folder() const {
  return services_.models.modelsDirectory();
}

bool ModelsViewModel::isDownloaded(const QString& name) const {
  return services_.models.findDownloaded(name).has_value();
}

bool ModelsViewModel::hasModel() const {
  return !services_.models.downloadedModels().empty() || !services_.models.customModels().empty();
}

ModePtr ModelsViewModel::selectedMode() const {
  if (!services_.appState || !services_.persistence) return nullptr;
  return services_.persistence->fetchMode(services_.appState->data().selectedModeId);
}

QString ModelsViewModel::activeName() const {
  const ModePtr mode = selectedMode();
  return mode ? mode->model.value_or(QString()) : QString();
}

QString ModelsViewModel::modeName() const {
  return services_.appState ? services_.appState->data().selectedModeName : QString();
}

const ModelsViewModel::Row* ModelsViewModel::row(const QString& name) const {
  for (const Row& row : rows_)
    if (row.model.name == name) return &row;
  return nullptr;
}

void ModelsViewModel::download(const QString& name) {
  const Row* const found = row(name);
  if (!found || found->isCustom || services_.models.downloadingModels().contains(name)) return;
  scope_.spawn(services_.models.download(found->model));
}

void ModelsViewModel::cancel(const QString& name) {
  services_.models.cancelDownload(name);
}

void ModelsViewModel::remove(const QString& name) {
  if (const auto model = services_.models.findDownloaded(name)) scope_.spawn(services_.models.deleteModel(*model));
}

void ModelsViewModel::use(const QString& name) {
  const ModePtr mode = selectedMode();
  if (!mode || !isDownloaded(name) || mode->model == name) return;
  mode->model = name;
  services_.persistence->save();
  if (services_.persistence->isSaveRefused() && services_.notices)
    services_.notices->showToast(localizedText("models.use.notSaved"), false);
  if (services_.modelChosen) services_.modelChosen(mode);
  allChanged();
}

}  // namespace quillmere
