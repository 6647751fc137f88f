#include "transcripts/HistorySweeper.h"

#include <QFile>
#include <QFileInfo>

#include "base/async/Offload.h"
#include "base/text/LocalizedText.h"
#include "storage/AbsentDisk.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr Duration pause = 1h;
// An owner of which nothing can be learned is believed as long as this.
constexpr qint64 unknownLifetimeSeconds = 24 * 60 * 60;

// Those that are still there afterwards, or will be when their disk is.
QStringList removeFiles(const QStringList& paths, const StopFlag& stop) {
  QStringList left;
  for (const QString& path : paths)
    if (isOnAbsentDisk(path) || (QFileInfo(path).isFile() && (stop.isSet() || !QFile::remove(path)))) left << path;
  return left;
}

}  // namespace

HistorySweeper::HistorySweeper(Dependencies use, const Logging& logging)
    : use_(std::move(use)), log_(logging.logger(QStringLiteral("HistorySweeper"))), scope_(use_.executor) {}

void HistorySweeper::start() {
  if (!std::exchange(isStarted_, true)) scope_.spawn(run());
}

Task<void> HistorySweeper::run() {
  while (true) {
    co_await sweep();
    co_await sleepFor(pause);
  }
}

Task<void> HistorySweeper::sweep() {
  endAbandoned();
  co_await removeDiscarded();
}

void HistorySweeper::endAbandoned() {
  const auto end = [log = log_](Transcript& row) {
    const QString reason = localizedText("history.failed.interrupted");
    row.status = TranscriptStatus::failed;
    row.failedReason = reason;
    if (row.text.value_or(QString()).isEmpty() || row.text == processingPlaceholder) row.text = reason;
    log.notice("A transcription whose process has ended is marked as failed");
  };
  use_.persistence.transcripts().endAbandonedTranscripts(use_.isProcessAlive,
                                                         use_.clock.now().addSecs(-unknownLifetimeSeconds), end);
}

Task<void> HistorySweeper::removeDiscarded() {
  TranscriptStore& transcripts = use_.persistence.transcripts();
  const QDateTime limit = use_.clock.now().addSecs(-discardedLifetimeSeconds);
  std::vector<TranscriptPtr> rows = transcripts.fetchTranscriptsWithStatus(TranscriptStatus::discarded);
  std::erase_if(rows, [&](const TranscriptPtr& row) { return row->date && *row->date > limit; });
  if (rows.empty()) co_return;
  // Files first: a row without its audio is found again, audio without a row is not.
  const QStringList files = transcripts.audioFilesOnlyOf(rows);
  auto removing = [files](const StopFlag& stop) { return removeFiles(files, stop); };
  const QStringList left = co_await offload(use_.fileWorkers, removing);
  for (const QString& path : left) log_.error("Failed to delete audio file: %{public}s", path);
  // Somebody may have had it transcribed meanwhile.
  std::erase_if(rows, [&](const TranscriptPtr& row) {
    return row->status != TranscriptStatus::discarded || left.contains(row->audioFilePath.value_or(QString())) ||
           left.contains(row->trimmedAudioFilePath.value_or(QString()));
  });
  transcripts.deleteRows(rows);
  log_.info("Removed %{public}ld recordings that were thrown away a day ago", qint64(rows.size()));
}

}  // namespace quillmere
