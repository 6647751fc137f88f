#include <unistd.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QSocketNotifier>

#include "app/cli/ModeChoice.h"
#include "app/cli/TranscriptJson.h"
#include "app/compose/Services.h"
#include "app/compose/session/SessionServices.h"
#include "app/session/SessionCommands.h"
#include "base/async/Async.h"
#include "base/text/LocalizedText.h"
#include "core/AudioRecordingManager.h"
#include "core/DictationTimings.h"
#include "delivery/AutoPasteHandler.h"
#include "domain/ModeData.h"
#include "postprocessing/TranscriptionTextProcessing.h"
#include "recording/CrashRecoveryManager.h"
#include "recording/MicrophonePermissionManager.h"
#include "recording/RecordingLifecycle.h"
#include "recording/RecordingSessionManager.h"
#include "transcripts/TranscriptRow.h"

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

// What is thrown away can be found for a day, unless there is to be no history of it.
void throwAway(Services& services, RecordingSessionManager& sessions, const RecordingStopResult& recording,
               const DictateOptions& options) {
  if (recording.isTooShort || !recording.path) return;
  if (!options.isWithoutHistory) {
    (void)sessions.createTranscript(recording.session, recording.duration, std::nullopt, recording.path,
                                    QString::fromLatin1(TranscriptStatus::discarded));
    return;
  }
  QFile::remove(*recording.path);
  if (recording.session) services.persistence->deleteRecordingSession(recording.session);
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
                                               SessionServices& session, const Mode& mode) {
  Executor& executor = co_await currentExecutor();
  DictationParts& parts = *session.dictation;
  RecordingLifecycle& lifecycle = *parts.lifecycle;
  const TimePoint triggered = executor.now();
  if (!co_await parts.permission->requestPermission())
    co_return Failed{CommandFailure{parts.permission->errorMessage().get(), exitFailure}};
  const auto started = co_await lifecycle.startRecording();
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
  const StopIntent intent = isCancelled ? StopIntent::discard : StopIntent::keep;
  const bool isLocal = providerTypeOfModel(mode.model.value_or(QString())) == ProviderType::local;
  auto stopped = co_await lifecycle.stopRecording(intent, isLocal);
  lifecycle.setOnInterrupted({});
  context.onEnd = nullptr;
  if (isCancelled) {
    if (stopped) throwAway(context.services, *parts.sessions, *stopped, options);
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

Task<bool> type(SessionServices& session, QString text, const Mode& mode) {
  const QString language = mode.language.value_or(QStringLiteral("en"));
  text = TranscriptionTextProcessing::appendTrailingSpace(text, language);
  PasteRequest request;
  request.text = std::move(text);
  const PasteOutcome outcome = co_await session.dictation->autoPaste->paste(std::move(request));
  co_return outcome == PasteOutcome::pasted;
}

// The user has his text. An interrupt leaves the WAV.
Task<void> compress(Services& services, SessionServices& session, QString path, TranscriptPtr row) {
  const bool isWav = QFileInfo(path).suffix().toLower() == QLatin1String("wav");
  if (!isWav || !services.settings->storage().storeAsM4A()) co_return;
  try {
    co_await session.dictation->lifecycle->convertInBackground(path, row);
  } catch (const Cancelled&) {
    // That was all there was left to do.
  }
}

}  // namespace

Task<int> runDictate(CommandContext context, DictateOptions options) {
  Services& services = context.services;
  Executor& executor = co_await currentExecutor();
  const auto chosen = chooseMode(context, {options.mode, options.model, options.language}, nullptr);
  if (!chosen) co_return fail(context, chosen.error());
  const ModePtr& mode = *chosen;
  if (const auto problem = whyModeCannotRun(services, *mode)) co_return fail(context, *problem);
  prepareRecordingsFolder(services.settings->storage());

  const auto session = makeSessionServices(services, {}, {});
  if (options.isTyped && !session->display.isPresent)
    co_return fail(context, {localizedText("cli.dictate.noDisplay"), exitFailure});
  TaskScope background(executor);
  // Beside the recording, which it knows from an orphan; what it doesn't get to is left for the next start.
  background.spawn(session->dictation->recovery->recoverOrphanedRecordings());
  co_await session->dictation->manager->configure();
  // The model loads while the user speaks.
  services.transcription->modelPreparation->prepare(mode);

  std::optional awake = session->dictation->power->hold(QStringLiteral("Recording and transcribing audio"));
  auto recorded = co_await record(context, options, *session, *mode);
  if (!recorded) co_return fail(context, recorded.error());
  Recording& recording = *recorded;
  const QString path = *recording.result.path;

  TranscriptPtr row;
  bool isCancelled = false;
  bool isEnded = recording.isEnded;
  TranscriptJob job;
  job.audioPath = path;
  job.durationSeconds = recording.result.duration;
  job.mode = mode;
  job.session = recording.result.session;
  TaskHandle<TranscriptOutcome> transcribing;
  job.onRow = [&](const TranscriptPtr& made) {
    row = made;
    if (isEnded) transcribing.cancel();
  };
  context.onInterrupt = [&] { transcribing.cancel(); };
  context.onEnd = [&] {
    isEnded = true;
    transcribing.cancel();
  };
  if (!options.isQuiet) context.terminal.status(localizedText("cli.dictate.transcribing"));
  transcribing = background.spawn(services.transcription->road->run(std::move(job)));
  TranscriptOutcome outcome;
  try {
    outcome = co_await transcribing.join();
  } catch (const Cancelled&) {
    isCancelled = true;
  }
  context.onInterrupt = nullptr;
  context.onEnd = nullptr;
  context.terminal.clearStatus();
  awake.reset();
  if (isCancelled) {
    if (isEnded && row) co_return fail(context, keepForLater(services, *row));
    // The row says that it was cancelled and can be tried again.
    if (row && options.isWithoutHistory) services.persistence->deleteTranscript(row);
    throw Cancelled{};
  }
  DictationTimings& timings = recording.timings;
  timings.trimming = outcome.trimming;
  timings.stopToDecoding = outcome.decodingBegan - recording.stoppedAt;
  if (!outcome.result) co_return fail(context, {localizedDescription(*outcome.error), exitCodeFor(*outcome.error)});
  timings.decoding = outcome.decoding;
  timings.postProcessing = outcome.rewriting;
  const TranscriptionResult& result = *outcome.result;

  int code = exitOk;
  const TimePoint textReady = executor.now();
  if (outcome.isEmpty()) {
    context.terminal.err(localizedText("cli.dictate.nothingHeard"));
  } else if (options.isTyped) {
    if (co_await type(*session, result.text, *mode)) {
      timings.decodedToPasted = executor.now() - textReady;
    } else {
      context.terminal.err(localizedText("cli.dictate.notTyped"));
      code = exitFailure;
    }
  }
  timings.stopToText = executor.now() - recording.stoppedAt;
  if (options.isJson) {
    QJsonObject object = transcriptJson(*row);
    object[QStringLiteral("text")] = result.text;
    context.terminal.json(object);
  } else if (!outcome.isEmpty() && (!options.isTyped || code != exitOk)) {
    context.terminal.out(result.text);
  }
  if (options.showsTimings) printTimings(context.terminal, timings);
  if (options.isTyped) co_await session->dictation->autoPaste->waitForRestore();
  if (options.isWithoutHistory)
    services.persistence->deleteTranscript(row);
  else
    co_await compress(services, *session, path, row);
  if (services.persistence->hasChanges()) co_return fail(context, {localizedText("cli.store.notSaved"), exitStore});
  co_return code;
}

}  // namespace quillmere
