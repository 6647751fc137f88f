#pragma once
#include <QTimeZone>
#include <memory>
#include <optional>

#include "storage/ModeStore.h"
#include "storage/RecordingSessionStore.h"
#include "storage/Store.h"
#include "storage/TranscriptStore.h"
#include "storage/UsageStore.h"
#include "storage/VocabularyStore.h"

namespace quillmere {

// The process that a store is opened in.
struct StoreProcess {
  // Tries again what another process's lock holds up. Without one the next save does.
  Executor* executor = nullptr;
  // Names this process to others, for rows that it works on. Empty: nobody asks.
  QString owner;
};

// The owner of the object store: one SQLite file that several processes may have open at once.
//
// Entities are live objects. Every row has at most one object in this process; whoever holds it may change its fields,
// and save() writes exactly the changed columns in one transaction. An object that was changed and let go before the
// save is written all the same. Objects may outlive the controller, but changes made after its end go nowhere.
// Objects are made by the create... and insert... operations only; one that was made elsewhere is linked by its `id`.
//
// Main thread only. Nothing throws, and no call waits longer than 25 ms for another process's lock: what is held up
// waits as an unsaved change and is written once the lock is free, at the latest by the destructor (which does wait, up
// to 10 s). A failed fetch gives the empty list or no object, a failed save keeps the pending changes for the next one;
// both are logged under "coredata" and reported.
class PersistenceController {
 public:
  // Where the store lies: the file's path, or nothing for a store in memory (which gets no seed).
  using Location = std::optional<QString>;
  static Location inMemory() { return std::nullopt; }

  // Opens, creates or migrates the store and seeds the default mode; another process that does this just now is waited
  // for. A file that is damaged, foreign or newer than this program is left as it is; the error's description is "Core
  // Data failed to load: ...", fit to be shown. `calendar` decides where a day begins for the usage record.
  static Result<std::unique_ptr<PersistenceController>, PlatformError> open(
      const Location& location, const Clock& clock, const Logging& logging, ErrorReporting* reporting = nullptr,
      const QTimeZone& calendar = QTimeZone::systemTimeZone(), StoreProcess process = {});

  ~PersistenceController();
  PersistenceController(const PersistenceController&) = delete;
  PersistenceController& operator=(const PersistenceController&) = delete;

  TranscriptStore& transcripts() { return transcripts_; }
  RecordingSessionStore& recordingSessions() { return recordingSessions_; }
  ModeStore& modes() { return modes_; }
  VocabularyStore& vocabulary() { return vocabulary_; }
  UsageStore& usage() { return usage_; }

  // --- saving and watching
  // True when nothing is left to write. False also means that another process's lock holds it up just now.
  bool save() { return store_.save(); }
  bool hasChanges() const { return store_.hasChanges(); }
  // The last save failed, and not for another process's lock: nobody tries again by itself. For those who tell a person
  // that a change isn't saved.
  bool isSaveRefused() const { return store_.isSaveRefused(); }
  // Saves, and waits for another process if it has to. True when nothing is left to write; false when the save is
  // refused or the time is up. For those who go on only with what is stored. A cancel leaves the changes waiting.
  Task<bool> waitUntilSaved(Duration limit = std::chrono::seconds(10)) { return store_.waitUntilSaved(limit); }
  // Takes over what another process has written since: fields without an unsaved change of our own get the stored
  // value. True when there was something. Every fetch refreshes the objects it returns anyway.
  bool refreshIfChanged() { return store_.refreshIfChanged(); }
  // Called after each save that wrote something and after each refreshIfChanged() that found something.
  [[nodiscard]] Subscription observeChanges(std::function<void(const StoreChange&)> observer) {
    return store_.observeChanges(std::move(observer));
  }

  // --- the stores' operations, for callers that don't name the store
  using OptionalText = std::optional<QString>;
  // clang-format off
  TranscriptPtr createTranscript(double duration, const OptionalText& modeName, const OptionalText& audioPath, const QString& status = TranscriptStatus::processing) { return transcripts_.createTranscript(duration, modeName, audioPath, status); }
  TranscriptPtr insertTranscript() { return transcripts_.insertTranscript(); }
  void setTrimmedAudioPath(const TranscriptPtr& transcript, const QString& path) { transcripts_.setTrimmedAudioPath(transcript, path); }
  void updateTranscriptAudioPath(const TranscriptPtr& transcript, const QString& path) { transcripts_.updateTranscriptAudioPath(transcript, path); }
  void deleteTranscript(const TranscriptPtr& transcript) { transcripts_.deleteTranscript(transcript); }
  bool deleteTranscripts(const std::vector<TranscriptPtr>& transcripts) { return transcripts_.deleteTranscripts(transcripts); }
  std::vector<TranscriptPtr> fetchTranscripts(int limit, int offset = 0, const OptionalText& search = {}, HistoryFilter filter = HistoryFilter::kept) { return transcripts_.fetchTranscripts(limit, offset, search, filter); }
  TranscriptPage fetchTranscriptPage(int limit, int offset = 0, const OptionalText& search = {}, HistoryFilter filter = HistoryFilter::kept) { return transcripts_.fetchTranscriptPage(limit, offset, search, filter); }
  qint64 countTranscripts(const OptionalText& search = {}, HistoryFilter filter = HistoryFilter::kept) { return transcripts_.countTranscripts(search, filter); }
  TranscriptPtr fetchTranscript(const QString& id) { return transcripts_.fetchTranscript(id); }
  Result<TranscriptPtr, LookupFailure> findTranscript(const QString& idOrPrefix) { return transcripts_.findTranscript(idOrPrefix); }
  std::vector<TranscriptPtr> fetchTranscriptsWithStatus(const QString& status) { return transcripts_.fetchTranscriptsWithStatus(status); }
  std::vector<TranscriptPtr> fetchTranscriptsBefore(const QDateTime& date) { return transcripts_.fetchTranscriptsBefore(date); }
  TranscriptPtr fetchTranscriptOfSession(const RecordingSessionPtr& session) { return transcripts_.fetchTranscriptOfSession(session); }
  RecordingSessionPtr insertRecordingSession() { return recordingSessions_.insertRecordingSession(); }
  RecordingSessionPtr fetchRecordingSession(const QUuid& id) { return recordingSessions_.fetchRecordingSession(id); }
  std::vector<RecordingSessionPtr> fetchUnfinishedRecordingSessions() { return recordingSessions_.fetchUnfinishedRecordingSessions(); }
  std::vector<RecordingSessionPtr> fetchRecordingSessionsWithStatus(const QString& status) { return recordingSessions_.fetchRecordingSessionsWithStatus(status); }
  std::vector<RecordingSessionPtr> fetchAllRecordingSessions() { return recordingSessions_.fetchAllRecordingSessions(); }
  void deleteRecordingSession(const RecordingSessionPtr& session) { recordingSessions_.deleteRecordingSession(session); }
  std::vector<ModePtr> fetchAllModes() { return modes_.fetchAllModes(); }
  ModePtr fetchDefaultMode() { return modes_.fetchDefaultMode(); }
  ModePtr fetchMode(const QString& id) { return modes_.fetchMode(id); }
  ModePtr fetchMode(const QUuid& id) { return modes_.fetchMode(id); }
  Result<ModePtr, LookupFailure> fetchModeByName(const QString& name) { return modes_.fetchModeByName(name); }
  ModePtr saveMode(const ModeData& data) { return modes_.saveMode(data); }
  ModePtr createMode(const ModeData& data) { return modes_.createMode(data); }
  Result<void, LastModeRefusal> deleteMode(const ModePtr& mode) { return modes_.deleteMode(mode); }
  void setModeOrder(const std::vector<QUuid>& order) { modes_.setModeOrder(order); }
  bool addVocabularyItem(const QString& word, const OptionalText& replacement = {}) { return vocabulary_.addVocabularyItem(word, replacement); }
  bool vocabularyItemExists(const QString& word) { return vocabulary_.vocabularyItemExists(word); }
  void deleteVocabularyItem(const QUuid& id) { vocabulary_.deleteVocabularyItem(id); }
  bool deleteVocabularyItem(const QString& word) { return vocabulary_.deleteVocabularyItem(word); }
  bool updateVocabularyItem(const QUuid& id, const QString& word, const OptionalText& replacement) { return vocabulary_.updateVocabularyItem(id, word, replacement); }
  VocabularyPtr fetchVocabularyItem(const QString& word) { return vocabulary_.fetchVocabularyItem(word); }
  std::vector<VocabularyPtr> fetchAllVocabularyItems() { return vocabulary_.fetchAllVocabularyItems(); }
  std::shared_ptr<UsageTracking> getOrCreateUsageTracking() { return usage_.getOrCreateUsageTracking(); }
  void addTranscriptionUsage(qint64 seconds) { usage_.addTranscriptionUsage(seconds); }
  qint64 todaysTranscriptionSeconds() { return usage_.todaysTranscriptionSeconds(); }
  // clang-format on

 private:
  PersistenceController(std::unique_ptr<ObjectContext> context, Store::Services services, const QTimeZone& calendar,
                        QString processOwner);

  Store store_;
  TranscriptStore transcripts_;
  RecordingSessionStore recordingSessions_;
  ModeStore modes_;
  VocabularyStore vocabulary_;
  UsageStore usage_;
};

}  // namespace quillmere
