#include "recording/RecordingsMove.h"

#include <unistd.h>

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <vector>

#include "audio/NewFile.h"
#include "base/async/Offload.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

constexpr qint64 pieceBytes = 1 << 20;

// A copy in the folder, under the same name where that is free.
Result<NewFile, QString> copyInto(const QString& folder, const QString& file, const StopFlag& stop) {
  const QFileInfo info(file);
  auto target = NewFile::create(folder, info.completeBaseName(), info.suffix());
  if (!target) return Failed{localizedText("settings.recordingsFolder.notWritable")};
  QFile source(file), copy(target->path());
  if (!source.open(QIODevice::ReadOnly)) return Failed{source.errorString()};
  if (!copy.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) return Failed{copy.errorString()};
  QByteArray piece(pieceBytes, Qt::Uninitialized);
  while (!stop.isSet()) {
    const qint64 count = source.read(piece.data(), piece.size());
    if (count < 0) return Failed{source.errorString()};
    if (count == 0) break;
    if (copy.write(piece.constData(), count) != count) return Failed{copy.errorString()};
  }
  if (::fdatasync(copy.handle()) != 0) return Failed{copy.errorString()};
  return *std::move(target);
}

}  // namespace

RecordingsMove::RecordingsMove(PersistenceController& persistence, WorkerPool& fileWorkers, const Logging& logging)
    : persistence_(persistence), fileWorkers_(fileWorkers), log_(logging.logger(QStringLiteral("RecordingsMove"))) {}

QStringList RecordingsMove::filesIn(const QString& folder) {
  QStringList files;
  for (const TranscriptPtr& row : persistence_.fetchTranscripts(-1, 0, std::nullopt, HistoryFilter::all))
    for (const auto& path : {row->audioFilePath, row->trimmedAudioFilePath})
      if (path && QFileInfo(*path).path() == folder && QFileInfo(*path).isFile()) files << *path;
  files.removeDuplicates();
  return files;
}

int RecordingsMove::count(const QString& folder) {
  return int(filesIn(folder).size());
}

bool RecordingsMove::isInUse(const QString& file) {
  const auto rows = persistence_.transcripts().fetchTranscriptsWithAudio(file);
  return rows.empty() || std::ranges::any_of(rows, [](const TranscriptPtr& row) {
           return row->status == TranscriptStatus::processing;
         });
}

void RecordingsMove::rename(const QString& from, const QString& to) {
  for (const TranscriptPtr& row : persistence_.transcripts().fetchTranscriptsWithAudio(from)) {
    if (row->audioFilePath == from) row->audioFilePath = to;
    if (row->trimmedAudioFilePath == from) row->trimmedAudioFilePath = to;
    if (row->recordingSession && row->recordingSession->audioFilePath == from)
      row->recordingSession->audioFilePath = to;
  }
  persistence_.save();
}

void RecordingsMove::leave(Outcome& outcome, const QString& reason) const {
  ++outcome.stayed;
  if (!outcome.reason.isEmpty() || reason.isEmpty()) return;
  outcome.reason = reason;
  log_.error("A recording could not be moved: %{public}s", reason);
}

Task<RecordingsMove::Outcome> RecordingsMove::run(QString from, QString to) {
  Outcome outcome;
  for (const QString& file : filesIn(from)) {
    if (!outcome.reason.isEmpty() || isInUse(file)) {
      leave(outcome, QString());
      continue;
    }
    auto copying = offload(fileWorkers_, [file, to](const StopFlag& stop) { return copyInto(to, file, stop); });
    Result<NewFile, QString> copy = co_await std::move(copying);
    if (!copy) {
      leave(outcome, copy.error());
      continue;
    }
    // Its row may have been deleted, or sent over the road once more.
    if (isInUse(file)) {
      leave(outcome, QString());
      continue;
    }
    rename(file, (*copy).keep());
    const bool isStored = co_await persistence_.waitUntilSaved();
    if (!isStored) {
      leave(outcome, localizedText("cli.store.notSaved"));
      continue;
    }
    auto removing = offload(fileWorkers_, [file](const StopFlag&) { return QFile::remove(file); });
    co_await std::move(removing);
    ++outcome.moved;
  }
  log_.info("Moved %ld recordings to the new folder, %ld stay", qint64(outcome.moved), qint64(outcome.stayed));
  co_return outcome;
}

}  // namespace quillmere
