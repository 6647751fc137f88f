#include "storage/PersistenceController.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <limits>

#include "base/text/Graphemes.h"
#include "base/text/LocalizedText.h"
#include "storage/ObjectContext.h"
#include "storage/ObserverList.h"
#include "storage/TranscriptSearch.h"

namespace quillmere {

namespace {

const char* const newestFirst = "ORDER BY date DESC, pk DESC";

struct SeedMode {
  const char* id;
  const char* name;
  const char* preset;
  const char* language;
  const char* model;
  bool punctuation, capitalization, profanityFilter, isDefault, isSystemProvided;
  qint16 sortOrder;
  const char* customInstructions;
  PostProcessingMode postProcessingMode;
  const char* postProcessingProvider;
  const char* cloudProvider;
};
const SeedMode seedModes[] = {{defaultModeId, "Default", "quillmere", "en", "cloud", true, true, false, true, true, 0,
                               "", PostProcessingMode::cloud, "quillmere", "quillmere"}};

QString loadFailureText(const PlatformError& error, const QString& path) {
  return QString("Core Data failed to load: %1, path: %2, code: %3").arg(error.description, path).arg(error.code);
}

template <typename E>
void appendPending(ObjectContext& context, std::vector<std::shared_ptr<E>>& objects) {
  for (auto& object : context.pendingInserts<E>()) objects.push_back(std::move(object));
}

template <typename E>
bool sortOrderBefore(const std::shared_ptr<E>& a, const std::shared_ptr<E>& b) {
  return a->sortOrder.value_or(0) < b->sortOrder.value_or(0);
}

// One above the highest. Where the 16 bits are used up the entries are numbered anew first, in their present order.
template <typename E>
qint16 nextSortOrder(std::vector<std::shared_ptr<E>> objects) {
  constexpr qint16 highest = std::numeric_limits<qint16>::max();
  if (objects.empty()) return 1;
  std::stable_sort(objects.begin(), objects.end(), &sortOrderBefore<E>);
  const qint16 last = objects.back()->sortOrder.value_or(0);
  if (last < highest) return static_cast<qint16>(last + 1);
  qint16 number = 0;
  for (const auto& object : objects) object->sortOrder = number < highest ? ++number : highest;
  return number < highest ? static_cast<qint16>(number + 1) : highest;
}

std::optional<QString> trimmedReplacement(const std::optional<QString>& replacement) {
  const QString text = trimmedText(replacement.value_or(QString()));
  if (text.isEmpty()) return std::nullopt;
  return text;
}

bool sameWord(const QString& a, const QString& b) {
  return a.compare(b, Qt::CaseInsensitive) == 0;
}

// "1234ABCD-56" -> "1234abcd-56"; nothing for a text that can't begin an identifier.
std::optional<QString> idPrefix(const QString& typed) {
  QString digits;
  for (const QChar character : typed.trimmed().toLower()) {
    if (character == u'-' || character == u'{' || character == u'}') continue;
    const bool isHexDigit = (character >= u'0' && character <= u'9') || (character >= u'a' && character <= u'f');
    if (!isHexDigit) return std::nullopt;
    digits += character;
  }
  if (digits.size() < 4 || digits.size() > 32) return std::nullopt;
  for (const int dash : {20, 16, 12, 8})
    if (digits.size() > dash) digits.insert(dash, u'-');
  return digits;
}

std::optional<QUuid> parseId(const QString& text) {
  const auto whole = idPrefix(text);  // QUuid itself overlooks what follows an identifier
  if (!whole || whole->size() != 36) return std::nullopt;
  return QUuid::fromString(*whole);
}

}  // namespace

struct PersistenceController::Observers : ObserverList<StoreChange> {};

Result<std::unique_ptr<PersistenceController>, PlatformError> PersistenceController::open(const Location& location,
                                                                                          const Clock& clock,
                                                                                          const Logging& logging,
                                                                                          ErrorReporting* reporting,
                                                                                          const QTimeZone& calendar) {
  const Logger log = logging.logger("coredata");
  auto database = openStore(location, log);
  if (!database) {
    PlatformError error = database.error();
    const QString path = location.value_or(":memory:");
    log.error("Failed to load persistent store: %{public}@", error.description);
    if (reporting && reporting->isEnabled()) {
      ReportOptions options;
      options.message = "Critical: Core Data failed to load";
      options.extra = {{"path", path}, {"code", error.code}, {"domain", error.domain}};
      reporting->captureError(error, options);
    }
    error.description = loadFailureText(error, path);
    return Failed{error};
  }
  log.debug("Persistent store loaded");
  auto context = std::make_unique<ObjectContext>(std::move(database).value());
  std::unique_ptr<PersistenceController> controller(
      new PersistenceController(std::move(context), clock, logging, reporting, calendar));
  if (location) controller->seedDefaultModes();
  return controller;
}

PersistenceController::PersistenceController(std::unique_ptr<ObjectContext> context, const Clock& clock,
                                             const Logging& logging, ErrorReporting* reporting, QTimeZone calendar)
    : context_(std::move(context)),
      clock_(clock),
      log_(logging.logger("coredata")),
      reporting_(reporting),
      calendar_(std::move(calendar)),
      observers_(std::make_unique<Observers>()) {}

PersistenceController::~PersistenceController() = default;

void PersistenceController::seedDefaultModes() {
  const auto count = context_->fetchNumber("SELECT count(*) FROM (SELECT 1 FROM Mode LIMIT 1)");
  if (count && *count > 0) return;
  std::vector<ModePtr> seeded;
  const auto saved = context_->transact([&] {
    // Another process that starts right now may have been faster.
    if (context_->fetchNumber("SELECT count(*) FROM (SELECT 1 FROM Mode LIMIT 1)").valueOr(0) > 0) return;
    for (const SeedMode& seed : seedModes) {
      Mode mode;
      mode.id = QUuid::fromString(QString(seed.id));
      mode.name = seed.name;
      mode.preset = seed.preset;
      mode.language = seed.language;
      mode.model = seed.model;
      mode.punctuation = seed.punctuation;
      mode.capitalization = seed.capitalization;
      mode.profanityFilter = seed.profanityFilter;
      mode.isDefault = seed.isDefault;
      mode.isSystemProvided = seed.isSystemProvided;
      mode.createdDate = mode.modifiedDate = clock_.now();
      mode.sortOrder = seed.sortOrder;
      mode.customInstructions = seed.customInstructions;
      mode.postProcessingMode = static_cast<qint16>(seed.postProcessingMode);
      mode.postProcessingProvider = seed.postProcessingProvider;
      mode.cloudProvider = seed.cloudProvider;
      seeded.push_back(context_->insert(std::move(mode)));
    }
  });
  if (saved) {
    if (!seeded.empty())
      log_.info("Initialized %{public}ld default modes for new install", static_cast<qint64>(seeded.size()));
    return;
  }
  for (const ModePtr& mode : seeded) context_->remove(mode);
  report("Failed to initialize default modes", saved.error());
  log_.error("Failed to initialize default modes: %{public}@", saved.error().description);
}

// --- saving and watching

void PersistenceController::report(const QString& text, const PlatformError& error) {
  if (!reporting_ || !reporting_->isEnabled()) return;
  ReportOptions options;
  options.message = text;
  reporting_->captureError(error, options);
}

void PersistenceController::reportFetchFailure(LogFormat<QString> logFormat, const QString& reportText,
                                               const PlatformError& error) {
  log_.error(logFormat, error.description);
  report(reportText, error);
}

template <typename T>
std::vector<T> PersistenceController::valueOrReport(Result<std::vector<T>, PlatformError> result,
                                                    LogFormat<QString> logFormat, const char* reportText) {
  if (result) return std::move(result).value();
  reportFetchFailure(logFormat, reportText, result.error());
  return {};
}

bool PersistenceController::finishSave(const Result<void, PlatformError>& saved) {
  if (!saved) {
    log_.error("Failed to save context: %{public}@", saved.error().description);
    report("Core Data save failed", saved.error());
    return false;
  }
  const ObjectContext::Written written = context_->takeWritten();
  if (!written.any()) return true;
  log_.debug("Context saved successfully");
  observers_->tell(StoreChange{false, written.modes, written.transcripts, written.recordingSessions, written.vocabulary,
                               written.usageTracking});
  return true;
}

bool PersistenceController::save() {
  return finishSave(context_->save());
}
bool PersistenceController::hasChanges() const {
  return context_->hasChanges();
}

bool PersistenceController::change(const std::function<void()>& body) {
  return finishSave(context_->transact(body));
}

bool PersistenceController::refreshIfChanged() {
  const auto changed = context_->refreshIfChanged();
  if (!changed) {
    log_.error("Failed to refresh objects: %{public}@", changed.error().description);
    report("Failed to refresh objects", changed.error());
    return false;
  }
  if (*changed) observers_->tell(StoreChange{true, true, true, true, true, true});
  return *changed;
}

Subscription PersistenceController::observeChanges(std::function<void(const StoreChange&)> observer) {
  return observers_->observe([observer = std::move(observer)](StoreChange change) { observer(change); });
}

// --- transcripts

TranscriptPtr PersistenceController::createTranscript(double duration, const std::optional<QString>& modeName,
                                                      const std::optional<QString>& audioPath) {
  const TranscriptPtr transcript = insertTranscript();
  transcript->text = processingPlaceholder;
  transcript->date = clock_.now();
  transcript->duration = duration;
  transcript->mode = modeName;
  transcript->audioFilePath = audioPath;
  transcript->status = "processing";
  save();
  return transcript;
}

TranscriptPtr PersistenceController::insertTranscript() {
  Transcript transcript;
  transcript.id = QUuid::createUuid();
  return context_->insert(std::move(transcript));
}

void PersistenceController::setTrimmedAudioPath(const TranscriptPtr& transcript, const QString& path) {
  transcript->trimmedAudioFilePath = path;
  save();
  log_.info("Set trimmed audio path for transcript: %{public}s", path);
}

void PersistenceController::updateTranscriptAudioPath(const TranscriptPtr& transcript, const QString& path) {
  if (!transcript->id) {
    log_.error("Attempted to update transcript audioFilePath with nil ID");
    return;
  }
  transcript->audioFilePath = path;
  if (transcript->recordingSession) transcript->recordingSession->audioFilePath = path;
  save();
  log_.info("Updated transcript audio file path to: %{public}s", path);
}

void PersistenceController::removeAudioFile(const std::optional<QString>& path, LogFormat<QString> deleted,
                                            LogFormat<QString> failed) {
  if (!path || path->isEmpty() || !QFileInfo(*path).isFile()) return;
  if (QFile::remove(*path))
    log_.info(deleted, *path);
  else
    log_.error(failed, *path);
}

void PersistenceController::deleteTranscript(const TranscriptPtr& transcript) {
  deleteTranscripts({transcript});
}

bool PersistenceController::deleteTranscripts(const std::vector<TranscriptPtr>& transcripts) {
  for (const TranscriptPtr& transcript : transcripts) {
    if (!transcript->id) {
      log_.error("Attempted to delete transcript with nil ID");
      continue;
    }
    removeAudioFile(transcript->audioFilePath, "Deleted audio file: %{public}s",
                    "Failed to delete audio file: %{public}s");
    removeAudioFile(transcript->trimmedAudioFilePath, "Deleted trimmed audio file: %{public}s",
                    "Failed to delete trimmed audio file: %{public}s");
    context_->remove(transcript);
  }
  return save();
}

std::vector<TranscriptPtr> PersistenceController::fetchTranscripts(int limit, int offset,
                                                                   const std::optional<QString>& search) {
  return fetchTranscriptPage(limit, offset, search).transcripts;
}

TranscriptPage PersistenceController::fetchTranscriptPage(int limit, int offset, const std::optional<QString>& search) {
  const SearchQuery query = parseSearch(search.value_or(QString()));
  // Rows that a failed save couldn't write yet are part of the history all the same: the newest part.
  std::vector<TranscriptPtr> pending;
  for (const TranscriptPtr& transcript : context_->pendingInserts<Transcript>())
    if (query.isEmpty() || matchesSearch(*transcript, query)) pending.insert(pending.begin(), transcript);
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
  if (query.isEmpty()) {
    auto count = context_->fetchNumber("SELECT count(*) FROM Transcript");
    if (count)
      page.totalCount = *count - context_->pendingRemovalCount<Transcript>();
    else
      error = count.error();
    auto rows = context_->fetch<Transcript>(std::string(newestFirst) + " LIMIT ? OFFSET ?", storedLimit, storedOffset);
    if (rows)
      stored = std::move(rows).value();
    else
      error = rows.error();
  } else if (auto matches = TranscriptMatches::find(*context_, query); !matches) {
    error = matches.error();
  } else {
    page.totalCount = matches->count();
    if (auto rowIds = matches->page(*context_, storedLimit, storedOffset); !rowIds) {
      error = rowIds.error();
    } else if (auto rows = context_->fetchRows<Transcript>(*rowIds); !rows) {
      error = rows.error();
    } else {
      stored = std::move(rows).value();
    }
  }
  if (error) reportFetchFailure("Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts", *error);
  page.totalCount += pendingCount;
  page.transcripts.insert(page.transcripts.end(), stored.begin(), stored.end());
  return page;
}

qint64 PersistenceController::countTranscripts(const std::optional<QString>& search) {
  return fetchTranscriptPage(0, 0, search).totalCount;
}

TranscriptPtr PersistenceController::fetchTranscript(const QString& id) {
  const auto parsed = parseId(id);
  if (!parsed) return nullptr;
  for (const TranscriptPtr& transcript : context_->pendingInserts<Transcript>())
    if (transcript->id == parsed) return transcript;
  const auto rows = valueOrReport(context_->fetch<Transcript>("WHERE id = ? LIMIT 1", *parsed),
                                  "Failed to fetch transcript by id: %{public}@", "Failed to fetch transcript by id");
  return rows.empty() ? nullptr : rows.front();
}

Result<TranscriptPtr, LookupFailure> PersistenceController::findTranscript(const QString& idOrPrefix) {
  using Kind = LookupFailure::Kind;
  const auto notFound = [&] {
    return LookupFailure{Kind::notFound, 0, localizedText("history.lookup.notFound", idOrPrefix)};
  };
  if (const TranscriptPtr whole = fetchTranscript(idOrPrefix)) return whole;
  const auto prefix = idPrefix(idOrPrefix);
  if (!prefix) return Failed{notFound()};
  std::vector<TranscriptPtr> found =
      valueOrReport(context_->fetch<Transcript>("WHERE id >= ? AND id < ?", *prefix, *prefix + 'g'),
                    "Failed to fetch transcript by id: %{public}@", "Failed to fetch transcript by id");
  for (const TranscriptPtr& transcript : context_->pendingInserts<Transcript>())
    if (transcript->id && transcript->id->toString(QUuid::WithoutBraces).startsWith(*prefix))
      found.push_back(transcript);
  if (found.empty()) return Failed{notFound()};
  if (found.size() > 1) {
    const auto count = static_cast<int>(found.size());
    return Failed{LookupFailure{Kind::ambiguous, count, localizedText("history.lookup.ambiguous", idOrPrefix, count)}};
  }
  return found.front();
}

std::vector<TranscriptPtr> PersistenceController::fetchTranscriptsWithStatus(const QString& status) {
  auto found = valueOrReport(context_->fetch<Transcript>(std::string("WHERE status = ? ") + newestFirst, status),
                             "Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts");
  appendPending(*context_, found);
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return transcript->status != status; });
  return found;
}

std::vector<TranscriptPtr> PersistenceController::fetchTranscriptsBefore(const QDateTime& date) {
  auto found = valueOrReport(context_->fetch<Transcript>(std::string("WHERE date < ? ") + newestFirst, date),
                             "Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts");
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return !transcript->date || *transcript->date >= date; });
  return found;
}

std::vector<TranscriptPtr> PersistenceController::fetchTranscriptsOfMode(const ModePtr& mode) {
  if (!mode) return {};
  auto found = valueOrReport(
      context_->fetch<Transcript>(std::string("WHERE modeRelationship = ? ") + newestFirst, context_->rowId(mode)),
      "Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts");
  appendPending(*context_, found);
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return transcript->modeRelationship != mode; });
  return found;
}

TranscriptPtr PersistenceController::fetchTranscriptOfSession(const RecordingSessionPtr& session) {
  if (!session) return nullptr;
  auto found = valueOrReport(
      context_->fetch<Transcript>(std::string("WHERE recordingSession = ? ") + newestFirst, context_->rowId(session)),
      "Failed to fetch transcripts: %{public}@", "Failed to fetch transcripts");
  appendPending(*context_, found);
  std::erase_if(found, [&](const TranscriptPtr& transcript) { return transcript->recordingSession != session; });
  return found.empty() ? nullptr : found.front();
}

// --- recording sessions

RecordingSessionPtr PersistenceController::insertRecordingSession() {
  RecordingSession session;
  session.id = QUuid::createUuid();
  return context_->insert(std::move(session));
}

RecordingSessionPtr PersistenceController::fetchRecordingSession(const QUuid& id) {
  for (const auto& session : context_->pendingInserts<RecordingSession>())
    if (session->id == id) return session;
  const auto rows =
      valueOrReport(context_->fetch<RecordingSession>("WHERE id = ? LIMIT 1", id),
                    "Failed to fetch recording sessions: %{public}@", "Failed to fetch recording sessions");
  return rows.empty() ? nullptr : rows.front();
}

std::vector<RecordingSessionPtr> PersistenceController::fetchUnfinishedRecordingSessions() {
  auto found = valueOrReport(context_->fetch<RecordingSession>("WHERE endTime IS NULL ORDER BY startTime, pk"),
                             "Failed to fetch recording sessions: %{public}@", "Failed to fetch recording sessions");
  appendPending(*context_, found);
  std::erase_if(found, [](const RecordingSessionPtr& session) { return session->endTime.has_value(); });
  return found;
}

std::vector<RecordingSessionPtr> PersistenceController::fetchRecordingSessionsWithStatus(const QString& status) {
  auto found = valueOrReport(context_->fetch<RecordingSession>("WHERE status = ? ORDER BY startTime, pk", status),
                             "Failed to fetch recording sessions: %{public}@", "Failed to fetch recording sessions");
  appendPending(*context_, found);
  std::erase_if(found, [&](const RecordingSessionPtr& session) { return session->status != status; });
  return found;
}

std::vector<RecordingSessionPtr> PersistenceController::fetchAllRecordingSessions() {
  auto found = valueOrReport(context_->fetch<RecordingSession>("ORDER BY startTime, pk"),
                             "Failed to fetch recording sessions: %{public}@", "Failed to fetch recording sessions");
  appendPending(*context_, found);
  return found;
}

void PersistenceController::deleteRecordingSession(const RecordingSessionPtr& session) {
  context_->remove(session);
  save();
}

// --- modes

Result<std::vector<ModePtr>, PlatformError> PersistenceController::loadModes() {
  auto modes = context_->fetch<Mode>("ORDER BY sortOrder, pk");
  if (!modes) return modes;
  appendPending(*context_, *modes);
  std::stable_sort(modes->begin(), modes->end(), &sortOrderBefore<Mode>);
  return modes;
}

std::vector<ModePtr> PersistenceController::fetchAllModes() {
  return valueOrReport(loadModes(), "Failed to fetch modes: %{public}@", "Failed to fetch all modes");
}

ModePtr PersistenceController::fetchDefaultMode() {
  for (const ModePtr& mode : context_->pendingInserts<Mode>())
    if (mode->isDefault == true) return mode;
  const auto modes = valueOrReport(context_->fetch<Mode>("WHERE isDefault = 1 LIMIT 1"),
                                   "Failed to fetch default mode: %{public}@", "Failed to fetch default mode");
  return modes.empty() ? nullptr : modes.front();
}

ModePtr PersistenceController::fetchMode(const QString& id) {
  const auto parsed = parseId(id);
  return parsed ? fetchMode(*parsed) : nullptr;
}

ModePtr PersistenceController::fetchMode(const QUuid& id) {
  for (const ModePtr& mode : context_->pendingInserts<Mode>())
    if (mode->id == id) return mode;
  const auto modes = valueOrReport(context_->fetch<Mode>("WHERE id = ? LIMIT 1", id),
                                   "Failed to fetch mode by id: %{public}@", "Failed to fetch mode by id");
  return modes.empty() ? nullptr : modes.front();
}

Result<ModePtr, LookupFailure> PersistenceController::fetchModeByName(const QString& name) {
  using Kind = LookupFailure::Kind;
  std::vector<ModePtr> exact, inAnyCase;
  for (const ModePtr& mode : fetchAllModes()) {
    if (mode->name == name)
      exact.push_back(mode);
    else if (mode->name && sameWord(*mode->name, name))
      inAnyCase.push_back(mode);
  }
  const auto& found = exact.empty() ? inAnyCase : exact;
  if (found.size() == 1) return found.front();
  if (found.empty()) return Failed{LookupFailure{Kind::notFound, 0, localizedText("modes.lookup.notFound", name)}};
  const auto count = static_cast<int>(found.size());
  return Failed{LookupFailure{Kind::ambiguous, count, localizedText("modes.lookup.ambiguous", name, count)}};
}

ModePtr PersistenceController::insertMode() {
  Mode mode;
  mode.id = QUuid::createUuid();
  return context_->insert(std::move(mode));
}

ModePtr PersistenceController::saveMode(const ModeData& data) {
  ModePtr mode;
  change([&] {
    if (!data.id.isNull()) mode = fetchMode(data.id);
    if (!mode) {
      const qint16 sortOrder = nextSortOrder(fetchAllModes());
      mode = insertMode();
      if (!data.id.isNull()) mode->id = data.id;
      mode->createdDate = clock_.now();
      mode->isSystemProvided = false;
      mode->sortOrder = sortOrder;
    }
    applyTo(data, *mode);
    if (data.postProcessingMode == PostProcessingMode::local)
      mode->postProcessingProvider = rawValue(PostProcessingProvider::localGemma);
    mode->modifiedDate = clock_.now();
  });
  return mode;
}

ModePtr PersistenceController::createMode(const ModeData& data) {
  ModeData fresh = data;
  fresh.id = QUuid();
  return saveMode(fresh);
}

Result<void, LastModeRefusal> PersistenceController::deleteMode(const ModePtr& mode) {
  bool isLast = false;
  change([&] {
    isLast = fetchAllModes().size() <= 1;
    if (!isLast) context_->remove(mode);
  });
  if (!isLast) return {};
  return Failed{LastModeRefusal{"Cannot Delete Last Mode",
                                "You cannot delete your last remaining mode. Create a new mode first, then you can "
                                "delete this one."}};
}

void PersistenceController::setModeOrder(const std::vector<QUuid>& order) {
  change([&] {
    std::vector<ModePtr> modes = fetchAllModes();
    const auto place = [&](const ModePtr& mode) {
      return mode->id ? std::find(order.begin(), order.end(), *mode->id) : order.end();
    };
    std::stable_sort(modes.begin(), modes.end(),
                     [&](const ModePtr& a, const ModePtr& b) { return place(a) < place(b); });
    qint16 number = 0;
    for (const ModePtr& mode : modes) {
      mode->sortOrder = number;
      if (number < std::numeric_limits<qint16>::max()) ++number;
    }
  });
}

// --- vocabulary

std::vector<VocabularyPtr> PersistenceController::fetchAllVocabularyItems() {
  auto items = valueOrReport(context_->fetch<Vocabulary>("ORDER BY word, pk"), "Failed to fetch vocabulary: %{public}@",
                             "Failed to fetch vocabulary");
  appendPending(*context_, items);
  std::stable_sort(items.begin(), items.end(), [](const VocabularyPtr& a, const VocabularyPtr& b) {
    return a->word.value_or(QString()) < b->word.value_or(QString());
  });
  return items;
}

VocabularyPtr PersistenceController::fetchVocabularyItem(const QString& word) {
  const QString wanted = trimmedText(word);
  for (const VocabularyPtr& item : fetchAllVocabularyItems())
    if (item->word && sameWord(*item->word, wanted)) return item;
  return nullptr;
}

bool PersistenceController::vocabularyItemExists(const QString& word) {
  return fetchVocabularyItem(word) != nullptr;
}

bool PersistenceController::addVocabularyItem(const QString& word, const std::optional<QString>& replacement) {
  bool isNew = false;
  change([&] {
    if (vocabularyItemExists(word)) return;
    Vocabulary item;
    item.id = QUuid::createUuid();
    item.word = trimmedText(word);
    item.replacement = trimmedReplacement(replacement);
    item.createdDate = clock_.now();
    item.sortOrder = nextSortOrder(fetchAllVocabularyItems());
    context_->insert(std::move(item));
    isNew = true;
  });
  return isNew;
}

void PersistenceController::deleteVocabularyItem(const QUuid& id) {
  for (const VocabularyPtr& item : fetchAllVocabularyItems()) {
    if (item->id != id) continue;
    context_->remove(item);
    save();
    return;
  }
}

bool PersistenceController::deleteVocabularyItem(const QString& word) {
  const VocabularyPtr item = fetchVocabularyItem(word);
  if (!item) return false;
  context_->remove(item);
  save();
  return true;
}

bool PersistenceController::updateVocabularyItem(const QUuid& id, const QString& word,
                                                 const std::optional<QString>& replacement) {
  const QString trimmed = trimmedText(word);
  if (trimmed.isEmpty()) return false;
  bool isChanged = false;
  change([&] {
    VocabularyPtr target;
    for (const VocabularyPtr& item : fetchAllVocabularyItems()) {
      if (item->id == id)
        target = item;
      else if (item->word && sameWord(*item->word, trimmed))
        return;
    }
    if (!target) return;
    target->word = trimmed;
    target->replacement = trimmedReplacement(replacement);
    isChanged = true;
  });
  return isChanged;
}

// --- usage

std::shared_ptr<UsageTracking> PersistenceController::getOrCreateUsageTracking() {
  const auto find = [this]() -> std::shared_ptr<UsageTracking> {
    const auto pending = context_->pendingInserts<UsageTracking>();
    if (!pending.empty()) return pending.front();
    const auto rows = valueOrReport(context_->fetch<UsageTracking>("ORDER BY pk LIMIT 1"),
                                    "Failed to fetch usage tracking: %{public}@", "Failed to fetch usage tracking");
    return rows.empty() ? nullptr : rows.front();
  };
  if (auto usage = find()) return usage;
  std::shared_ptr<UsageTracking> created;
  change([&] {
    created = find();  // another process may have been faster
    if (created) return;
    UsageTracking usage;
    usage.id = QUuid::createUuid();
    usage.dailyTranscriptionSeconds = 0;
    usage.totalModelsDownloaded = qint16{0};
    usage.lastResetDate = usage.firstUsageDate = clock_.now();
    created = context_->insert(std::move(usage));
  });
  return created;
}

bool PersistenceController::isToday(const std::optional<QDateTime>& date) const {
  return date && date->toTimeZone(calendar_).date() == clock_.now().toTimeZone(calendar_).date();
}

bool PersistenceController::rollUsageOver(UsageTracking& usage) {
  if (isToday(usage.lastResetDate)) return false;
  usage.dailyTranscriptionSeconds = 0;
  usage.lastResetDate = clock_.now();
  return true;
}

void PersistenceController::addTranscriptionUsage(qint64 seconds) {
  change([&] {
    const auto usage = getOrCreateUsageTracking();
    rollUsageOver(*usage);
    usage->dailyTranscriptionSeconds = usage->dailyTranscriptionSeconds.value_or(0) + seconds;
  });
}

qint64 PersistenceController::todaysTranscriptionSeconds() {
  const auto usage = getOrCreateUsageTracking();
  if (isToday(usage->lastResetDate)) return usage->dailyTranscriptionSeconds.value_or(0);
  qint64 seconds = 0;
  change([&] {
    const auto current = getOrCreateUsageTracking();
    rollUsageOver(*current);
    seconds = current->dailyTranscriptionSeconds.value_or(0);
  });
  return seconds;
}

}  // namespace quillmere
