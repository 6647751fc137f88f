#include "storage/TranscriptStore.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <limits>

#include "base/text/LocalizedText.h"
#include "storage/ObjectContext.h"
#include "storage/Store.h"
#include "storage/TranscriptSearch.h"

namespace quillmere {

namespace {

const char* const newestFirst = "ORDER BY date DESC, pk DESC";

}  // namespace

TranscriptStore::TranscriptStore(Store& store, QString processOwner)
    : store_(store), processOwner_(std::move(processOwner)) {
  store_.setBeforeSave([this] { writeOwners(); });
}

void TranscriptStore::writeOwners() {
  const ObjectRegistry& registry = store_.context().registry();
  const auto write = [this](Transcript& row, bool wasProcessing) {
    const bool isProcessing = row.status == TranscriptStatus::processing;
    if (!isProcessing)
      row.processingOwner.reset();
    else if (!wasProcessing && !processOwner_.isEmpty())
      row.processingOwner = processOwner_;
  };
  for (const TranscriptPtr& row : registry.inserted<Transcript>()) write(*row, false);
  for (const TranscriptPtr& row : registry.stored<Transcript>(true))
    write(*row, registry.recordOf(row).stored.status == TranscriptStatus::processing);
}

std::vector<TranscriptPtr> TranscriptStore::fetchRows(const std::string& condition, const auto&... values) {
  return store_.valueOrReport(store_.context().fetchWithInserted<Transcript>(condition + newestFirst, values...),
                              "Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts");
}

TranscriptPtr TranscriptStore::createTranscript(double duration, const std::optional<QString>& modeName,
                                                const std::optional<QString>& audioPath, const QString& status) {
  const TranscriptPtr transcript = insertTranscript();
  if (status == TranscriptStatus::processing) transcript->text = processingPlaceholder;
  transcript->date = store_.clock().now();
  transcript->duration = duration;
  transcript->mode = modeName;
  transcript->audioFilePath = audioPath;
  transcript->status = status;
  store_.save();
  return transcript;
}

TranscriptPtr TranscriptStore::insertTranscript() {
  Transcript transcript;
  transcript.id = QUuid::createUuid();
  return store_.context().insert(std::move(transcript));
}

void TranscriptStore::setTrimmedAudioPath(const TranscriptPtr& transcript, const QString& path) {
  transcript->trimmedAudioFilePath = path;
  store_.save();
  store_.log().info("Set trimmed audio path for transcript: %{public}s", path);
}

void TranscriptStore::updateTranscriptAudioPath(const TranscriptPtr& transcript, const QString& path) {
  if (!transcript->id) {
    store_.log().error("Attempted to update transcript audioFilePath with nil ID");
    return;
  }
  transcript->audioFilePath = path;
  if (transcript->recordingSession) transcript->recordingSession->audioFilePath = path;
  store_.save();
  store_.log().info("Updated transcript audio file path to: %{public}s", path);
}

// --- deleting

bool TranscriptStore::isAudioOfAnother(const QString& path, const std::vector<TranscriptPtr>& transcripts) {
  const auto rows = fetchTranscriptsWithAudio(path);
  return std::any_of(rows.begin(), rows.end(), [&](const TranscriptPtr& row) {
    return std::find(transcripts.begin(), transcripts.end(), row) == transcripts.end();
  });
}

QStringList TranscriptStore::audioFilesOnlyOf(const std::vector<TranscriptPtr>& transcripts) {
  QStringList files;
  for (const TranscriptPtr& transcript : transcripts)
    for (const auto& path : {transcript->audioFilePath, transcript->trimmedAudioFilePath})
      if (path && !path->isEmpty() && !files.contains(*path) && !isAudioOfAnother(*path, transcripts)) files << *path;
  return files;
}

void TranscriptStore::removeAudioFile(const QString& path, LogFormat<QString> deleted, LogFormat<QString> failed) {
  if (!QFileInfo(path).isFile()) return;
  if (QFile::remove(path))
    store_.log().info(deleted, path);
  else
    store_.log().error(failed, path);
}

void TranscriptStore::deleteTranscript(const TranscriptPtr& transcript) {
  deleteTranscripts({transcript});
}

bool TranscriptStore::deleteTranscripts(const std::vector<TranscriptPtr>& transcripts) {
  const QStringList files = audioFilesOnlyOf(transcripts);
  for (const TranscriptPtr& transcript : transcripts) {
    if (!transcript->id) continue;  // said below
    if (const QString path = transcript->audioFilePath.value_or(QString()); files.contains(path))
      removeAudioFile(path, "Deleted audio file: %{public}s", "Failed to delete audio file: %{public}s");
    if (const QString path = transcript->trimmedAudioFilePath.value_or(QString()); files.contains(path))
      removeAudioFile(path, "Deleted trimmed audio file: %{public}s",
                      "Failed to delete trimmed audio file: %{public}s");
  }
  return deleteRows(transcripts);
}

bool TranscriptStore::deleteRows(const std::vector<TranscriptPtr>& transcripts) {
  for (const TranscriptPtr& transcript : transcripts) {
    if (transcript->id)
      store_.context().remove(transcript);
    else
      store_.log().error("Attempted to delete transcript with nil ID");
  }
  return store_.save();
}

// --- reading

std::vector<TranscriptPtr> TranscriptStore::fetchTranscripts(int limit, int offset,
                                                             const std::optional<QString>& search,
                                                             HistoryFilter filter) {
  return fetchTranscriptPage(limit, offset, search, filter).transcripts;
}

TranscriptPage TranscriptStore::fetchTranscriptPage(int limit, int offset, const std::optional<QString>& search,
                                                    HistoryFilter filter) {
  const SearchQuery query = parseSearch(search.value_or(QString()));
  // Rows that a failed save couldn't write yet are part of the history all the same: the newest part.
  std::vector<TranscriptPtr> pending;
  ObjectContext& context = store_.context();
  for (const TranscriptPtr& transcript : context.registry().inserted<Transcript>())
    if (passesFilter(*transcript, filter) && (query.isEmpty() || matchesSearch(*transcript, query)))
      pending.insert(pending.begin(), transcript);
  const auto pendingCount = static_cast<qint64>(pending.size());
  const qint64 wanted = limit < 0 ? std::numeric_limits<int>::max() : limit;
  qint64 skip = std::max(offset, 0);

  TranscriptPage page;
  for (; skip < pendingCount && std::ssize(page.transcripts) < wanted; ++skip)
    page.transcripts.push_back(pending[static_cast<size_t>(skip)]);
  const qint64 storedOffset = std::max<qint64>(0, skip - pendingCount);
  const qint64 storedLimit = wanted - std::ssize(page.transcripts);

  std::optional<PlatformError> error;
  std::vector<TranscriptPtr> stored;
  const auto filtered = FilteredRows::read(store_.context(), filter);
  if (!filtered) {
    error = filtered.error();
  } else if (query.isEmpty()) {
    if (auto count = filtered->count(store_.context()))
      page.totalCount = *count;
    else
      error = count.error();
    if (auto rows = store_.context().fetch<Transcript>(pageClause(filter), storedLimit, storedOffset))
      stored = std::move(rows).value();
    else
      error = rows.error();
  } else if (auto matches = TranscriptMatches::find(store_.context(), query, *filtered); !matches) {
    error = matches.error();
  } else {
    page.totalCount = matches->count();
    if (auto rowIds = matches->page(store_.context(), storedLimit, storedOffset); !rowIds) {
      error = rowIds.error();
    } else if (auto rows = store_.context().fetchRows<Transcript>(*rowIds); !rows) {
      error = rows.error();
    } else {
      stored = std::move(rows).value();
    }
  }
  if (error)
    store_.reportFetchFailure("Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts", *error);
  page.totalCount += pendingCount;
  page.transcripts.insert(page.transcripts.end(), stored.begin(), stored.end());
  return page;
}

qint64 TranscriptStore::countTranscripts(const std::optional<QString>& search, HistoryFilter filter) {
  return fetchTranscriptPage(0, 0, search, filter).totalCount;
}

TranscriptPtr TranscriptStore::fetchTranscript(const QString& id) {
  const auto parsed = parseId(id);
  if (!parsed) return nullptr;
  for (const TranscriptPtr& transcript : store_.context().registry().inserted<Transcript>())
    if (transcript->id == parsed) return transcript;
  const auto rows =
      store_.valueOrReport(store_.context().fetch<Transcript>("WHERE id = ? LIMIT 1", *parsed),
                           "Failed to fetch transcript by id: %{public}@", "Failed to fetch transcript by id");
  return rows.empty() ? nullptr : rows.front();
}

Result<TranscriptPtr, LookupFailure> TranscriptStore::findTranscript(const QString& idOrPrefix) {
  using Kind = LookupFailure::Kind;
  const auto notFound = [&] {
    return LookupFailure{Kind::notFound, 0, localizedText("history.lookup.notFound", idOrPrefix)};
  };
  if (const TranscriptPtr whole = fetchTranscript(idOrPrefix)) return whole;
  const auto prefix = idPrefix(idOrPrefix);
  if (!prefix) return Failed{notFound()};
  std::vector<TranscriptPtr> found =
      store_.valueOrReport(store_.context().fetch<Transcript>("WHERE id >= ? AND id < ?", *prefix, *prefix + 'g'),
                           "Failed to fetch transcript by id: %{public}@", "Failed to fetch transcript by id");
  for (const TranscriptPtr& transcript : store_.context().registry().inserted<Transcript>())
    if (transcript->id && transcript->id->toString(QUuid::WithoutBraces).startsWith(*prefix))
      found.push_back(transcript);
  if (found.empty()) return Failed{notFound()};
  if (found.size() > 1) {
    const auto count = static_cast<int>(found.size());
    return Failed{LookupFailure{Kind::ambiguous, count, localizedText("history.lookup.ambiguous", idOrPrefix, count)}};
  }
  return found.front();
}

std::vector<TranscriptPtr> TranscriptStore::fetchTranscriptsWithStatus(const QString& status) {
  // The small indexes serve written-out values only; without one every row is read.
  auto found = status == TranscriptStatus::processing  ? fetchRows("WHERE status = 'processing' ")
               : status == TranscriptStatus::discarded ? fetchRows("WHERE status = 'discarded' ")
                                                       : fetchRows("WHERE status = ? ", status);
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return transcript->status != status; });
  return found;
}

std::vector<TranscriptPtr> TranscriptStore::fetchTranscriptsBefore(const QDateTime& date) {
  auto found = fetchRows("WHERE date < ? ", date);
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return !transcript->date || *transcript->date >= date; });
  return found;
}

std::vector<TranscriptPtr> TranscriptStore::fetchTranscriptsWithAudio(const QString& path) {
  auto found = fetchRows("WHERE audioFilePath = ?1 OR trimmedAudioFilePath = ?1 ", path);
  std::erase_if(
      found, [&](const TranscriptPtr& row) { return row->audioFilePath != path && row->trimmedAudioFilePath != path; });
  return found;
}

TranscriptPtr TranscriptStore::fetchTranscriptOfSession(const RecordingSessionPtr& session) {
  if (!session) return nullptr;
  auto found = fetchRows("WHERE recordingSession = ? ", store_.context().registry().rowId(session));
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return transcript->recordingSession != session; });
  return found.empty() ? nullptr : found.front();
}

// --- rows that nobody works on any more

bool TranscriptStore::isAbandoned(const Transcript& row, const IsProcessAlive& isProcessAlive,
                                  const QDateTime& unknownSince) const {
  if (row.processingOwner == processOwner_) return false;
  if (!row.processingOwner) return true;
  const std::optional<bool> isAlive = isProcessAlive(*row.processingOwner);
  if (isAlive) return !*isAlive;
  const auto& lastChange = row.lastRetryDate ? row.lastRetryDate : row.date;
  return !lastChange || *lastChange < unknownSince;
}

void TranscriptStore::endAbandonedTranscripts(IsProcessAlive isProcessAlive, QDateTime unknownSince,
                                              std::function<void(Transcript&)> end) {
  if (processOwner_.isEmpty()) return;  // rows of this process could not be told from others
  const auto find = [this, isProcessAlive = std::move(isProcessAlive), unknownSince = std::move(unknownSince)] {
    auto rows = fetchTranscriptsWithStatus(TranscriptStatus::processing);
    std::erase_if(rows, [&](const TranscriptPtr& row) {
      const bool isNew = store_.context().registry().rowId(row) == 0;
      return isNew || !isAbandoned(*row, isProcessAlive, unknownSince);
    });
    return rows;
  };
  if (find().empty()) return;  // nothing to take the lock for
  store_.changeInTime([find, end = std::move(end)] {
    for (const TranscriptPtr& row : find()) {
      end(*row);
      row->processingOwner.reset();
    }
  });
}

}  // namespace quillmere
