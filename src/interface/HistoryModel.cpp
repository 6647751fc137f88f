#include "interface/HistoryModel.h"

#include <QFileInfo>

#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "interface/HistoryText.h"
#include "providers/UserNotices.h"
#include "storage/PersistenceController.h"
#include "transcripts/TranscriptionRetryController.h"

namespace quillmere {
namespace {

constexpr Duration searchDelay = std::chrono::milliseconds(300);
constexpr int excerptCharacters = 260;

QString idText(const QUuid& id) {
  return id.toString(QUuid::WithoutBraces);
}

}  // namespace

HistoryModel::HistoryModel(Services services, HistoryIntents intents, const QLocale& locale, const QTimeZone& timeZone,
                           const Logging& logging)
    : services_(services),
      intents_(std::move(intents)),
      locale_(locale),
      timeZone_(timeZone),
      logger_(logging.logger(QStringLiteral("HistoryModel"))),
      scope_(services.executor) {
  if (!intents_.fileExists) intents_.fileExists = [](const QString& path) { return QFileInfo(path).isFile(); };
  search_ = wanted_ = services_.appState.data().historySearchQuery;
  rows_ = load(pageSize, 0);
  storeObservation_ = services_.persistence.observeChanges([this](const StoreChange& change) {
    if (change.transcripts || change.modes) refreshSoon();
  });
  stateObservation_ = services_.appState.observe([this](const AppStateData& now) { follow(now); });
}

HistoryModel::~HistoryModel() {
  lifetime_.end();
  services_.executor.cancelTimer(searchTimer_);
}

int HistoryModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : count();
}

QHash<int, QByteArray> HistoryModel::roleNames() const {
  return {{idRole, "transcriptId"},      {dayRole, "day"},          {textRole, "fullText"},
          {excerptRole, "excerpt"},      {htmlRole, "html"},        {modeRole, "modeName"},
          {detailsRole, "details"},      {failedRole, "hasFailed"}, {reasonRole, "reason"},
          {retryRole, "canRetry"},       {busyRole, "isBusy"},      {audioRole, "hasAudio"},
          {discardedRole, "isDiscarded"}};
}

QVariant HistoryModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || index.row() >= count()) return {};
  const Row& row = rows_[size_t(index.row())];
  const Transcript& transcript = row.shown;
  const bool isBusy =
      retrying_.contains(row.id) || transcript.status.value_or(QString()) == TranscriptStatus::processing;
  const bool isDiscarded = !isBusy && wasDiscarded(transcript);
  const bool failed = !isBusy && !isDiscarded && hasFailed(transcript);
  switch (role) {
    case idRole:
      return idText(row.id);
    case dayRole:
      return row.day;
    case textRole:
    case Qt::DisplayRole:
      return failed || isBusy || isDiscarded ? QString() : shownText(transcript);
    case excerptRole:
      if (failed) return localizedText("history.failed.title", durationText(transcript.duration.value_or(0)));
      if (isDiscarded) return localizedText("history.discarded.title", durationText(transcript.duration.value_or(0)));
      if (isBusy) return localizedText("history.busy.title", durationText(transcript.duration.value_or(0)));
      return excerpt(shownText(transcript), search_, excerptCharacters).text;
    case htmlRole: {
      if (search_.isEmpty() || failed || isBusy || isDiscarded) return QString();
      const Excerpt shown = excerpt(shownText(transcript), search_, excerptCharacters);
      return shown.hits.empty() ? QString() : markedHtml(shown.text, shown.hits);
    }
    case modeRole:
      return transcript.modeRelationship && transcript.modeRelationship->name ? *transcript.modeRelationship->name
                                                                              : transcript.mode.value_or(QString());
    case detailsRole: {
      QStringList parts;
      if (transcript.date)
        parts << locale_.toString(transcript.date->toTimeZone(timeZone_).time(), QLocale::ShortFormat);
      if (isDiscarded) {
        parts << localizedText("history.discarded.left", hoursLeft(transcript, services_.clock.now()));
        return parts.join(QStringLiteral(" · "));
      }
      if (transcript.duration.value_or(0) > 0) parts << durationText(*transcript.duration);
      if (transcript.transcriptionProvider && !failed) parts << *transcript.transcriptionProvider;
      // A rewriting that was skipped or changed nothing leaves the same text there.
      if (const QString rewritten = transcript.postProcessedText.value_or(QString());
          !rewritten.isEmpty() && rewritten != transcript.transcribedText.value_or(QString()))
        parts << localizedText("history.rewritten");
      return parts.join(QStringLiteral(" · "));
    }
    case failedRole:
      return failed;
    case reasonRole:
      if (!failed) return QString();
      return hasAudio(transcript) ? localizedText("history.failed.kept", failureText(transcript))
                                  : failureText(transcript);
    case retryRole:
      return (failed || isDiscarded) && services_.retry && hasAudio(transcript);
    case busyRole:
      return isBusy;
    case audioRole:
      return hasAudio(transcript);
    case discardedRole:
      return isDiscarded;
    default:
      return {};
  }
}

bool HistoryModel::canFetchMore(const QModelIndex& parent) const {
  return !parent.isValid() && qint64(rows_.size()) < total_;
}

void HistoryModel::fetchMore(const QModelIndex& parent) {
  if (!canFetchMore(parent)) return;
  std::vector<Row> more = load(pageSize, count());
  // A row that came in between has moved the others down: they are here already.
  std::erase_if(more, [&](const Row& row) { return indexOf(row.id) >= 0; });
  if (more.empty()) {
    total_ = count();
    Q_EMIT countChanged();
    return;
  }
  beginInsertRows({}, count(), count() + int(more.size()) - 1);
  std::move(more.begin(), more.end(), std::back_inserter(rows_));
  endInsertRows();
  Q_EMIT countChanged();
}

QString HistoryModel::searchText() const {
  return wanted_;
}

void HistoryModel::setSearchText(const QString& text) {
  if (text == wanted_) return;
  services_.appState.update([&](AppStateData& data) { data.historySearchQuery = text; });
}

void HistoryModel::follow(const AppStateData& data) {
  if (data.historySearchQuery == wanted_) return;
  wanted_ = data.historySearchQuery;
  Q_EMIT searchTextChanged();
  services_.executor.cancelTimer(searchTimer_);
  searchTimer_ = services_.executor.startTimer(searchDelay, [this] {
    searchTimer_ = 0;
    applySearch();
  });
}

void HistoryModel::applySearch() {
  if (wanted_ == search_) return;
  search_ = wanted_;
  reload();
}

void HistoryModel::reload() {
  beginResetModel();
  rows_ = load(pageSize, 0);
  endResetModel();
  Q_EMIT countChanged();
}

void HistoryModel::setShowsDiscarded(bool isShown) {
  if (isShown == showsDiscarded_) return;
  showsDiscarded_ = isShown;
  reload();
  Q_EMIT showsDiscardedChanged();
}

void HistoryModel::refreshSoon() {
  if (isRefreshPosted_) return;
  isRefreshPosted_ = true;
  lifetime_.post(services_.executor, [this] {
    isRefreshPosted_ = false;
    refresh();
  });
}

void HistoryModel::refresh() {
  showRows(load(std::max(count(), pageSize), 0));
}

HistoryModel::Row HistoryModel::rowOf(const TranscriptPtr& transcript) const {
  Row row{transcript->id.value_or(QUuid()), transcript, *transcript, {}};
  if (transcript->date) {
    const QDate today = services_.clock.now().toTimeZone(timeZone_).date();
    row.day = dayHeading(transcript->date->toTimeZone(timeZone_).date(), today, locale_);
  }
  return row;
}

std::vector<HistoryModel::Row> HistoryModel::load(int limit, int offset) {
  const auto search = search_.trimmed().isEmpty() ? std::nullopt : std::optional<QString>(search_);
  const HistoryFilter filter = showsDiscarded_ ? HistoryFilter::discarded : HistoryFilter::kept;
  const TranscriptPage page = services_.persistence.fetchTranscriptPage(limit, offset, search, filter);
  total_ = page.totalCount;
  hasDiscarded_ = services_.persistence.countTranscripts({}, HistoryFilter::discarded) > 0;
  std::vector<Row> rows;
  rows.reserve(page.transcripts.size());
  for (const auto& transcript : page.transcripts) rows.push_back(rowOf(transcript));
  return rows;
}

// Both lists are in the same order, so that what is missing goes and what is new comes in between.
void HistoryModel::showRows(std::vector<Row> rows) {
  QSet<QUuid> staying;
  for (const Row& row : rows) staying.insert(row.id);
  for (int i = count() - 1; i >= 0; --i) {
    if (staying.contains(rows_[size_t(i)].id)) continue;
    beginRemoveRows({}, i, i);
    rows_.erase(rows_.begin() + i);
    endRemoveRows();
  }
  for (int i = 0; i < int(rows.size()); ++i) {
    Row& next = rows[size_t(i)];
    const bool isHere = i < count() && rows_[size_t(i)].id == next.id;
    if (!isHere && indexOf(next.id) >= 0) {  // its date has changed: the order is another one
      beginResetModel();
      rows_ = std::move(rows);
      endResetModel();
      break;
    }
    if (!isHere) {
      beginInsertRows({}, i, i);
      rows_.insert(rows_.begin() + i, std::move(next));
      endInsertRows();
      continue;
    }
    Row& shown = rows_[size_t(i)];
    if (shown.shown == next.shown && shown.day == next.day) continue;
    shown = std::move(next);
    Q_EMIT dataChanged(index(i), index(i));
  }
  Q_EMIT countChanged();
}

int HistoryModel::indexOf(const QUuid& id) const {
  for (int i = 0; i < count(); ++i)
    if (rows_[size_t(i)].id == id) return i;
  return -1;
}

TranscriptPtr HistoryModel::find(const QString& id) const {
  const int row = indexOf(QUuid::fromString(id));
  return row < 0 ? nullptr : rows_[size_t(row)].transcript;
}

bool HistoryModel::hasAudio(const Transcript& transcript) const {
  return transcript.audioFilePath && !transcript.audioFilePath->isEmpty() &&
         intents_.fileExists(*transcript.audioFilePath);
}

bool HistoryModel::canRetry(const Transcript& transcript) const {
  return (wasDiscarded(transcript) || hasFailed(transcript)) && hasAudio(transcript);
}

void HistoryModel::copy(const QString& id) {
  const TranscriptPtr transcript = find(id);
  if (!transcript || !intents_.copyText) return;
  intents_.copyText(shownText(*transcript));
  logger_.info("Copied transcript text to clipboard");
}

void HistoryModel::paste(const QString& id) {
  if (const TranscriptPtr transcript = find(id); transcript && intents_.pasteText)
    intents_.pasteText(shownText(*transcript));
}

void HistoryModel::play(const QString& id) {
  const TranscriptPtr transcript = find(id);
  if (!transcript || !intents_.playAudio) return;
  if (hasAudio(*transcript))
    intents_.playAudio(*transcript->audioFilePath);
  else if (services_.notices)
    services_.notices->showToast(localizedText("history.audio.missing"), false);
}

QString HistoryModel::audioFile(const QString& id) const {
  const TranscriptPtr transcript = find(id);
  return transcript && hasAudio(*transcript) ? *transcript->audioFilePath : QString();
}

void HistoryModel::retry(const QString& id) {
  TranscriptPtr transcript = find(id);
  if (!transcript) transcript = services_.persistence.fetchTranscript(id);  // not among what is shown
  if (!transcript || !services_.retry || retrying_.contains(*transcript->id)) return;
  if (!canRetry(*transcript)) {
    if (services_.notices) services_.notices->showToast(localizedText("history.audio.missing"), false);
    return;
  }
  setRetrying(*transcript->id, true);
  if (wasDiscarded(*transcript)) lifetime_.post(services_.executor, [this] { setShowsDiscarded(false); });
  scope_.spawn(runRetry(transcript, *transcript->id));
}

Task<void> HistoryModel::runRetry(TranscriptPtr transcript, QUuid id) {
  // However it ends, by a cancel too.
  struct Unmark {
    HistoryModel* model;
    QUuid id;
    Lifetime::Watch life;
    Unmark(HistoryModel* m, const QUuid& i, Lifetime::Watch l) : model(m), id(i), life(std::move(l)) {}
    Unmark(const Unmark&) = delete;
    Unmark& operator=(const Unmark&) = delete;
    ~Unmark() {
      if (!life.isOver()) model->setRetrying(id, false);
    }
  };
  const Unmark unmark(this, id, lifetime_.watch());
  const auto outcome = co_await services_.retry->retry(transcript);
  if (outcome) {
    if (co_await services_.persistence.waitUntilSaved())
      logger_.info("Successfully retried transcription");
    else if (services_.notices)
      services_.notices->showToast(localizedText("history.retry.notSaved"), true);
    co_return;
  }
  const QString description = localizedDescription(outcome.error());
  logger_.error("Retry failed: %{public}s", description);
  if (services_.notices)
    services_.notices->showToast(localizedText("history.failed.kept", description), isCritical(outcome.error()));
}

void HistoryModel::setRetrying(const QUuid& id, bool isRetrying) {
  if (isRetrying)
    retrying_.insert(id);
  else
    retrying_.remove(id);
  if (const int row = indexOf(id); row >= 0) Q_EMIT dataChanged(index(row), index(row));
}

void HistoryModel::remove(const QString& id) {
  const TranscriptPtr transcript = find(id);
  if (!transcript || retrying_.contains(*transcript->id)) return;
  services_.persistence.deleteTranscript(transcript);
  logger_.info("Deleted transcript");
  refreshSoon();
}

}  // namespace quillmere
