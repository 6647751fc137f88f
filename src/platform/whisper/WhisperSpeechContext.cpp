#include "platform/whisper/WhisperSpeechContext.h"

#include <whisper.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>

#include "platform/whisper/GraphAbort.h"

namespace quillmere {
namespace {

using namespace std::chrono_literals;

constexpr auto stopPollInterval = 10ms;
// How long a stopped run may take to come out of the library before it is left to itself.
constexpr auto stopGrace = 60ms;

void tellProgress(whisper_context*, whisper_state*, int percent, void* onProgress) {
  (*static_cast<const std::function<void(float)>*>(onProgress))(static_cast<float>(percent) / 100.0f);
}

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

WhisperSpeechContext::~WhisperSpeechContext() {
  waitForCall();
}

// One call of the library with everything it reads, shared between the caller and the thread that makes it.
struct WhisperSpeechContext::Call {
  SpeechSamples samples;
  SpeechRunParameters parameters;
  std::atomic<bool> stop{false};
  std::mutex mutex;
  std::condition_variable isOver;
  bool over = false;  // guarded by mutex, like the next two
  int code = 0;
  QString exception;  // why the library threw, where it did

  void make(whisper_context* handle) {
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
    if (parameters.onProgress) {
      full.progress_callback = &tellProgress;
      full.progress_callback_user_data = &parameters.onProgress;
    }
    full.abort_callback = &isStopped;
    full.abort_callback_user_data = &stop;

    whisper_reset_timings(handle);
    int result = -1;
    QString why;
    try {
      const GraphAbort abort(stop);
      result = whisper_full(handle, full, samples->data(), static_cast<int>(samples->size()));
    } catch (const std::exception& thrown) {  // out of memory, in practice
      why = QString::fromUtf8(thrown.what());
    }
    const std::lock_guard lock(mutex);
    code = result;
    exception = why;
    over = true;
    isOver.notify_all();
  }
};

void WhisperSpeechContext::waitForCall() {
  if (call_.joinable()) call_.join();
}

bool WhisperSpeechContext::run(SpeechSamples samples16kHz, const SpeechRunParameters& parameters,
                               const std::atomic<bool>& stop) {
  segments_.clear();
  language_.reset();
  waitForCall();
  if (stop.load()) return false;
  // The library would decode the samples of the run before.
  if (!samples16kHz || samples16kHz->empty()) return true;
  if (samples16kHz->size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    logger_.error("Too many samples for one run: %llu", static_cast<std::uint64_t>(samples16kHz->size()));
    return false;
  }
  // The library would decode with a wrong token instead of failing.
  if (parameters.language && whisper_lang_id(parameters.language->constData()) < 0) {
    logger_.error("The speech engine does not know this language: %{public}s", parameters.language->constData());
    return false;
  }

  // The library computes the spectrogram of the whole recording without asking anybody whether to go on. Its call
  // therefore lives on a thread that can be left behind for a moment.
  const auto call = std::make_shared<Call>();
  call->samples = std::move(samples16kHz);
  call->parameters = parameters;
  call_ = std::thread([call, handle = handle_.get()] { call->make(handle); });
  {
    std::unique_lock lock(call->mutex);
    while (!call->isOver.wait_for(lock, stopPollInterval, [&] { return call->over; }) && !stop.load()) {
    }
    if (!call->over) {
      call->stop = true;
      call->isOver.wait_for(lock, stopGrace, [&] { return call->over; });
      if (!call->over) return false;
    }
  }
  waitForCall();
  if (stop.load()) return false;
  if (!call->exception.isEmpty()) {
    logger_.error("The speech engine gave up: %{public}s", call->exception);
    return false;
  }
  if (call->code != 0) {
    logger_.error("The speech engine failed with code %d", call->code);
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
