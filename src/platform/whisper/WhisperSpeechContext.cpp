#include "platform/whisper/WhisperSpeechContext.h"

#include <whisper.h>

#include <algorithm>
#include <exception>
#include <limits>

#include "platform/whisper/GraphAbort.h"

namespace quillmere {
namespace {

bool isStopped(void* stop) {
  return static_cast<const std::atomic<bool>*>(stop)->load(std::memory_order_acquire);
}

const char* textOrNull(const std::optional<QByteArray>& text) {
  return text ? text->constData() : nullptr;
}

}  // namespace

void WhisperSpeechContext::Free::operator()(whisper_context* handle) const {
  whisper_free(handle);
}

WhisperSpeechContext::WhisperSpeechContext(whisper_context* handle, Logger logger)
    : handle_(handle), logger_(std::move(logger)) {}

WhisperSpeechContext::~WhisperSpeechContext() = default;

bool WhisperSpeechContext::run(std::span<const float> samples16kHz, const SpeechRunParameters& parameters,
                               const std::atomic<bool>& stop) {
  segments_.clear();
  language_.reset();
  if (stop.load()) return false;
  // The library would decode the samples of the run before.
  if (samples16kHz.empty()) return true;
  if (samples16kHz.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    logger_.error("Too many samples for one run: %llu", static_cast<std::uint64_t>(samples16kHz.size()));
    return false;
  }
  // The library would decode with a wrong token instead of failing.
  if (parameters.language && whisper_lang_id(parameters.language->constData()) < 0) {
    logger_.error("The speech engine does not know this language: %{public}s", parameters.language->constData());
    return false;
  }

  whisper_full_params full = whisper_full_default_params(WHISPER_SAMPLING_GREEDY);
  full.n_threads = std::max(1, parameters.threads);
  full.offset_ms = 0;
  full.translate = parameters.translate;
  full.no_context = true;
  full.single_segment = false;
  full.print_special = false;
  full.print_progress = false;
  full.print_realtime = false;
  full.print_timestamps = false;
  full.initial_prompt = textOrNull(parameters.initialPrompt);
  full.language = textOrNull(parameters.language);
  full.detect_language = parameters.detectLanguage;
  full.temperature = parameters.temperature;
  full.abort_callback = &isStopped;
  full.abort_callback_user_data = const_cast<std::atomic<bool>*>(&stop);

  whisper_reset_timings(handle_.get());
  int code = 0;
  try {
    const GraphAbort abort(stop);
    code = whisper_full(handle_.get(), full, samples16kHz.data(), static_cast<int>(samples16kHz.size()));
  } catch (const std::exception& exception) {  // out of memory, in practice
    logger_.error("The speech engine gave up: %{public}s", exception.what());
    return false;
  }
  if (stop.load()) return false;
  if (code != 0) {
    logger_.error("The speech engine failed with code %d", code);
    return false;
  }
  const int count = whisper_full_n_segments(handle_.get());
  for (int i = 0; i < count; ++i) {
    const char* text = whisper_full_get_segment_text(handle_.get(), i);
    segments_.emplace_back(text ? text : "");
  }
  if (const int id = whisper_full_lang_id(handle_.get()); id >= 0) {
    if (const char* name = whisper_lang_str(id)) language_ = name;
  }
  return true;
}

QByteArray WhisperSpeechContext::segmentText(int segment) const {
  if (segment < 0 || segment >= segmentCount()) return {};
  return segments_[static_cast<std::size_t>(segment)];
}

}  // namespace quillmere
