#include "interface/FileQueueViewModel.h"

#include <QFile>
#include <algorithm>
#include <tuple>

#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "interface/AlertsViewModel.h"
#include "interface/HistoryText.h"
#include "ports/FilePicker.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"

namespace quillmere {
namespace {

using State = FileQueue::State;

QString nameOf(const std::filesystem::path& file) {
  return QFile::decodeName(QByteArray::fromStdString(file.filename().string()));
}

QString textOf(FileQueue::Id id) {
  return QString::number(id);
}

int percent(float progress) {
  return qRound(progress * 100);
}

// What the dialog offers first; what is in a file decides, not its name.
QStringList offeredExtensions() {
  return {"wav", "mp3", "m4a", "m4b",  "aac", "aiff", "aif", "flac", "ogg", "oga", "opus", "wma",
          "amr", "mp4", "m4v", "mpeg", "mpg", "mov",  "mkv", "webm", "avi", "3gp", "ogv",  "wmv"};
}

QString runningDetail(const FileTranscriptionProgressState& progress) {
  if (progress.stage == FileTranscriptionStage::preparing) return localizedText("files.preparing");
  if (progress.stage == FileTranscriptionStage::finishing) return localizedText("files.finishing");
  const QString share = QString::number(percent(progress.progress));
  if (progress.secondsLeft) return localizedText("files.transcribing.left", share, durationText(*progress.secondsLeft));
  return localizedText("files.transcribing", share, durationText(progress.secondsRunning));
}

AlertText alertOf(const FileTranscriptionOutcome& outcome) {
  if (outcome.refusal) return alertText(*outcome.refusal);
  return {localizedText("transcribe.file.error.title"),
          outcome.error ? localizedDescription(*outcome.error) : QString()};
}

}  // namespace

FileQueueViewModel::FileQueueViewModel(Services services) : services_(std::move(services)), scope_(services_.executor) {
  progress_ =
      services_.flow.progressState().observe([this](const FileTranscriptionProgressState& state) { show(state); });
  mode_ = services_.appState.observe(
      [this, last = services_.appState.data().selectedModeId](const AppStateData& data) mutable {
        if (data.selectedModeId == last) return;
        last = data.selectedModeId;
        Q_EMIT modeChanged();
      });
}

int FileQueueViewModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QHash<int, QByteArray> FileQueueViewModel::roleNames() const {
  return {{idRole, "itemId"},         {nameRole, "name"},
          {modeRole, "modeName"},     {detailRole, "detail"},
          {progressRole, "progress"}, {runningRole, "isRunning"},
          {waitingRole, "isWaiting"}, {failedRole, "hasFailed"},
          {retryRole, "canRetry"},    {completedRole, "isCompleted"}};
}

QVariant FileQueueViewModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count()) return {};
  const FileQueue::Item& item = queue_.items()[size_t(index.row())];
  switch (role) {
    case idRole:
      return textOf(item.id);
    case nameRole:
      return nameOf(item.file);
    case modeRole: {
      const ModePtr mode = modeOf(item.modeId);
      return mode ? mode->name.value_or(QString()) : QString();
    }
    case detailRole:
      return detail(item);
    case progressRole:
      return item.progress.progress;
    case runningRole:
      return item.state == State::running;
    case waitingRole:
      return item.state == State::waiting;
    case completedRole:
      return item.state == State::completed;
    case failedRole:
      return item.state == State::failed;
    case retryRole:
      return item.state == State::failed || item.state == State::cancelled;
    default:
      return {};
  }
}

QString FileQueueViewModel::detail(const FileQueue::Item& item) const {
  switch (item.state) {
    case State::waiting:
      return localizedText("files.waiting");
    case State::running:
      return runningDetail(item.progress);
    case State::completed:
      return localizedText("files.completed", durationText(item.audioSeconds));
    case State::failed:
      return item.problem;
    case State::cancelled:
      return localizedText("files.cancelled");
  }
  return {};
}

bool FileQueueViewModel::hasFinished() const {
  return std::ranges::any_of(queue_.items(), &FileQueue::Item::isOver);
}

QString FileQueueViewModel::modeId() const {
  const bool isThere = !chosenModeId_.isEmpty() && services_.persistence.fetchMode(chosenModeId_);
  return isThere ? chosenModeId_ : services_.appState.data().selectedModeId;
}

void FileQueueViewModel::setModeId(const QString& id) {
  if (id == chosenModeId_) return;
  chosenModeId_ = id;
  Q_EMIT modeChanged();
}

// A mode that was deleted meanwhile gives its place to the selected one.
ModePtr FileQueueViewModel::modeOf(const QString& id) const {
  if (const ModePtr mode = services_.persistence.fetchMode(id)) return mode;
  return services_.persistence.fetchMode(services_.appState.data().selectedModeId);
}

void FileQueueViewModel::add(const std::vector<std::filesystem::path>& files) {
  if (files.empty()) return;
  const QString mode = modeId();
  for (const std::filesystem::path& file : files) {
    if (queue_.isUnderWay(file)) continue;
    beginInsertRows({}, count(), count());
    queue_.add(file, mode);
    endInsertRows();
  }
  Q_EMIT listChanged();
  startWork();
  Q_EMIT added();
}

void FileQueueViewModel::addUrls(const QList<QUrl>& urls) {
  std::vector<std::filesystem::path> files;
  for (const QUrl& url : urls)
    if (url.isLocalFile()) files.emplace_back(QFile::encodeName(url.toLocalFile()).toStdString());
  if (qsizetype(files.size()) < urls.size() && services_.notices)
    services_.notices->showToast(localizedText("files.error.notHere"), false);
  add(files);
}

void FileQueueViewModel::choose() {
  if (services_.picker != nullptr && !std::exchange(isChoosing_, true)) scope_.spawn(pick());
}

Task<void> FileQueueViewModel::pick() {
  auto question =
      services_.picker->pickFiles(localizedText("select.audio.file"), localizedText("files.kind"), offeredExtensions());
  const std::vector<std::filesystem::path> files = co_await std::move(question);
  isChoosing_ = false;
  add(files);
}

void FileQueueViewModel::cancel(const QString& id) {
  const FileQueue::Id number = id.toULongLong();
  if (queue_.cancelWaiting(number))
    rowChanged(number);
  else if (const auto* running = queue_.running(); running != nullptr && running->id == number)
    services_.flow.cancel();
}

void FileQueueViewModel::retry(const QString& id) {
  const FileQueue::Id number = id.toULongLong();
  if (!queue_.retry(number)) return;
  rowChanged(number);
  startWork();
}

void FileQueueViewModel::remove(const QString& id) {
  const auto row = queue_.indexOf(id.toULongLong());
  if (!row || !queue_.items()[*row].isOver()) return;
  beginRemoveRows({}, int(*row), int(*row));
  queue_.remove(id.toULongLong());
  endRemoveRows();
  Q_EMIT listChanged();
}

void FileQueueViewModel::removeFinished() {
  const std::vector<FileQueue::Item> items = queue_.items();
  for (const FileQueue::Item& item : items)
    if (item.isOver()) remove(textOf(item.id));
}

void FileQueueViewModel::rowChanged(FileQueue::Id id) {
  if (const auto row = queue_.indexOf(id)) Q_EMIT dataChanged(index(int(*row)), index(int(*row)));
  Q_EMIT listChanged();
}

// The bar moves sixty times a second; a row that is read changes with what it says.
void FileQueueViewModel::show(const FileTranscriptionProgressState& state) {
  const auto* running = queue_.running();
  if (running == nullptr || !state.isActive || state.isCancelled) return;
  const FileTranscriptionProgressState& shown = running->progress;
  const auto read = [](const FileTranscriptionProgressState& of) {
    return std::tuple(of.stage, percent(of.progress), of.secondsRunning, of.secondsLeft);
  };
  if (read(state) == read(shown)) return;
  queue_.report(running->id, state);
  const auto row = int(*queue_.indexOf(running->id));
  Q_EMIT dataChanged(index(row), index(row), {progressRole, detailRole});
}

void FileQueueViewModel::startWork() {
  if (!std::exchange(isWorking_, true)) worker_ = scope_.spawn(work());
}

Task<void> FileQueueViewModel::work() {
  completed_ = 0;
  failures_.clear();
  while (const auto id = queue_.startNext()) {
    rowChanged(*id);
    const FileQueue::Item item = *queue_.find(*id);
    lastName_ = nameOf(item.file);
    auto run = services_.flow.transcribe(item.file, modeOf(item.modeId));
    const FileTranscriptionOutcome outcome = co_await std::move(run);
    finish(*id, outcome);
  }
  isWorking_ = false;
  tellTheEnd();
}

void FileQueueViewModel::finish(FileQueue::Id id, const FileTranscriptionOutcome& outcome) {
  using Kind = FileTranscriptionOutcome::Kind;
  if (outcome.kind == Kind::completed) {
    ++completed_;
    queue_.end(id, State::completed, {}, outcome.audioDurationSeconds);
  } else if (outcome.kind == Kind::cancelled) {
    queue_.end(id, State::cancelled);
  } else {
    failures_.push_back(alertOf(outcome));
    queue_.end(id, State::failed, failures_.back().message);
  }
  rowChanged(id);
}

void FileQueueViewModel::tellTheEnd() {
  const int all = completed_ + int(failures_.size());
  if (all == 1 && completed_ == 0 && services_.alerts) {
    services_.alerts->show({failures_[0].title, failures_[0].message, localizedText("common.ok")});
  } else if (!failures_.empty()) {
    if (services_.notices)
      services_.notices->showToast(
          localizedText("files.someFailed", QString::number(failures_.size()), QString::number(all)), false);
  } else if (all == 1) {
    Q_EMIT allDone(localizedText("files.done.one", lastName_));
  } else if (all > 1) {
    Q_EMIT allDone(localizedText("files.done.many", QString::number(all)));
  }
}

Task<void> FileQueueViewModel::shutDown() {
  const std::vector<FileQueue::Item> items = queue_.items();
  for (const FileQueue::Item& item : items) cancel(textOf(item.id));
  if (isWorking_) co_await worker_.join();
}

}  // namespace quillmere
