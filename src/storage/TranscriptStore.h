#pragma once
#include <QDateTime>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "base/Result.h"
#include "domain/Entities.h"
#include "storage/HistoryFilter.h"
#include "storage/RowLookup.h"

namespace quillmere {

class Store;

struct TranscriptPage {
  std::vector<TranscriptPtr> transcripts;
  qint64 totalCount = 0;  // of all matches, not of this page
};

inline constexpr const char* processingPlaceholder = "Processing transcription...";

// The history's rows. Main thread only; failures are told as PersistenceController says.
//
// A row whose status is "processing" when it is saved carries the process that has made it so, and loses it with that
// status.
class TranscriptStore {
 public:
  // `processOwner` names this process; empty leaves rows without one.
  TranscriptStore(Store& store, QString processOwner);

  // A saved row with the placeholder as its text; one that doesn't begin as "processing" has no text.
  TranscriptPtr createTranscript(double duration, const std::optional<QString>& modeName,
                                 const std::optional<QString>& audioPath,
                                 const QString& status = TranscriptStatus::processing);
  // A new row with an id, written by the next save().
  TranscriptPtr insertTranscript();
  void setTrimmedAudioPath(const TranscriptPtr& transcript, const QString& path);
  void updateTranscriptAudioPath(const TranscriptPtr& transcript, const QString& path);

  // Removes rows and their audio files; a file that another row needs too stays.
  void deleteTranscript(const TranscriptPtr& transcript);
  bool deleteTranscripts(const std::vector<TranscriptPtr>& transcripts);
  // The two steps one by one, for those who remove files elsewhere.
  QStringList audioFilesOnlyOf(const std::vector<TranscriptPtr>& transcripts);
  bool deleteRows(const std::vector<TranscriptPtr>& transcripts);

  // Newest first. A negative limit means all. `search`: every word must begin a word of the texts or of the mode's
  // name, in any case and without regard to accents; scripts without blanks and inner parts of words match too.
  std::vector<TranscriptPtr> fetchTranscripts(int limit, int offset = 0, const std::optional<QString>& search = {},
                                              HistoryFilter filter = HistoryFilter::kept);
  // The same with the number of all matches.
  TranscriptPage fetchTranscriptPage(int limit, int offset = 0, const std::optional<QString>& search = {},
                                     HistoryFilter filter = HistoryFilter::kept);
  qint64 countTranscripts(const std::optional<QString>& search = {}, HistoryFilter filter = HistoryFilter::kept);

  // The rest finds discarded rows too.
  // Full identifier (with or without braces and dashes); nothing for a text that isn't one.
  TranscriptPtr fetchTranscript(const QString& id);
  // Full identifier or its beginning, at least four hexadecimal digits, as a person types it.
  Result<TranscriptPtr, LookupFailure> findTranscript(const QString& idOrPrefix);
  std::vector<TranscriptPtr> fetchTranscriptsWithStatus(const QString& status);
  std::vector<TranscriptPtr> fetchTranscriptsBefore(const QDateTime& date);
  std::vector<TranscriptPtr> fetchTranscriptsWithAudio(const QString& path);  // the recording or the trimmed one
  TranscriptPtr fetchTranscriptOfSession(const RecordingSessionPtr& session);

  // Hands every row that is "processing" for nobody to `end`, which gives it another status, in one write transaction
  // (perhaps after this call, when another process writes just now). Nobody means that isProcessAlive(owner) says false
  // or the row names no owner; where it can't tell, the row is given up when nothing has happened to it since
  // `unknownSince`. Rows of this process are never handed over. Both functions may be kept until then.
  using IsProcessAlive = std::function<std::optional<bool>(const QString& owner)>;
  void endAbandonedTranscripts(IsProcessAlive isProcessAlive, QDateTime unknownSince,
                               std::function<void(Transcript&)> end);

 private:
  void writeOwners();
  bool isAbandoned(const Transcript& row, const IsProcessAlive& isProcessAlive, const QDateTime& unknownSince) const;
  bool isAudioOfAnother(const QString& path, const std::vector<TranscriptPtr>& transcripts);
  void removeAudioFile(const QString& path, LogFormat<QString> deleted, LogFormat<QString> failed);
  std::vector<TranscriptPtr> fetchRows(const std::string& condition, const auto&... values);

  Store& store_;
  QString processOwner_;
};

}  // namespace quillmere
