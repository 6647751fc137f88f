#pragma once
#include <QString>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

struct pa_context;
struct pa_mainloop_api;
struct pa_stream;
struct pa_time_event;

namespace quillmere {

// One capture stream: 16 kHz, one channel, 16-bit integers, blocks of 20 ms. It is created paused and bound to its
// source: when that goes, the stream ends. Everything on the thread of libpulse, the callbacks too; the object itself
// may be let go of anywhere, an open stream stays until close().
class PulseStream : public std::enable_shared_from_this<PulseStream> {
 public:
  enum class End { sourceGone, serverGone };
  static constexpr int sampleRate = 16000;

  explicit PulseStream(pa_mainloop_api* api) : api_(api) {}
  PulseStream(const PulseStream&) = delete;
  PulseStream& operator=(const PulseStream&) = delete;

  // `ready` is called once with 0 or libpulse's error number.
  void open(pa_context* context, const QString& source, std::function<void(int)> ready);
  // Lets the samples flow. `started` is called once with 0 or an error number, `ended` when the stream goes on its own.
  void start(std::function<void(std::span<const std::int16_t>)> samples, std::function<void(int)> started,
             std::function<void(End)> ended);
  // What a paused stream calls when it goes on its own.
  void setEnded(std::function<void(End)> ended) { ended_ = std::move(ended); }
  // Waits for what was captured up to now, 45 ms at most, closes the stream and calls `done`.
  void drain(std::function<void()> done);
  void close();
  bool isOpen() const { return stream_ != nullptr; }

 private:
  void stateChanged();
  void readable();
  void timingArrived(bool isKnown);
  void drained();

  pa_mainloop_api* const api_;
  pa_context* context_ = nullptr;
  pa_stream* stream_ = nullptr;
  pa_time_event* drainLimit_ = nullptr;
  std::function<void(int)> ready_;
  std::function<void(int)> started_;
  std::function<void(std::span<const std::int16_t>)> samples_;
  std::function<void(End)> ended_;
  std::function<void()> drainDone_;
  bool isClosing_ = false;
  bool isTimingKnown_ = false;
  std::int64_t awaitedBytes_ = 0;
  std::shared_ptr<PulseStream> self_;  // while open
};

}  // namespace quillmere
