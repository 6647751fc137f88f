#include "interface/SettingsViewModel.h"

#include "base/async/TaskScope.h"
#include "base/text/LocalizedText.h"
#include "ports/FilePicker.h"
#include "providers/UserNotices.h"
#include "recording/RecordingsMove.h"
#include "storage/SettingsManager.h"

namespace quillmere {

struct SettingsViewModel::Change {
  explicit Change(FolderChange all)
      : use(std::move(all)), recordings(use.persistence, use.fileWorkers, use.logging), scope(use.executor) {}

  FolderChange use;
  RecordingsMove recordings;
  bool isChoosing = false;
  TaskScope scope;
};

SettingsViewModel::SettingsViewModel(SettingsManager& settings, std::function<void(const QString&)> openFolder,
                                     UserNotices* notices)
    : settings_(settings), openFolder_(std::move(openFolder)), notices_(notices) {
  read();
  observation_ = settings_.observeChanges([this](const QString& key) {
    read();
    if (key == QLatin1String("recordingsStandIn")) tellOfStandIn();
  });
}

SettingsViewModel::~SettingsViewModel() = default;

QStringList SettingsViewModel::keys() {
  return {QStringLiteral("showRecordingWindow"),
          QStringLiteral("launchAtLogin"),
          QStringLiteral("launchMinimized"),
          QStringLiteral("enableErrorLogging"),
          QStringLiteral("enableVAD"),
          QStringLiteral("autoIncreaseMicVolume"),
          QStringLiteral("mediaControlMode"),
          QStringLiteral("storeAsM4A"),
          QStringLiteral("recordingsFolder"),
          QStringLiteral("applyVocabularyWithoutRewriting"),
          QStringLiteral("pasteResultText"),
          QStringLiteral("enableAccessibility"),
          QStringLiteral("restoreClipboardAfterPaste"),
          QStringLiteral("clipboardRestoreDelaySeconds")};
}

void SettingsViewModel::read() {
  QVariantMap values;
  for (const QString& key : keys()) values[key] = settings_.effectiveValue(key);
  if (values == values_) return;
  values_ = values;
  Q_EMIT valuesChanged();
}

QVariantList SettingsViewModel::mediaControlChoices() const {
  QVariantList choices;
  for (const MediaControlMode mode : allCases<MediaControlMode>())
    choices << QVariantMap{{QStringLiteral("value"), rawValue(mode)},
                           {QStringLiteral("text"), localizedText(labelKey(mode))}};
  return choices;
}

QString SettingsViewModel::recordingsFolder() const {
  return values_.value(QStringLiteral("recordingsFolder")).toString();
}

void SettingsViewModel::openRecordingsFolder() {
  if (openFolder_) openFolder_(recordingsFolder());
}

void SettingsViewModel::enableFolderChange(FolderChange use) {
  change_ = std::make_unique<Change>(std::move(use));
  Q_EMIT folderChanged();
}

QString SettingsViewModel::folderNote() const {
  const auto standIn = settings_.storage().recordingsStandIn();
  return standIn ? localizedText("settings.recordingsFolder.standIn", *standIn) : QString();
}

void SettingsViewModel::tellOfStandIn() {
  Q_EMIT folderChanged();
  if (const QString note = folderNote(); !note.isEmpty()) tell(note);
}

void SettingsViewModel::tell(const QString& sentence) {
  if (notices_) notices_->showToast(sentence, false);
}

QString SettingsViewModel::moveQuestion() const {
  if (filesToMove_ == 0) return {};
  return localizedText("settings.recordingsFolder.move.question", filesToMove_, formerFolder_);
}

void SettingsViewModel::chooseRecordingsFolder() {
  if (change_ && !isMoving_ && !std::exchange(change_->isChoosing, true)) change_->scope.spawn(choose());
}

Task<void> SettingsViewModel::choose() {
  StorageSettingsManager& storage = settings_.storage();
  const QString former = storage.recordingsFolder();
  auto question = change_->use.picker.pickFolder(localizedText("storage.folder.choose.title"), former);
  const std::optional<QString> chosen = co_await std::move(question);
  change_->isChoosing = false;
  if (!chosen || *chosen == former || isMoving_) co_return;
  storage.changeRecordingsFolder(*chosen);
  if (storage.validationError()) {
    tell(localizedText("settings.recordingsFolder.notWritable"));
    co_return;
  }
  formerFolder_ = former;
  filesToMove_ = change_->recordings.count(former);
  Q_EMIT folderChanged();
}

void SettingsViewModel::answerMove(bool isWanted) {
  if (filesToMove_ == 0 || isMoving_) return;
  filesToMove_ = 0;
  isMoving_ = isWanted;
  Q_EMIT folderChanged();
  if (isWanted) change_->scope.spawn(move());
}

Task<void> SettingsViewModel::move() {
  auto moving = change_->recordings.run(formerFolder_, settings_.storage().recordingsFolder());
  const RecordingsMove::Outcome end = co_await std::move(moving);
  isMoving_ = false;
  Q_EMIT folderChanged();
  if (end.stayed == 0)
    tell(localizedText("settings.recordingsFolder.move.done", end.moved));
  else
    tell(localizedText("settings.recordingsFolder.move.someStayed", end.moved, end.stayed, end.reason).trimmed());
}

bool SettingsViewModel::set(const QString& key, const QVariant& value) {
  if (!keys().contains(key)) return false;
  const auto stored = settings_.setText(key, value.toString());
  if (!stored && notices_) notices_->showToast(stored.error(), false);
  read();
  return bool(stored);
}

}  // namespace quillmere
