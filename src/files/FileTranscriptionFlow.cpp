#include "files/FileTranscriptionFlow.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>

#include "audio/NewFile.h"
#include "base/async/Offload.h"
#include "files/FileCopier.h"
#include "files/FileLimits.h"
#include "files/TextPath.h"
#include "storage/PrivateFolder.h"

namespace quillmere {
namespace {

QString displayPath(const std::filesystem::path& path) {
  return QFile::decodeName(QByteArray::fromStdString(path.string()));
}

QString extensionOf(const QString& name) {
  return QFileInfo(name).suffix();
}

QString baseNameOf(const QString& name) {
  return QFileInfo(name).completeBaseName();
}

struct SizeOnDisk {
  qint64 bytes = 0;
};

QString defaultModeName() {
  return QStringLiteral("Default");
}

QString soundExtension() {
  return QStringLiteral("m4a");
}

bool isNoAudioTrack(const AnyError& error) {
  const auto* problem = std::get_if<AudioError>(&error);
  return problem && problem->kind == AudioError::Kind::noAudioTrack;
}

Failed<FileTranscriptionError> copyFailed(QString reason) {
  return Failed{FileTranscriptionError{FileTranscriptionError::CopyFailed{std::move(reason)}}};
}

Failed<AnyError> refused(FileTranscriptionOutcome& outcome, FileTranscriptionError refusal) {
  outcome.refusal = std::move(refusal);
  return Failed{AnyError(PlatformError{QStringLiteral("FileTranscriptionError"), 0, outcome.refusal->description()})};
}

// The size of a regular file; nothing for a directory, a device or a file that can't be looked at.
std::optional<SizeOnDisk> sizeOf(const std::filesystem::path& file) {
  std::error_code failure;
  if (!std::filesystem::is_regular_file(file, failure) || failure) return std::nullopt;
  const auto bytes = std::filesystem::file_size(file, failure);
  if (failure) return std::nullopt;
  return SizeOnDisk{qint64(bytes)};
}

}  // namespace

FileTranscriptionFlow::FileTranscriptionFlow(Dependencies dependencies, const Logging& logging)
    : use_(dependencies),
      logger_(logging.logger(QStringLiteral("FileTranscription"))),
      progressState_(dependencies.executor),
      scope_(dependencies.executor) {}

FileTranscriptionFlow::~FileTranscriptionFlow() = default;

Task<FileTranscriptionOutcome> FileTranscriptionFlow::transcribe(std::filesystem::path file, ModePtr mode) {
  if (currentTranscriptionTask_.isValid() && !currentTranscriptionTask_.isDone()) {
    FileTranscriptionOutcome busy;
    busy.kind = FileTranscriptionOutcome::Kind::failed;
    busy.error = AnyError(TranscriptionError{TranscriptionError::Busy{}});
    co_return busy;
  }
  currentTranscriptionTask_ = scope_.spawn(run(std::move(file), std::move(mode)));
  auto end = currentTranscriptionTask_.join();
  const CancelToken caller = co_await currentCancelToken();
  FileTranscriptionOutcome outcome;
  try {
    outcome = co_await std::move(end);
  } catch (const Cancelled&) {
    if (caller.isCancelled()) throw;
    // cancel() came before the run's first line.
    logger_.info("📂 File transcription cancelled");
    hideAndReset();
  }
  co_return outcome;
}

Task<FileTranscriptionOutcome> FileTranscriptionFlow::run(std::filesystem::path file, ModePtr mode) {
  FileTranscriptionOutcome outcome;
  Result<void, AnyError> end;
  bool wasCancelled = false;
  try {
    end = co_await work(std::move(file), std::move(mode), outcome);
  } catch (const Cancelled&) {
    wasCancelled = true;
  }
  // A cancel that comes after the stored result is too late: the transcript is complete.
  if (!outcome.result && (wasCancelled || progressState_.state().isCancelled)) {
    logger_.info("📂 File transcription cancelled");
    outcome.kind = FileTranscriptionOutcome::Kind::cancelled;
    removeCopy();
    hideAndReset();
    co_return outcome;
  }
  if (end || outcome.result) {
    outcome.kind = FileTranscriptionOutcome::Kind::completed;
    if (wasCancelled) hideAndReset();
    co_return outcome;
  }
  outcome.kind = FileTranscriptionOutcome::Kind::failed;
  removeCopy();
  hideAndReset();
  AlertText alert;
  if (outcome.refusal) {
    alert = alertText(*outcome.refusal);
  } else {
    outcome.error = end.error();
    const QString description = localizedDescription(end.error());
    logger_.error("❌ File transcription failed: %s", description);
    alert.title = qtTrId("transcribe.file.error.title");
    alert.message = description;
  }
  if (use_.presenter) use_.presenter->showAlert(alert);
  co_return outcome;
}

Task<Result<void, AnyError>> FileTranscriptionFlow::work(std::filesystem::path file, ModePtr mode,
                                                         FileTranscriptionOutcome& outcome) {
  const auto refuse = [&](FileTranscriptionError refusal) { return refused(outcome, std::move(refusal)); };
  const QString name = QFileInfo(displayPath(file)).fileName();
  const QString modeName = mode ? mode->name.value_or(defaultModeName()) : defaultModeName();

  progressState_.start(name, modeName);
  if (use_.presenter) use_.presenter->showProgress(progressState_);
  animate(0.03f, 0.2);

  const auto size = sizeOf(file);
  if (!size) co_return refuse(FileTranscriptionError{FileTranscriptionError::CannotReadFile{}});
  const auto named = TextPath::of(file);
  if (!named) co_return Failed{AnyError(named.error())};
  auto looking = use_.converter.hasPicture(named->text());
  const Result<bool, AnyError> picture = co_await std::move(looking);
  if (!picture && isNoAudioTrack(picture.error()))
    co_return refuse(FileTranscriptionError{FileTranscriptionError::VideoHasNoAudio{}});
  CO_TRY(const bool isVideo, picture);
  // Of a video nothing but the sound is sent anywhere.
  if (!isVideo)
    if (auto refusal = refusalBySize(size->bytes, mode.get())) co_return refuse(*refusal);
  logger_.info("📊 File size: %s MB - validation passed", QString::number(double(size->bytes) / 1048576.0, 'f', 2));
  co_await throwIfStopped();
  animate(0.05f, 0.2);

  const FormatCheck format = checkFormat(isVideo ? soundExtension() : extensionOf(name), mode.get());
  switch (format.verdict) {
    case FormatCheck::Verdict::skippedNoMode:
      logger_.info("📄 Format validation skipped (no provider specified)");
      break;
    case FormatCheck::Verdict::skippedLocal:
      logger_.info("📄 Format validation skipped (local mode accepts all formats)");
      break;
    case FormatCheck::Verdict::supported:
      logger_.info("📄 Format .%s is supported by %s", format.format, format.providerName);
      break;
    case FormatCheck::Verdict::unsupported:
      logger_.warning("⚠️ Unsupported format: .%s for %s", format.format, format.providerName);
      co_return refuse(FileTranscriptionError{
          FileTranscriptionError::UnsupportedFormat{format.format, format.providerName, format.supportedFormats}});
  }
  co_await throwIfStopped();
  animate(0.08f, 0.3);

  QString audioPath;
  if (isVideo) {
    CO_TRY(audioPath, co_await takeSound(named->text(), name, outcome));
    if (auto refusal = refusalBySize(QFileInfo(audioPath).size(), mode.get())) co_return refuse(*refusal);
  } else {
    const auto copied = co_await copyIntoRecordings(file);
    if (!copied) co_return refuse(copied.error());
    audioPath = *copied;
  }
  co_await throwIfStopped();

  animate(0.13f, 0.2);
  CO_TRY(const double duration, co_await use_.converter.durationSeconds(audioPath));
  if (!(duration > 0)) co_return Failed{AnyError(AudioError{AudioError::Kind::fileNotReadable, QString()})};
  outcome.audioDurationSeconds = duration;
  co_await throwIfStopped();

  CO_TRY_OK(co_await takeRoad(audioPath, mode, outcome));
  animate(1.0f, 0.2);
  logger_.info("✅ File transcription completed: %s", name);
  if (use_.completionLinger > Duration::zero()) co_await sleepFor(use_.completionLinger);
  hideAndReset();
  if (use_.presenter) use_.presenter->openHistory();
  co_return Result<void, AnyError>();
}

Task<Result<void, AnyError>> FileTranscriptionFlow::takeRoad(QString audioPath, ModePtr mode,
                                                             FileTranscriptionOutcome& outcome) {
  TranscriptJob job;
  job.audioPath = audioPath;
  job.durationSeconds = outcome.audioDurationSeconds;
  job.mode = mode;
  job.modeName = defaultModeName();
  job.source = TranscriptJob::Source::file;
  job.onRow = [&](const TranscriptPtr& row) {
    outcome.transcript = row;
    currentCopiedFilePath_.reset();
    logger_.info("📝 Created processing transcript for file: %s", progressState_.state().fileName);
  };
  job.onStage = [this](TranscriptJob::Stage stage) { enter(stage); };
  job.onProgress = [this](float share) { progressState_.tellEngine(share); };
  const TranscriptOutcome end = co_await use_.road.run(std::move(job));
  if (!end.result) co_return Failed{*end.error};
  outcome.result = end.result;
  progressState_.setStage(FileTranscriptionStage::finishing);
  animate(0.95f, 0.3);
  co_return Result<void, AnyError>();
}

void FileTranscriptionFlow::enter(TranscriptJob::Stage stage) {
  if (stage == TranscriptJob::Stage::trimming) animate(0.15f, 0.3);
  if (stage == TranscriptJob::Stage::transcribing) progressState_.beginEngine();
}

Result<QString, FileTranscriptionError> FileTranscriptionFlow::recordingsFolder() const {
  QString folder = use_.settings.storage().usableRecordingsFolder();
  if (folder.isEmpty()) folder = use_.settings.folders().documents + QStringLiteral("/Recordings");
  if (!makePrivateFolder(folder)) return copyFailed(QStringLiteral("%1 can't be created").arg(folder));
  return folder;
}

// The picture stays where it is: only the sound comes into the folder.
Task<Result<QString, AnyError>> FileTranscriptionFlow::takeSound(QString video, QString name,
                                                                 FileTranscriptionOutcome& outcome) {
  logger_.info("🎬 [FileImport] Detected video file, extracting audio...");
  animate(0.10f, 0.5);
  const auto folder = recordingsFolder();
  if (!folder) co_return refused(outcome, folder.error());
  const QString stem = importedFileName(use_.clock.now().toSecsSinceEpoch(), baseNameOf(name), QString());
  auto target = NewFile::create(*folder, stem, soundExtension());
  if (!target) co_return refused(outcome, FileTranscriptionError{FileTranscriptionError::CopyFailed{*folder}});
  auto extraction = use_.converter.extractAudioFromVideo(video, target->path());
  CO_TRY(const auto audio, co_await std::move(extraction));
  logger_.info("🎬 [FileImport] Audio extracted: %ss, %ldHz, %ldch", QString::number(audio.durationSeconds, 'f', 2),
               qint64(audio.sampleRate), qint64(audio.channelCount));
  animate(0.12f, 0.2);
  currentCopiedFilePath_ = target->keep();
  co_return *currentCopiedFilePath_;
}

Task<Result<QString, FileTranscriptionError>> FileTranscriptionFlow::copyIntoRecordings(std::filesystem::path file) {
  CO_TRY(const QString folder, recordingsFolder());
  const QString name = QFileInfo(displayPath(file)).fileName();
  const qint64 seconds = use_.clock.now().toSecsSinceEpoch();
  QString target = folder + u'/' + importedFileName(seconds, baseNameOf(name), extensionOf(name));
  constexpr int attempts = 100;
  for (int attempt = 2; attempt < attempts; ++attempt) {
    currentCopiedFilePath_ = target;
    const QString here = target;
    auto job = [file, here](const StopFlag& stop) { return copyFile(file, here, stop.atomic()); };
    const auto copied = co_await offload(use_.workers, std::move(job));
    if (copied) {
      logger_.info("📁 Copied file to: %s", target);
      co_return target;
    }
    currentCopiedFilePath_.reset();
    if (copied.error().code != EEXIST) co_return copyFailed(copied.error().description);
    target = folder + u'/' +
             importedFileName(seconds, baseNameOf(name) + QStringLiteral("_%1").arg(attempt), extensionOf(name));
  }
  co_return copyFailed(QStringLiteral("too many files of that name"));
}

Task<void> FileTranscriptionFlow::throwIfStopped() {
  if (progressState_.state().isCancelled) throw Cancelled{};
  co_await throwIfCancelled();
}

void FileTranscriptionFlow::cancel() {
  logger_.info("❌ File transcription cancelled by user");
  progressState_.cancel();
  if (currentTranscriptionTask_.isValid()) currentTranscriptionTask_.cancel();
  if (use_.presenter) use_.presenter->hideProgress();
  removeCopy();
  // The flag stays up until the run has seen it; a run that is over is reset at once.
  if (!currentTranscriptionTask_.isValid() || currentTranscriptionTask_.isDone()) progressState_.reset();
}

void FileTranscriptionFlow::removeCopy() {
  if (!currentCopiedFilePath_) return;
  if (QFile::remove(*currentCopiedFilePath_)) logger_.info("🗑️ Cleaned up copied file: %s", *currentCopiedFilePath_);
  currentCopiedFilePath_.reset();
}

void FileTranscriptionFlow::hideAndReset() {
  if (use_.presenter) use_.presenter->hideProgress();
  progressState_.reset();
}

void FileTranscriptionFlow::animate(float target, double seconds) {
  progressState_.animate(target, std::chrono::duration<double>(seconds));
}

}  // namespace quillmere
