#include <QElapsedTimer>
#include <QJsonObject>
#include <QTemporaryDir>

#include "app/cli/Commands.h"
#include "app/cli/InputFile.h"
#include "app/cli/ModeChoice.h"
#include "app/cli/TerminalPresenter.h"
#include "app/compose/Services.h"
#include "base/async/Offload.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "files/TextPath.h"

namespace quillmere {
namespace {

// How one input ended, ready to be printed.
struct FileReport {
  QString text;
  QString rawText;
  QString provider;
  double durationSeconds = 0;
  bool wasPostProcessed = false;
  QString transcriptId;
  bool isCancelled = false;
  std::optional<CommandFailure> failure;
};

void fill(FileReport& report, const TranscriptionResult& result) {
  report.text = result.text;
  report.rawText = result.rawText;
  report.provider = result.provider;
  report.wasPostProcessed = result.wasPostProcessed;
}

Task<FileReport> transcribeWithoutHistory(CommandContext& context, InputFile input, ModePtr mode,
                                          TerminalPresenter& presenter) {
  FileReport report;
  const auto named = TextPath::of(input.path);
  if (!named) {
    report.failure =
        CommandFailure{localizedText("cli.input.system", input.shownName, named.error().description), exitInput};
    co_return report;
  }
  QString path = named->text();
  Services& services = context.services;
  FileTranscriptionProgress progress(*services.executor);
  presenter.showProgress(progress);
  progress.start(input.shownName, mode->name.value_or(QString()));
  // A service gets nothing of a video but the sound.
  const QTemporaryDir folder;
  if (providerTypeOfModel(mode->model.value_or(QString()).toLower()) == ProviderType::cloud) {
    const auto picture = co_await services.audio.fileConverter->hasPicture(path);
    const QString sound = folder.filePath(QStringLiteral("sound.m4a"));
    if (picture && *picture) {
      const auto extracted = co_await services.audio.fileConverter->extractAudioFromVideo(path, sound);
      if (extracted) path = sound;
    }
  }
  const auto duration = co_await services.audio.fileConverter->durationSeconds(path);
  if (!duration) {
    presenter.hideProgress();
    report.failure = CommandFailure{localizedDescription(duration.error()), exitInput};
    co_return report;
  }
  report.durationSeconds = *duration;
  progress.beginEngine();
  TranscriptJob job;
  job.audioPath = path;
  job.durationSeconds = *duration;
  job.mode = mode;
  job.source = TranscriptJob::Source::file;
  job.isWithoutRow = true;
  job.onProgress = [&](float share) { progress.tellEngine(share); };
  const TranscriptOutcome outcome = co_await services.transcription->road->run(std::move(job));
  presenter.hideProgress();
  if (outcome.result)
    fill(report, *outcome.result);
  else
    report.failure = CommandFailure{localizedDescription(*outcome.error), exitCodeFor(*outcome.error)};
  co_return report;
}

Task<FileReport> transcribeIntoHistory(CommandContext& context, InputFile input, ModePtr mode,
                                       TerminalPresenter& presenter) {
  FileReport report;
  Services& services = context.services;
  FileTranscriptionFlow& flow = *services.transcription->fileFlow;
  flow.setPresenter(&presenter);
  context.onInterrupt = [&flow] { flow.cancel(); };
  const FileTranscriptionOutcome outcome = co_await flow.transcribe(input.path, mode);
  context.onInterrupt = nullptr;
  flow.setPresenter(nullptr);
  presenter.hideProgress();
  report.durationSeconds = outcome.audioDurationSeconds;
  if (outcome.transcript && outcome.transcript->id)
    report.transcriptId = outcome.transcript->id->toString(QUuid::WithoutBraces);
  switch (outcome.kind) {
    case FileTranscriptionOutcome::Kind::cancelled:
      report.isCancelled = true;
      // The original is where it was, and whoever interrupts a command wants nothing of it left.
      if (outcome.transcript) services.persistence->deleteTranscript(outcome.transcript);
      report.transcriptId.clear();
      break;
    case FileTranscriptionOutcome::Kind::failed: {
      const ExitCode code = outcome.error ? exitCodeFor(*outcome.error) : exitInput;
      QString message = presenter.alert() ? presenter.alert()->message : QString();
      if (outcome.refusal)
        if (const auto* copy = std::get_if<FileTranscriptionError::CopyFailed>(&outcome.refusal->kind);
            copy && !copy->reason.isEmpty())
          message += QStringLiteral(" (%1)").arg(copy->reason);
      if (message.isEmpty() && outcome.error) message = localizedDescription(*outcome.error);
      report.failure = CommandFailure{message, code};
      // Nobody will want to retry a file without usable sound. The original is where it was.
      if (code == exitInput && outcome.transcript) {
        services.persistence->deleteTranscript(outcome.transcript);
        report.transcriptId.clear();
      }
      break;
    }
    case FileTranscriptionOutcome::Kind::completed:
      if (!outcome.result) break;
      fill(report, *outcome.result);
      if (!co_await services.persistence->waitUntilSaved())
        report.failure = CommandFailure{localizedText("cli.store.notSaved"), exitStore};
      break;
  }
  co_return report;
}

QJsonObject reportJson(const std::string& file, const FileReport& report, const Mode& mode, double elapsedSeconds) {
  QJsonObject object{{"file", argumentText(file)}};
  if (report.failure) {
    object["error"] = QJsonObject{{"message", report.failure->message}, {"code", int(report.failure->code)}};
    return object;
  }
  object["text"] = report.text;
  object["rawText"] = report.rawText;
  object["durationSeconds"] = report.durationSeconds;
  object["elapsedSeconds"] = elapsedSeconds;
  object["provider"] = report.provider;
  object["model"] = mode.model.value_or(QString());
  object["mode"] = mode.name.value_or(QString());
  object["language"] = mode.language.value_or(QString());
  object["wasPostProcessed"] = report.wasPostProcessed;
  if (!report.transcriptId.isEmpty()) object["transcriptId"] = report.transcriptId;
  return object;
}

Task<Result<InputFile, CommandFailure>> openInput(CommandContext& context, std::string argument) {
  if (argument != "-") co_return openInputFile(argument);
  auto job = [](const StopFlag& stop) { return readStandardInput(stop.atomic()); };
  auto input = co_await offload(*context.services.fileWorkers, job);
  co_return input;
}

}  // namespace

Task<int> runTranscribe(CommandContext context, TranscribeOptions options) {
  const auto chosen = chooseMode(context, {options.mode, options.model, options.language}, nullptr);
  if (!chosen) co_return fail(context, chosen.error());
  const ModePtr& mode = *chosen;
  if (const auto problem = whyModeCannotRun(context.services, *mode)) co_return fail(context, *problem);
  if (!options.isWithoutHistory) {
    StorageSettingsManager& storage = context.services.settings->storage();
    storage.ensureRecordingsFolder();
    // There is no question to ask on a terminal: whoever runs the command wants the folder.
    if (storage.showDocumentsPermissionAlert()) storage.confirmDocumentsAccess();
    if (const auto standIn = storage.recordingsStandIn(); standIn && !options.isQuiet)
      context.terminal.err(localizedText("settings.recordingsFolder.standIn", *standIn));
  }

  int code = exitOk;
  for (const std::string& argument : options.files) {
    QElapsedTimer elapsed;
    elapsed.start();
    FileReport report;
    const auto input = co_await openInput(context, argument);
    if (input) {
      TerminalPresenter presenter(context.terminal, options.isQuiet);
      Task<FileReport> work;
      if (options.isWithoutHistory)
        work = transcribeWithoutHistory(context, *input, mode, presenter);
      else
        work = transcribeIntoHistory(context, *input, mode, presenter);
      report = co_await std::move(work);
    } else {
      report.failure = input.error();
    }
    if (report.isCancelled) co_return exitCancelled;
    const bool isText = !report.failure && !report.text.isEmpty();
    const QString shownName = input ? input->shownName : argumentText(argument);
    if (report.failure) {
      const QString& message = report.failure->message;
      context.terminal.err(message.contains(shownName) ? message : shownName + QStringLiteral(": ") + message);
      if (code == exitOk) code = report.failure->code;
    } else if (!isText && !options.isQuiet) {
      context.terminal.err(localizedText("cli.transcribe.noSpeech", shownName));
    }
    if (options.isJson)
      context.terminal.json(reportJson(argument, report, *mode, double(elapsed.elapsed()) / 1000));
    else if (isText)
      context.terminal.out(report.text);
    if (!context.terminal.isOutputSound()) {
      context.terminal.err(localizedText("cli.output.failed"));
      co_return exitFailure;
    }
  }
  co_return code;
}

}  // namespace quillmere
