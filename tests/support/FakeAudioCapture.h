#pragma once
#include "base/async/Async.h"
#include "ports/AudioCapture.h"

namespace quillmere {

// A microphone that hears what the test says.
class FakeAudioCaptureFactory final : public AudioCaptureFactory {
 public:
  std::optional<PlatformError> startError;
  Duration startTakes{0};
  std::vector<std::optional<QString>> started;  // the uids
  int running = 0;

  std::unique_ptr<AudioCapture> create() override { return std::make_unique<Capture>(*this); }
  void hear(const AudioCapture::Samples16kHz& samples) {
    if (running == 0) return;
    heard_.insert(heard_.end(), samples.begin(), samples.end());
    change_.resolve();
  }
  void interrupt(AudioCapture::Interruption interruption) {
    interruption_ = std::move(interruption);
    running = 0;
    change_.resolve();
  }

 private:
  class Capture final : public AudioCapture {
   public:
    explicit Capture(FakeAudioCaptureFactory& owner) : owner_(owner) {}
    ~Capture() override { owner_.running = 0; }
    Task<Result<void, PlatformError>> start(std::optional<QString> deviceUid) override {
      if (std::exchange(isStarted_, true)) co_return Failed{PlatformError{"audio", 1, {}}};
      owner_.started.push_back(deviceUid);
      co_await sleepFor(owner_.startTakes);
      if (owner_.startError) co_return Failed{*owner_.startError};
      owner_.running = 1;
      co_return Result<void, PlatformError>{};
    }
    Task<Result<Samples16kHz, Interruption>> read() override {
      while (owner_.heard_.empty() && owner_.running > 0) {
        owner_.change_ = Completion<>();
        co_await owner_.change_.wait();
      }
      if (owner_.heard_.empty() && owner_.interruption_) co_return Failed{*owner_.interruption_};
      co_return std::exchange(owner_.heard_, {});
    }
    Task<void> stop() override {
      owner_.running = 0;
      owner_.change_.resolve();
      co_return;
    }

   private:
    FakeAudioCaptureFactory& owner_;
    bool isStarted_ = false;
  };

  AudioCapture::Samples16kHz heard_;
  std::optional<AudioCapture::Interruption> interruption_;
  Completion<> change_;
};

}  // namespace quillmere
