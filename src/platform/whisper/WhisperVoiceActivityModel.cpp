#include "platform/whisper/WhisperVoiceActivityModel.h"

#include <whisper.h>

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <exception>
#include <limits>

#include "base/text/LocalizedText.h"
#include "platform/whisper/GraphAbort.h"

namespace quillmere {
namespace {

// No voice-activity model comes near this.
constexpr qint64 largestFile = 16 << 20;

struct FreeSegments {
  void operator()(whisper_vad_segments* segments) const { whisper_vad_free_segments(segments); }
};

Failed<PlatformError> failed(int code, QString description) {
  return Failed{PlatformError{QStringLiteral("speech"), code, std::move(description)}};
}

}  // namespace

void WhisperVoiceActivityModel::Free::operator()(whisper_vad_context* handle) const {
  whisper_vad_free(handle);
}

WhisperVoiceActivityModel::WhisperVoiceActivityModel(QByteArray sha256, const Logging& logging,
                                                     EngineProcessor processor)
    : sha256_(std::move(sha256)),
      logger_(logging.logger(QStringLiteral("VoiceActivityModel"))),
      processor_(processor) {}

WhisperVoiceActivityModel::~WhisperVoiceActivityModel() = default;

Result<void, PlatformError> WhisperVoiceActivityModel::load(const QString& path) {
  if (const auto unsupported = processor_.unsupported()) return failed(ENOTSUP, *unsupported);
  const QString name = QFileInfo(path).fileName();
  if (!QFileInfo::exists(path)) return failed(ENOENT, localizedText("models.file.error.missing", name));
  QFile file(path);
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (QFileInfo(path).isDir() || !file.open(QIODevice::ReadOnly)) {
    return failed(EACCES, localizedText("models.file.error.unreadable", name));
  }
  if (file.size() > largestFile || !hash.addData(&file) || hash.result().toHex() != sha256_) {
    logger_.error("Refused the voice-activity model: it is not the expected file");
    return failed(EINVAL, localizedText("speech.model.notLoaded", name));
  }
  file.close();

  whisper_vad_context_params parameters = whisper_vad_default_context_params();
  // The network is so small that a second thread costs more than it brings, and the default of four is many times
  // slower on a machine with fewer cores.
  parameters.n_threads = 1;
  whisper_vad_context* handle = nullptr;
  try {
    handle = whisper_vad_init_from_file_with_params(QFile::encodeName(path).constData(), parameters);
  } catch (const std::exception& exception) {
    logger_.error("The speech engine gave up: %{public}s", exception.what());
  }
  if (!handle) return failed(ENOMEM, localizedText("speech.model.notLoaded", name));
  handle_.reset(handle);
  return {};
}

std::optional<std::vector<VoiceActivitySegment>> WhisperVoiceActivityModel::segments(
    std::span<const float> samples16kHz, const VoiceActivityParameters& parameters, const std::atomic<bool>& stop) {
  if (!handle_ || stop.load()) return std::nullopt;
  if (samples16kHz.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    logger_.error("Too many samples for one analysis: %llu", static_cast<std::uint64_t>(samples16kHz.size()));
    return std::nullopt;
  }
  whisper_vad_params chosen = whisper_vad_default_params();
  chosen.threshold = parameters.threshold;
  chosen.min_speech_duration_ms = parameters.minSpeechDurationMs;
  chosen.min_silence_duration_ms = parameters.minSilenceDurationMs;
  chosen.max_speech_duration_s = parameters.maxSpeechDurationS;
  chosen.speech_pad_ms = parameters.speechPadMs;
  chosen.samples_overlap = parameters.samplesOverlap;

  std::unique_ptr<whisper_vad_segments, FreeSegments> found;
  try {
    const GraphAbort abort(stop);
    found.reset(whisper_vad_segments_from_samples(handle_.get(), chosen, samples16kHz.data(),
                                                  static_cast<int>(samples16kHz.size())));
  } catch (const std::exception& exception) {
    logger_.error("The speech engine gave up: %{public}s", exception.what());
  }
  if (!found || stop.load()) return std::nullopt;
  std::vector<VoiceActivitySegment> segments;
  const int count = whisper_vad_segments_n_segments(found.get());
  segments.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    segments.push_back(
        {whisper_vad_segments_get_segment_t0(found.get(), i), whisper_vad_segments_get_segment_t1(found.get(), i)});
  }
  return segments;
}

}  // namespace quillmere
