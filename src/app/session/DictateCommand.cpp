#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QSocketNotifier>

#include "app/cli/ModeChoice.h"
#include "app/cli/TranscriptJson.h"
#include "app/composition.h"
#include "app/session/SessionCommands.h"
#include "app/session/SessionServices.h"
#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "core/AudioRecordingManager.h"
#include "core/DictationTimings.h"
#include "core/TranscriptOutcome.h"
#include "delivery/AutoPasteHandler.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"

namespace quillmere {
namespace {

constexpr float speechLevel = 0.25f;  // of the meter: -45 dB
constexpr std::chrono::milliseconds meterPace{100};

// What ends the recording: Enter on the terminal, the time, or a pause after speech.
class StopWatch {
 public:
  StopWatch(const DictateOptions& options, bool isReadingInput) : options_(options) {
    if (!isReadingInput) return;
    input_ = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(input_.get(), &QSocketNotifier::activated, input_.get(), [this] {
      char bytes[256];
      const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
      if (count > 0 && !std::memchr(bytes, '\n', size_t(count))) return;
      input_->setEnabled(false);
      wasAsked_ = true;
    });
  }

  void stop() { wasAsked_ = true; }
  bool isOver(double seconds, float level) {
    if (level >= speechLevel) {
      hasHeardSpeech_ = true;
      lastSpeech_ = seconds;
    }
    if (wasAsked_) return true;
    if (options_.seconds && seconds >= *options_.seconds) return true;
    return options_.silence && hasHeardSpeech_ && seconds - lastSpeech_ >= *options_.silence;
  }

 private:
  const DictateOptions& options_;
  std::unique_ptr<QSocketNotifier> input_;
  bool wasAsked_ = false;
  bool hasHeardSpeech_ = false;
  double lastSpeech_ = 0;
};

QString meterLine(double seconds, float level) {
  constexpr int width = 24;
  const int filled = std::clamp(int(level * width + 0.5f), 0, width);
  return QStringLiteral("● %1:%2 %3%4")
      .arg(int(seconds) / 60)
      .arg(int(seconds) % 60, 2, 10, QLatin1Char('0'))
      .arg(QString(filled, QChar(0x2588)), QString(width - filled, QChar(0x2591)));
}

QString listeningText(const DictateOptions& options, bool isReadingInput) {
  if (options.seconds) return localizedText("cli.dictate.listeningFor", *options.seconds);
  if (options.silence && !isReadingInput) return localizedText("cli.dictate.listeningUntilSilence");
  return localizedText("cli.dictate.listening");
}

// Takes a recording that nobody wants any more off the disk and out of the store.
void forget(Services& services, const std::optional<RecordingStopResult>& recording) {
  if (!recording) return;
  if (recording->path) QFile::remove(*recording->path);
  if (recording->session) services.persistence->deleteRecordingSession(recording->session);
  services.persistence->save();
}

struct Recording {
  RecordingStopResult result;
  DictationTimings timings;
  TimePoint stoppedAt;
  bool isEnded = false;  // by the end of the terminal: nobody waits for the text
};

// The terminal or the machine went away: what was said stays in the history, from which it can be transcribed.
CommandFailure keepForLater(Services& services, Transcript& row) {
  const QString reason = localizedText("recording.error.closedBeforeTranscription");
  failTranscript(row, reason, failedTranscriptText(reason));
  services.persistence->save();
  return {reason, exitCancelled};
}

// Records until something ends it. An interrupt throws the recording away.
Task<Result<Recording, CommandFailure>> record(CommandContext context, const DictateOptions& options,
                                               SessionServices& session) {
  Executor& executor = co_await currentExecutor();
  RecordingLifecycle& lifecycle = session.audioManager->lifecycleManager();
  const TimePoint triggered = executor.now();
  auto asking = session.audioManager->permissionManager().requestPermission();
  if (!co_await std::move(asking))
    co_return Failed{CommandFailure{session.audioManager->permissionManager().errorMessage().get(), exitFailure}};
  auto starting = lifecycle.startRecording();
  const auto started = co_await std::move(starting);
  if (!started) co_return Failed{CommandFailure{localizedDescription(started.error()), exitFailure}};
  Recording recording;
  recording.timings.triggerToRecorderRunning = executor.now() - triggered;

  const bool isTerminal = isatty(STDIN_FILENO);
  StopWatch watch(options, isTerminal || (!options.seconds && !options.silence));
  bool isCancelled = false;
  bool isEnded = false;
  context.onInterrupt = [&] { isCancelled = true; };
  context.onEnd = [&] { isEnded = true; };
  std::optional<AudioRecorder::Interruption> broken;
  lifecycle.setOnInterrupted([&](const AudioRecorder::Interruption& interruption) { broken = interruption; });
  if (!options.isQuiet) context.terminal.err(listeningText(options, isTerminal));
  while (!isCancelled && !isEnded && !broken) {
    const double seconds = lifecycle.recordingDuration().get();
    const float level = lifecycle.audioLevel().get();
    if (!options.isQuiet) context.terminal.status(meterLine(seconds, level));
    if (watch.isOver(seconds, level)) break;
    co_await sleepFor(meterPace);
  }
  context.onInterrupt = nullptr;
  context.terminal.clearStatus();
  recording.stoppedAt = executor.now();
  auto stopping = lifecycle.stopRecording(isCancelled ? StopIntent::discard : StopIntent::keep);
  auto stopped = co_await std::move(stopping);
  lifecycle.setOnInterrupted({});
  context.onEnd = nullptr;
  if (isCancelled) {
    forget(context.services, stopped);
    throw Cancelled{};
  }
  recording.timings.stopToFileReady = executor.now() - recording.stoppedAt;
  if (stopped && stopped->firstSampleAt) recording.timings.triggerToFirstSample = *stopped->firstSampleAt - triggered;
  if (broken) context.terminal.err(broken->description);
  if (stopped && stopped->isTooShort)
    co_return Failed{
        CommandFailure{localizedDescription(AudioError{AudioError::Kind::recordingTooShort, {}}), exitInput}};
  if (!stopped || !stopped->path) co_return Failed{CommandFailure{localizedText("cli.dictate.nothing"), exitFailure}};
  recording.result = std::move(*stopped);
  recording.isEnded = isEnded;
  co_return recording;
}

struct TimingRow {
  const char* key;
  std::optional<Duration> value;
};

void printTimings(Terminal& terminal, const DictationTimings& timings) {
  const TimingRow rows[] = {{"cli.timings.recorder", timings.triggerToRecorderRunning},
                            {"cli.timings.firstSample", timings.triggerToFirstSample},
                            {"cli.timings.file", timings.stopToFileReady},
                            {"cli.timings.trimming", timings.trimming},
                            {"cli.timings.decodingStart", timings.stopToDecoding},
                            {"cli.timings.decoding", timings.decoding},
                            {"cli.timings.postProcessing", timings.postProcessing},
                            {"cli.timings.paste", timings.decodedToPasted},
                            {"cli.timings.total", timings.stopToText}};
  for (const TimingRow& row : rows)
    if (row.value)
      terminal.err(QStringLiteral("%1 %2 ms")
                       .arg(localizedText(row.key).leftJustified(28))
                       .arg(std::chrono::duration<double, std::milli>(*row.value).count(), 8, 'f', 1));
}

}  // namespace

Task<int> runDictate(CommandContext context, DictateOptions options) {
  Services& services = context.services;
  Executor& executor = co_await currentExecutor();
  const auto chosen = chooseMode(context, {options.mode, options.model, options.language}, nullptr);
  if (!chosen) co_return fail(context, chosen.error());
  const ModePtr mode = *chosen;
  auto checking = whyModeCannotRun(services, mode);
  if (const auto problem = co_await std::move(checking)) co_return fail(context, *problem);
  prepareRecordingsFolder(services.settings->storage());
  services.historySweeper->start();

  const auto session = makeSessionServices(services, SessionOptions{});
  if (options.isTyped && !session->hasDisplay())
    co_return fail(context, {localizedText("cli.dictate.noDisplay"), exitFailure});
  auto configuring = session->audioManager->configure();
  co_await std::move(configuring);
  // The model loads while the user speaks.
  TaskScope background(executor);
  auto preparation = background.spawn(services.pipeline->prepareModel(mode));

  auto recorder = record(context, options, *session);
  auto recorded = co_await std::move(recorder);
  if (!recorded) co_return fail(context, recorded.error());
  Recording& recording = *recorded;

  if (!options.isQuiet) context.terminal.status(localizedText("cli.dictate.transcribing"));
  const QString path = *recording.result.path;
  const TranscriptPtr row = session->audioManager->sessionManager().createTranscript(
      recording.result.session, recording.result.duration, mode->name, path);
  if (recording.isEnded) co_return fail(context, keepForLater(services, *row));
  const TimePoint trimmingStart = executor.now();
  auto trimming = services.vadProcessingService->process(
      path, recording.result.duration, services.settings->general().enableVAD(), QStringLiteral("Recording"));
  const VADProcessingResult trimmed = co_await std::move(trimming);
  recording.timings.trimming = executor.now() - trimmingStart;
  if (trimmed.wasProcessed && trimmed.trimResult)
    services.persistence->setTrimmedAudioPath(row, trimmed.finalAudioPath);
  recording.timings.stopToDecoding = executor.now() - recording.stoppedAt;

  const TimePoint decodingStart = executor.now();
  TranscriptionRequest request;
  request.audioPath = trimmed.finalAudioPath;
  request.mode = mode;
  bool isCancelled = false;
  bool isEnded = false;
  context.onInterrupt = [&] { services.pipeline->cancelTranscription(); };
  context.onEnd = [&] {
    isEnded = true;
    services.pipeline->cancelTranscription();
  };
  std::optional<Result<TranscriptionResult, AnyError>> outcome;
  try {
    auto transcribing = services.pipeline->transcribeWithDetails(request);
    outcome.emplace(co_await std::move(transcribing));
  } catch (const Cancelled&) {
    isCancelled = true;
  }
  context.onInterrupt = nullptr;
  context.onEnd = nullptr;
  context.terminal.clearStatus();
  if (isEnded && isCancelled) co_return fail(context, keepForLater(services, *row));
  if (isCancelled) {
    services.persistence->deleteTranscript(row);
    throw Cancelled{};
  }
  recording.timings.decoding = executor.now() - decodingStart;
  if (!*outcome) {
    const QString reason = localizedDescription(outcome->error());
    failTranscript(*row, reason, failedTranscriptText(reason));
    services.persistence->save();
    co_return fail(context, {reason, exitCodeFor(outcome->error())});
  }
  const TranscriptionResult& result = **outcome;
  completeTranscript(*row, result);
  services.persistence->save();

  int code = exitOk;
  const TimePoint textReady = executor.now();
  if (options.isTyped) {
    PasteRequest paste;
    paste.text = result.text;
    const PasteOutcome pasted = co_await session->audioManager->autoPasteHandler().paste(std::move(paste));
    if (pasted == PasteOutcome::pasted) {
      recording.timings.decodedToPasted = executor.now() - textReady;
    } else {
      context.terminal.err(localizedText("cli.dictate.notTyped"));
      code = exitFailure;
    }
  }
  recording.timings.stopToText = executor.now() - recording.stoppedAt;
  if (options.isJson) {
    QJsonObject object = transcriptJson(*row);
    object[QStringLiteral("text")] = result.text;
    context.terminal.json(object);
  } else if (!options.isTyped || code != exitOk) {
    context.terminal.out(result.text);
  }
  if (options.showsTimings) printTimings(context.terminal, recording.timings);
  if (options.isTyped) {
    co_await session->audioManager->autoPasteHandler().waitForRestore();
  }
  if (options.isWithoutHistory) services.persistence->deleteTranscript(row);
  if (!co_await services.persistence->waitUntilSaved())
    co_return fail(context, {localizedText("cli.store.notSaved"), exitStore});
  co_return code;
}

}  // namespace quillmere
