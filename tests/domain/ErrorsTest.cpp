#include "domain/Errors.h"

#include "support/TestTexts.h"

namespace quillmere {
namespace {

using T = TranscriptionError;

TranscriptionError error(T::Case kind) {
  return {std::move(kind)};
}

struct Row {
  T::Case kind;
  const char* key;
  const char* classification;  // category/code/retryable
};

// One row a shape of each case: every choice of key is taken once.
const std::vector<Row>& rows() {
  static const std::vector<Row> table{
      {T::ProviderNotAvailable{}, "transcription.error.providerNotAvailable", "provider/provider_not_available/yes"},
      {T::ProviderNotAvailable{"Groq", {}}, "transcription.error.providerNotAvailable.provider",
       "provider/provider_not_available/yes"},
      {T::ProviderNotAvailable{"Groq", "down"}, "transcription.error.providerNotAvailable.detail",
       "provider/provider_not_available/yes"},
      // A reason needs a provider to stand behind.
      {T::ProviderNotAvailable{{}, "down"}, "transcription.error.providerNotAvailable",
       "provider/provider_not_available/yes"},
      {T::NetworkError{}, "transcription.error.network.generic", "network/network_error/yes"},
      {T::NetworkError{"cut"}, "transcription.error.network.detail", "network/network_error/yes"},
      {T::ApiKeyMissing{}, "transcription.error.apiKeyMissing.generic", "auth/api_key_missing/no"},
      {T::ApiKeyMissing{"OpenAI"}, "transcription.error.apiKeyMissing.provider", "auth/api_key_missing/no"},
      {T::Unauthorized{}, "transcription.error.unauthorized.generic", "auth/unauthorized/no"},
      {T::Unauthorized{"OpenAI"}, "transcription.error.unauthorized.provider", "auth/unauthorized/no"},
      {T::AudioFileTooLarge{1, 2, "Groq"}, "transcription.error.audioFileTooLarge", "audio/audio_file_too_large/no"},
      {T::ServerError{503, "busy"}, "transcription.error.serverError", "server/server_error/yes"},
      {T::RateLimited{}, "transcription.error.rateLimited.generic", "rate_limit/rate_limited/yes"},
      {T::RateLimited{30}, "transcription.error.rateLimited.seconds", "rate_limit/rate_limited/yes"},
      {T::InsufficientCredits{1500, 20000}, "transcription.error.insufficientCredits",
       "billing/insufficient_credits/no"},
      {T::QuotaExceeded{"OpenAI", {}}, "transcription.error.quotaExceeded", "billing/quota_exceeded/no"},
      {T::QuotaExceeded{"OpenAI", "plan"}, "transcription.error.quotaExceeded.detail", "billing/quota_exceeded/no"},
      {T::Timeout{"upload"}, "transcription.error.timeout", "timeout/timeout/yes"},
      {T::ModelNotDownloaded{}, "transcription.error.modelNotDownloaded", "model/model_not_downloaded/no"},
      {T::ModelProtected{}, "transcription.error.modelProtected", "model/model_protected/no"},
      {T::AudioFileNotFound{}, "transcription.error.audioFileNotFound", "audio/audio_file_not_found/no"},
      {T::MaxRetriesExceeded{}, "transcription.error.maxRetriesExceeded", "retry/max_retries_exceeded/no"},
      {T::InvalidRequest{}, "transcription.error.invalidRequest", "request/invalid_request/no"},
      {T::StreamingInterrupted{}, "transcription.error.streamingInterrupted", "streaming/streaming_interrupted/yes"},
      {T::Busy{}, "transcription.error.busy", "busy/busy/no"},
      {T::InvalidAudioFormat{}, "transcription.error.invalidAudioFormat", "audio/invalid_audio_format/no"},
      {T::AudioConversionFailed{}, "transcription.error.audioConversionFailed", "audio/audio_conversion_failed/no"},
      {T::NoSpeechDetected{}, "transcription.error.noSpeechDetected", "audio/no_speech_detected/no"},
  };
  return table;
}

QString classificationText(const ErrorClassification& c) {
  return c.category + u'/' + c.code + (c.isRetryable ? QStringLiteral("/yes") : QStringLiteral("/no"));
}

TEST(TranscriptionErrorTest, KeysAndClassificationOfEveryShape) {
  for (const Row& row : rows()) {
    const TranscriptionError value = error(row.kind);
    EXPECT_EQ(messageKey(value), QString::fromLatin1(row.key));
    EXPECT_EQ(classificationText(classify(value)), QString::fromLatin1(row.classification)) << row.key;
    EXPECT_EQ(classify(AnyError(value)), classify(value)) << row.key;
    const bool isServerError = value.is<T::ServerError>();
    EXPECT_EQ(classify(value).httpStatus, isServerError ? std::optional(503) : std::nullopt) << row.key;
  }
}

TEST(TranscriptionErrorTest, EveryMessageHasASentenceInBothTablesWithItsArgumentsInPlace) {
  const std::map<QString, QStringList> wanted{
      {"transcription.error.providerNotAvailable.detail", {"Groq", "down"}},
      {"transcription.error.network.detail", {"cut"}},
      {"transcription.error.apiKeyMissing.provider", {"OpenAI"}},
      {"transcription.error.serverError", {"503", "busy"}},
      {"transcription.error.rateLimited.seconds", {"30"}},
      {"transcription.error.insufficientCredits", {"1.5", "20"}},
      {"transcription.error.quotaExceeded.detail", {"OpenAI", "plan"}},
      {"transcription.error.timeout", {"upload"}},
  };
  for (const char* language : {"en", "de"}) {
    const TestTexts texts(QString::fromLatin1(language));
    for (const Row& row : rows()) {
      const QString text = localizedDescription(error(row.kind));
      EXPECT_TRUE(text.contains(u' ') && !text.contains(u'%'))
          << language << ": " << row.key << ": " << qPrintable(text);
      const auto found = wanted.find(row.key);
      if (found == wanted.end()) continue;
      for (const QString& argument : found->second) EXPECT_TRUE(text.contains(argument)) << qPrintable(text);
    }
  }
}

TEST(TranscriptionErrorTest, SizesAreShownInTheRightUnits) {
  const TestTexts texts;
  const auto text = localizedDescription(error(T::AudioFileTooLarge{3'221'225'472, 26'214'400, "Groq"}));
  EXPECT_TRUE(text.contains("3.0 GB") && text.contains("25 MB") && text.contains("Groq")) << qPrintable(text);
}

TEST(TranscriptionErrorTest, APercentSignInAnArgumentIsNotTakenForAPlaceholder) {
  const TestTexts texts;
  const auto text = localizedDescription(error(T::QuotaExceeded{"%2", "used 100 %1"}));
  EXPECT_TRUE(text.contains("%2 account") && text.endsWith("used 100 %1")) << qPrintable(text);
}

TEST(SizeTextTest, SwitchesToGigabytesAtExactlyOne) {
  EXPECT_EQ(sizeText(26'214'400), "25 MB");
  EXPECT_EQ(sizeText(26'214'399), "24 MB");
  EXPECT_EQ(sizeText(0), "0 MB");
  EXPECT_EQ(sizeText(1'073'741'823), "1023 MB");
  EXPECT_EQ(sizeText(1'073'741'824), "1.0 GB");
  EXPECT_EQ(sizeText(1'663'299'584), "1.5 GB");
}

TEST(AudioErrorTest, AReasonIsTheWholeMessageAndTheOthersHaveTexts) {
  using K = AudioError::Kind;
  for (const char* language : {"en", "de"}) {
    const TestTexts texts(QString::fromLatin1(language));
    for (int i = 0; i <= static_cast<int>(K::noAudioTrack); ++i) {
      const AudioError value{static_cast<K>(i), "because %1"};
      const bool hasReason = value.kind == K::permissionDenied || value.kind == K::recordingFailed;
      EXPECT_EQ(localizedDescription(value) == value.reason, hasReason) << i;
      EXPECT_EQ(messageKey(value).isEmpty(), hasReason) << i;
      EXPECT_NE(localizedDescription(value), messageKey(value)) << i;
    }
    for (int i = 0; i <= static_cast<int>(FileWatcherError::fileNotCreated); ++i) {
      const auto value = static_cast<FileWatcherError>(i);
      EXPECT_NE(localizedDescription(value), messageKey(value)) << i;
    }
  }
}

TEST(ErrorClassificationTest, ErrorsOfOtherTypes) {
  using K = HostedCloudError::Kind;
  const auto text = [](const AnyError& e) { return classificationText(classify(e)); };
  EXPECT_EQ(text(HostedCloudError{K::insufficientCredits, {}}), "billing/insufficient_credits/no");
  EXPECT_EQ(text(HostedCloudError{K::networkFailure, {}}), "network/network_error/yes");
  EXPECT_EQ(text(HostedCloudError{K::serverFailure, {}}), "server/server_error/yes");
  EXPECT_EQ(text(HostedCloudError{K::invalidResponse, {}}), "server/invalid_response/yes");

  for (const int code : {-1001, -1003, -1004, -1005, -1006, -1009})
    EXPECT_EQ(text(UrlError{code, {}, {}}), QStringLiteral("network/url_%1/yes").arg(code));
  for (const int code : {-999, -1000, -1011, -1200})
    EXPECT_EQ(text(UrlError{code, {}, {}}), QStringLiteral("network/url_%1/no").arg(code));
  // A web error that comes as a plain number of that domain may always be tried again.
  EXPECT_EQ(text(PlatformError{"NSURLErrorDomain", -1200, {}}), "network/url_-1200/yes");

  EXPECT_EQ(text(PlatformError{"filesystem", 28, {}}), "unknown/unknown/no");
  EXPECT_EQ(text(AudioError{}), "unknown/unknown/no");
  EXPECT_EQ(text(FileWatcherError::timeout), "unknown/unknown/no");
}

TEST(ErrorIdentityTest, NumbersThatDiagnosticsRelyOn) {
  using K = AudioError::Kind;
  EXPECT_EQ(errorDomain(AudioError{K::recordingTooShort, {}}), "Quillmere.AudioError");
  EXPECT_EQ(errorCode(AudioError{K::recordingTooShort, {}}), 12);
  EXPECT_EQ(errorCode(AudioError{K::recordingFailed, {}}), 1);
  EXPECT_EQ(errorCode(UrlError{UrlError::timedOut, {}, {}}), -1001);
  EXPECT_EQ(errorDomain(PlatformError{"sqlite", 11, {}}), "sqlite");
  EXPECT_EQ(errorTypeName(error(T::Busy{})), "TranscriptionError");
}

TEST(UrlErrorTest, AnErrorWithoutADescriptionGetsOne) {
  const TestTexts texts;
  EXPECT_EQ(localizedDescription(AnyError(UrlError{-1001, "timedOut", "too slow"})), "too slow");
  EXPECT_EQ(localizedDescription(AnyError(UrlError{-1009, "notConnectedToInternet", {}})),
            "There is no internet connection.");
  EXPECT_TRUE(localizedDescription(AnyError(UrlError{-1103, {}, {}})).contains("-1103"));
}

}  // namespace
}  // namespace quillmere
