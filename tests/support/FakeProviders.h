#pragma once
#include <QMap>
#include <QStringList>
#include <map>
#include <set>

#include "base/async/Async.h"
#include "providers/CloudTranscriptionProvider.h"
#include "providers/GemmaRuntime.h"
#include "providers/HostedTranscriptionProvider.h"
#include "providers/ParakeetEngine.h"
#include "providers/ProviderHealthChecking.h"
#include "providers/Transcriber.h"
#include "storage/CloudProviderAPIKeyProviding.h"

namespace quillmere {

// What the fake engines answer, and how long they take in virtual time.
struct FakeAnswer {
  Result<QString, AnyError> text = QStringLiteral("spoken words");
  Duration delay{0};
  bool isStubborn = false;  // goes on to its end when it is cancelled

  Task<Result<QString, AnyError>> give() const {
    auto waiting = sleepFor(delay);
    if (isStubborn) waiting = shielded(std::move(waiting));
    const auto answer = text;
    return waitAndReturn(std::move(waiting), answer);
  }

 private:
  static Task<Result<QString, AnyError>> waitAndReturn(Task<void> waiting, Result<QString, AnyError> answer) {
    co_await std::move(waiting);
    co_return answer;
  }
};

class FakeCloudProvider final : public CloudTranscriptionProvider {
 public:
  explicit FakeCloudProvider(QString name) : name_(std::move(name)) {}
  FakeAnswer answer;
  bool available = true;
  std::vector<std::pair<CloudProvider, QString>> configurations;
  std::vector<std::optional<QString>> languages;
  std::vector<size_t> vocabularySizes;

  void configure(CloudProvider provider, const QString& apiKey) override {
    configurations.emplace_back(provider, apiKey);
  }
  Task<Result<QString, AnyError>> transcribe(QString, std::optional<QString> language, ModePtr,
                                             std::vector<VocabularyPtr> vocabulary) override {
    languages.push_back(std::move(language));
    vocabularySizes.push_back(vocabulary.size());
    return answer.give();
  }
  bool isAvailable() const override { return available; }
  QString name() const override { return name_; }

 private:
  QString name_;
};

class FakeHostedProvider final : public HostedTranscriptionProvider {
 public:
  FakeHostedProvider(FakeAnswer answer, std::optional<QString> enhanced)
      : answer_(std::move(answer)), enhanced_(std::move(enhanced)) {}
  Task<Result<QString, AnyError>> transcribe(QString, std::optional<QString>, ModePtr,
                                             std::vector<VocabularyPtr>) override {
    return answer_.give();
  }
  bool isAvailable() const override { return true; }
  QString name() const override { return QStringLiteral("Quillmere Cloud"); }
  std::optional<QString> aiEnhancedText() const override { return enhanced_; }

 private:
  FakeAnswer answer_;
  std::optional<QString> enhanced_;
};

class FakeHostedFactory final : public HostedTranscriptionProviderFactory {
 public:
  bool hasManager = true;
  bool makes = true;
  int made = 0;
  FakeAnswer answer;
  std::optional<QString> enhanced;
  bool hasCreditManager() const override { return hasManager; }
  std::unique_ptr<HostedTranscriptionProvider> makeProvider() override {
    if (!makes) return nullptr;
    ++made;
    return std::make_unique<FakeHostedProvider>(answer, enhanced);
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
  Task<Result<QString, AnyError>> transcribe(QString, std::optional<QString>, ModePtr,
                                             std::vector<VocabularyPtr>) override {
    return FakeAnswer{}.give();
  }
  bool isAvailable() const override { return !installed.empty(); }
  QString name() const override { return QStringLiteral("Parakeet TDT"); }
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
    co_return modelId.value_or(QStringLiteral("first"));
  }
  void stop(GemmaStopReason reason) override { stops.push_back(reason); }
};

class FakeTranscriber final : public Transcriber {
 public:
  std::optional<AnyError> error;
  TranscriptionResult result;
  bool neverEnds = false;
  std::vector<TranscriptionRequest> requests;
  int cancels = 0;
  Task<Result<TranscriptionResult, AnyError>> transcribeWithDetails(TranscriptionRequest request) override {
    requests.push_back(std::move(request));
    if (neverEnds) {
      Completion<void> never;
      co_await never.wait();
    }
    co_await yieldNow();
    if (error) co_return Failed{*error};
    co_return result;
  }
  void cancelTranscription() override { ++cancels; }
};

}  // namespace quillmere
