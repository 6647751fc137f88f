#pragma once
#include <QMap>
#include <QStringList>
#include <map>
#include <set>

#include "base/async/Async.h"
#include "providers/GemmaRuntime.h"
#include "providers/HostedTranscriptionProviderFactory.h"
#include "providers/ParakeetEngine.h"
#include "providers/ProviderHealthChecking.h"
#include "storage/CloudProviderAPIKeyProviding.h"

namespace quillmere {

// What the fake engines answer, and how long they take in virtual time.
struct FakeAnswer {
  Result<QString, AnyError> text = QStringLiteral("spoken words");
  std::optional<QString> rewrittenText;
  std::vector<float> progress;  // told at once
  Duration delay{0};
  bool isStubborn = false;  // goes on to its end when it is cancelled

  Task<Result<SpeechAnswer, AnyError>> give(SpeechRequest request) const {
    if (request.onProgress)
      for (const float share : progress) request.onProgress(share);
    auto waiting = sleepFor(delay);
    if (isStubborn) waiting = shielded(std::move(waiting));
    return waitAndReturn(std::move(waiting), text, rewrittenText);
  }

 private:
  static Task<Result<SpeechAnswer, AnyError>> waitAndReturn(Task<void> waiting, Result<QString, AnyError> text,
                                                            std::optional<QString> rewrittenText) {
    co_await std::move(waiting);
    if (!text) co_return Failed{text.error()};
    SpeechAnswer answer;
    answer.text = *text;
    answer.rewrittenText = rewrittenText;
    co_return answer;
  }
};

class FakeSpeechService final : public TranscriptionProvider {
 public:
  explicit FakeSpeechService(QString name) : name_(std::move(name)) {}
  FakeAnswer answer;
  bool available = true;
  std::vector<SpeechRequest> requests;

  Task<Result<SpeechAnswer, AnyError>> transcribe(SpeechRequest request) override {
    requests.push_back(request);
    return answer.give(std::move(request));
  }
  bool isAvailable() const override { return available; }
  QString name() const override { return name_; }

 private:
  QString name_;
};

class FakeHostedFactory final : public HostedTranscriptionProviderFactory {
 public:
  bool makes = true;
  int made = 0;
  FakeAnswer answer;
  bool hasCreditManager() const override { return true; }
  std::unique_ptr<TranscriptionProvider> makeProvider() override {
    if (!makes) return nullptr;
    ++made;
    auto provider = std::make_unique<FakeSpeechService>("Quillmere Cloud");
    provider->answer = answer;
    return provider;
  }
};

class FakeProviderHealth final : public ProviderHealthChecking {
 public:
  std::map<CloudProvider, ProviderHealth> speech;  // healthy where nothing is said
  std::map<PostProcessingProvider, ProviderHealth> postProcessing;
  int questions = 0;
  Task<ProviderHealth> status(CloudProvider provider) override { return answer(speech, provider); }
  Task<ProviderHealth> status(PostProcessingProvider provider) override { return answer(postProcessing, provider); }

 private:
  template <typename P>
  Task<ProviderHealth> answer(const std::map<P, ProviderHealth>& table, P provider) {
    ++questions;
    const auto found = table.find(provider);
    return later(found == table.end() ? ProviderHealth::healthy : found->second);
  }
  static Task<ProviderHealth> later(ProviderHealth health) {
    co_await yieldNow();
    co_return health;
  }
};

class FakeApiKeys final : public CloudProviderAPIKeyProviding {
 public:
  QMap<QString, QString> keys;  // by raw value
  QString apiKey(CloudProvider provider) const override { return keys.value(rawValue(provider)); }
  QString apiKey(PostProcessingProvider provider) const override { return keys.value(rawValue(provider)); }
};

class FakeParakeetEngine final : public ParakeetEngine {
 public:
  std::set<AsrModelVersion> installed;
  std::set<AsrModelVersion> onDisk;  // seen at the next refresh
  std::optional<AnyError> prepareError;
  QStringList prepared;
  Task<Result<void, AnyError>> prepare(QString modelName) override {
    prepared.append(modelName);
    co_await yieldNow();
    if (prepareError) co_return Failed{*prepareError};
    co_return Result<void, AnyError>();
  }
  bool isInstalled(AsrModelVersion version) const override { return installed.contains(version); }
  void refresh() override { installed = onDisk; }
  Task<Result<SpeechAnswer, AnyError>> transcribe(SpeechRequest request) override {
    return FakeAnswer{}.give(std::move(request));
  }
  bool isAvailable() const override { return !installed.empty(); }
  QString name() const override { return "Parakeet TDT"; }
};

class FakeGemmaRuntime final : public GemmaRuntime {
 public:
  std::optional<GemmaError> error;
  std::vector<std::pair<std::optional<QString>, GemmaServerConfiguration>> requests;
  std::vector<GemmaStopReason> stops;
  Task<Result<QString, GemmaError>> ensureRunning(std::optional<QString> modelId,
                                                  GemmaServerConfiguration configuration) override {
    requests.emplace_back(modelId, configuration);
    co_await yieldNow();
    if (error) co_return Failed{*error};
    co_return modelId.value_or("first");
  }
  void stop(GemmaStopReason reason) override { stops.push_back(reason); }
};

}  // namespace quillmere
