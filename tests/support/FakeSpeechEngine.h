#pragma once
#include <QFileInfo>
#include <QStringList>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "ports/SpeechEngine.h"

namespace quillmere {

// A speech engine that answers as the test says. Loads and runs can be held; a held run ends at the stop flag.
class FakeSpeechEngine final : public SpeechEngine {
 public:
  struct Answer {
    bool succeeded = true;
    std::vector<QByteArray> segments;
    std::optional<QByteArray> detected;
  };

  // Called on the worker with the number of the run, from 1.
  std::function<Answer(const SpeechRunParameters&, int)> answer = [](const SpeechRunParameters&, int) {
    return Answer{true, {" Hello there."}, "en"};
  };
  std::set<QString> brokenFiles;  // file names whose load fails
  std::optional<QString> unsupported;

  Result<std::unique_ptr<SpeechEngineContext>, PlatformError> load(const QString& modelPath) override {
    std::unique_lock lock(mutex_);
    const QString name = QFileInfo(modelPath).fileName();
    loads_.append(name);
    changed_.notify_all();
    changed_.wait(lock, [&] { return !areLoadsHeld_; });
    if (brokenFiles.contains(name) || !QFileInfo::exists(modelPath))
      return Failed{PlatformError{"whisper", 1, "broken"}};
    mostLoaded_ = std::max(mostLoaded_, ++loaded_);
    return std::unique_ptr<SpeechEngineContext>(std::make_unique<Context>(*this));
  }
  std::optional<QString> unsupportedProcessor() const override { return unsupported; }

  // The test-only face; main thread.
  void holdLoads(bool isHeld) {
    const std::lock_guard lock(mutex_);
    areLoadsHeld_ = isHeld;
    changed_.notify_all();
  }
  void holdRuns(bool isHeld) { areRunsHeld_ = isHeld; }
  void waitForLoads(qsizetype count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return loads_.size() >= count; });
  }
  QStringList loads() const { return guarded(loads_); }
  std::vector<SpeechRunParameters> runs() const { return guarded(runs_); }
  int loaded() const { return guarded(loaded_); }
  int mostLoaded() const { return guarded(mostLoaded_); }
  int interruptedRuns() const { return interruptedRuns_; }

 private:
  class Context final : public SpeechEngineContext {
   public:
    explicit Context(FakeSpeechEngine& engine) : engine_(engine) {}
    ~Context() override {
      const std::lock_guard lock(engine_.mutex_);
      --engine_.loaded_;
    }
    bool run(SpeechSamples, const SpeechRunParameters& parameters, const std::atomic<bool>& stop) override {
      last_ = {};
      int number = 0;
      {
        const std::lock_guard lock(engine_.mutex_);
        engine_.runs_.push_back(parameters);
        number = static_cast<int>(engine_.runs_.size());
        engine_.changed_.notify_all();
      }
      while (engine_.areRunsHeld_ && !stop) std::this_thread::yield();
      if (stop) {
        ++engine_.interruptedRuns_;
        return false;
      }
      const Answer given = engine_.answer(parameters, number);
      if (given.succeeded) last_ = given;
      return given.succeeded;
    }
    int segmentCount() const override { return static_cast<int>(last_.segments.size()); }
    QByteArray segmentText(int segment) const override {
      return segment < 0 || segment >= segmentCount() ? QByteArray() : last_.segments[size_t(segment)];
    }
    std::optional<QByteArray> detectedLanguage() const override { return last_.detected; }

   private:
    FakeSpeechEngine& engine_;
    Answer last_;
  };

  template <typename T>
  T guarded(const T& member) const {
    const std::lock_guard lock(mutex_);
    return member;
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  QStringList loads_;
  std::vector<SpeechRunParameters> runs_;
  int loaded_ = 0;
  int mostLoaded_ = 0;
  bool areLoadsHeld_ = false;
  std::atomic<bool> areRunsHeld_ = false;
  std::atomic<int> interruptedRuns_ = 0;
};

}  // namespace quillmere
