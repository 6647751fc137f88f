#pragma once
#include <QList>
#include <QTimeZone>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Clock.h"
#include "base/Published.h"
#include "base/Result.h"
#include "base/log/Logger.h"
#include "domain/Entities.h"
#include "domain/Errors.h"
#include "domain/ModeData.h"
#include "ports/ErrorReporting.h"

namespace quillmere {

class ObjectContext;

// Which kinds of rows a save or another process may have changed.
struct StoreChange {
  bool isFromOtherProcess = false;
  bool modes = false;
  bool transcripts = false;
  bool recordingSessions = false;
  bool vocabulary = false;
  bool usageTracking = false;
  bool operator==(const StoreChange&) const = default;
};

// Why a row named by a person wasn't found, with a sentence for that person.
struct LookupFailure {
  enum class Kind { notFound, ambiguous };
  Kind kind = Kind::notFound;
  int matchCount = 0;
  QString message;
  bool operator==(const LookupFailure&) const = default;
};

// Refusal to delete the last mode; title and message as the interface shows them.
struct LastModeRefusal {
  QString title;
  QString message;
};

struct TranscriptPage {
  std::vector<TranscriptPtr> transcripts;
  qint64 totalCount = 0;  // of all matches, not of this page
};

// The owner of the object store: one SQLite file that several processes may have open at once.
//
// Entities are live objects. Every row has at most one object in this process; whoever holds it may change its fields,
// and save() writes exactly the changed columns in one transaction. An object that was changed and let go before the
// save is written all the same. Objects may outlive the controller, but changes made after its end go nowhere.
// Objects are made by the create... and insert... operations only; one that was made elsewhere is linked by its `id`.
//
// Main thread only. Nothing throws. A failed fetch gives the empty list or no object, a failed save keeps the pending
// changes for the next one; both are logged under "coredata" and reported.
class PersistenceController {
 public:
  // Where the store lies: the file's path, or nothing for a store in memory (which gets no seed).
  using Location = std::optional<QString>;
  static Location inMemory() { return std::nullopt; }

  // Opens, creates or migrates the store and seeds the default mode. A file that is damaged, foreign or newer than this
  // program is left as it is; the error's description is "Core Data failed to load: ...", fit to be shown.
  // `calendar` decides where a day begins for the usage record.
  static Result<std::unique_ptr<PersistenceController>, PlatformError> open(
      const Location& location, const Clock& clock, const Logging& logging, ErrorReporting* reporting = nullptr,
      const QTimeZone& calendar = QTimeZone::systemTimeZone());

  ~PersistenceController();
  PersistenceController(const PersistenceController&) = delete;
  PersistenceController& operator=(const PersistenceController&) = delete;

  // --- saving and watching
  // True when nothing is left to write.
  bool save();
  bool hasChanges() const;
  // Takes over what another process has written since: fields without an unsaved change of our own get the stored
  // value. True when there was something. Every fetch refreshes the objects it returns anyway.
  bool refreshIfChanged();
  // Called after each save that wrote something and after each refreshIfChanged() that found something.
  [[nodiscard]] Subscription observeChanges(std::function<void(const StoreChange&)> observer);

  // --- transcripts
  TranscriptPtr createTranscript(double duration, const std::optional<QString>& modeName,
                                 const std::optional<QString>& audioPath);
  void setTrimmedAudioPath(const TranscriptPtr& transcript, const QString& path);
  void updateTranscriptAudioPath(const TranscriptPtr& transcript, const QString& path);
  // Removes the row and its audio files.
  void deleteTranscript(const TranscriptPtr& transcript);
  bool deleteTranscripts(const std::vector<TranscriptPtr>& transcripts);
  // Newest first. A negative limit means all. `search`: every word must begin a word of the texts or of the mode's
  // name, in any case and without regard to accents; scripts without blanks and inner parts of words match too.
  std::vector<TranscriptPtr> fetchTranscripts(int limit, int offset = 0, const std::optional<QString>& search = {});
  // The same with the number of all matches.
  TranscriptPage fetchTranscriptPage(int limit, int offset = 0, const std::optional<QString>& search = {});
  qint64 countTranscripts(const std::optional<QString>& search = {});
  // Full identifier (with or without braces and dashes); nothing for a text that isn't one.
  TranscriptPtr fetchTranscript(const QString& id);
  // Full identifier or its beginning, at least four hexadecimal digits, as a person types it.
  Result<TranscriptPtr, LookupFailure> findTranscript(const QString& idOrPrefix);
  std::vector<TranscriptPtr> fetchTranscriptsWithStatus(const QString& status);
  std::vector<TranscriptPtr> fetchTranscriptsBefore(const QDateTime& date);
  std::vector<TranscriptPtr> fetchTranscriptsOfMode(const ModePtr& mode);
  TranscriptPtr fetchTranscriptOfSession(const RecordingSessionPtr& session);
  // A new row with an id, written by the next save().
  TranscriptPtr insertTranscript();

  // --- recording sessions
  RecordingSessionPtr insertRecordingSession();
  RecordingSessionPtr fetchRecordingSession(const QUuid& id);
  std::vector<RecordingSessionPtr> fetchUnfinishedRecordingSessions();                       // no endTime, oldest first
  std::vector<RecordingSessionPtr> fetchRecordingSessionsWithStatus(const QString& status);  // oldest first
  std::vector<RecordingSessionPtr> fetchAllRecordingSessions();
  void deleteRecordingSession(const RecordingSessionPtr& session);

  // --- modes
  std::vector<ModePtr> fetchAllModes();  // by sortOrder
  ModePtr fetchDefaultMode();
  ModePtr fetchMode(const QString& id);
  ModePtr fetchMode(const QUuid& id);
  // Any case; an exact match wins over matches in another case.
  Result<ModePtr, LookupFailure> fetchModeByName(const QString& name);
  // Writes an edited mode: onto the row with its id, else onto a new row (a null id gets a fresh one).
  ModePtr saveMode(const ModeData& data);
  // A new mode from the given values; the data's id is ignored.
  ModePtr createMode(const ModeData& data);
  // The row only; storage/ModeDeletion.h cares for settings and selection too.
  Result<void, LastModeRefusal> deleteMode(const ModePtr& mode);
  // Renumbers: these first, in this order, the others behind them in their present order.
  void setModeOrder(const std::vector<QUuid>& order);
  ModePtr insertMode();

  // --- vocabulary
  bool addVocabularyItem(const QString& word, const std::optional<QString>& replacement = {});
  bool vocabularyItemExists(const QString& word);
  void deleteVocabularyItem(const QUuid& id);
  // By word, in any case; false when there is none.
  bool deleteVocabularyItem(const QString& word);
  // Changes word and replacement of the entry; false for an unknown entry, an empty word or one that another entry has.
  bool updateVocabularyItem(const QUuid& id, const QString& word, const std::optional<QString>& replacement);
  VocabularyPtr fetchVocabularyItem(const QString& word);  // in any case
  std::vector<VocabularyPtr> fetchAllVocabularyItems();    // by word

  // --- usage
  std::shared_ptr<UsageTracking> getOrCreateUsageTracking();
  void addTranscriptionUsage(qint64 seconds);
  qint64 todaysTranscriptionSeconds();

 private:
  PersistenceController(std::unique_ptr<ObjectContext> context, const Clock& clock, const Logging& logging,
                        ErrorReporting* reporting, QTimeZone calendar);
  struct Observers;
  void seedDefaultModes();
  void report(const QString& text, const PlatformError& error);
  void reportFetchFailure(LogFormat<QString> logFormat, const QString& reportText, const PlatformError& error);
  template <typename T>
  std::vector<T> valueOrReport(Result<std::vector<T>, PlatformError> result, LogFormat<QString> logFormat,
                               const char* reportText);
  bool finishSave(const Result<void, PlatformError>& saved);
  // Reads and changes in one write transaction.
  bool change(const std::function<void()>& body);
  Result<std::vector<ModePtr>, PlatformError> loadModes();
  void removeAudioFile(const std::optional<QString>& path, LogFormat<QString> deleted, LogFormat<QString> failed);
  bool isToday(const std::optional<QDateTime>& date) const;
  bool rollUsageOver(UsageTracking& usage);

  std::unique_ptr<ObjectContext> context_;
  const Clock& clock_;
  Logger log_;
  ErrorReporting* reporting_;
  QTimeZone calendar_;
  std::unique_ptr<Observers> observers_;
};

inline constexpr const char* defaultModeId = "00000000-0000-0000-0000-000000000001";
inline constexpr const char* localDefaultModeId = "00000000-0000-0000-0000-000000000002";
inline constexpr const char* processingPlaceholder = "Processing transcription...";

}  // namespace quillmere
