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
  const char* key;             // behind "transcription.error."
  const char* classification;  // category/code/retryable
  QStringList arguments = {};  // that the text must show
};

// One row a shape of each case: every choice of key is taken once.
const std::vector<Row>& rows() {
  static const std::vector<Row> table{
      {T::ProviderNotAvailable{}, "providerNotAvailable", "provider/provider_not_available/yes"},
      {T::ProviderNotAvailable{"Groq", {}}, "providerNotAvailable.provider", "provider/provider_not_available/yes"},
      {T::ProviderNotAvailable{"Groq", "down"},
       "providerNotAvailable.detail",
       "provider/provider_not_available/yes",
       {"Groq", "down"}},
      // A reason needs a provider to stand behind.
      {T::ProviderNotAvailable{{}, "down"}, "providerNotAvailable", "provider/provider_not_available/yes"},
      {T::NetworkError{}, "network.generic", "network/network_error/yes"},
      {T::NetworkError{"cut"}, "network.detail", "network/network_error/yes", {"cut"}},
      {T::ApiKeyMissing{}, "apiKeyMissing.generic", "auth/api_key_missing/no"},
      {T::ApiKeyMissing{"OpenAI"}, "apiKeyMissing.provider", "auth/api_key_missing/no", {"OpenAI"}},
      {T::Unauthorized{}, "unauthorized.generic", "auth/unauthorized/no"},
      {T::Unauthorized{"OpenAI"}, "unauthorized.provider", "auth/unauthorized/no"},
      {T::AudioFileTooLarge{3'221'225'472, 26'214'400, "Groq"},
       "audioFileTooLarge",
       "audio/audio_file_too_large/no",
       {"3.0 GB", "25 MB", "Groq"}},
      {T::ServerError{503, "busy"}, "serverError", "server/server_error/yes", {"503", "busy"}},
      {T::RateLimited{}, "rateLimited.generic", "rate_limit/rate_limited/yes"},
      {T::RateLimited{30}, "rateLimited.seconds", "rate_limit/rate_limited/yes", {"30"}},
      {T::InsufficientCredits{1500, 20000}, "insufficientCredits", "billing/insufficient_credits/no", {"1.5", "20"}},
      {T::QuotaExceeded{"OpenAI", {}}, "quotaExceeded", "billing/quota_exceeded/no"},
      {T::QuotaExceeded{"OpenAI", "plan"}, "quotaExceeded.detail", "billing/quota_exceeded/no", {"OpenAI", "plan"}},
      {T::Timeout{"upload"}, "timeout", "timeout/timeout/yes", {"upload"}},
      {T::ModelNotDownloaded{}, "modelNotDownloaded", "model/model_not_downloaded/no"},
      {T::ModelNotDownloaded{"base"}, "modelNotDownloaded.model", "model/model_not_downloaded/no", {"base"}},
      {T::ModelProtected{}, "modelProtected", "model/model_protected/no"},
      {T::AudioFileNotFound{}, "audioFileNotFound", "audio/audio_file_not_found/no"},
      {T::MaxRetriesExceeded{}, "maxRetriesExceeded", "retry/max_retries_exceeded/no"},
      {T::InvalidRequest{}, "invalidRequest", "request/invalid_request/no"},
      {T::StreamingInterrupted{}, "streamingInterrupted", "streaming/streaming_interrupted/yes"},
      {T::Busy{}, "busy", "busy/busy/no"},
      {T::InvalidAudioFormat{}, "invalidAudioFormat", "audio/invalid_audio_format/no"},
      {T::AudioConversionFailed{}, "audioConversionFailed", "audio/audio_conversion_failed/no"},
      {T::NoSpeechDetected{}, "noSpeechDetected", "audio/no_speech_detected/no"},
  };
  return table;
}

QString classificationText(const ErrorClassification& c) {
  return c.category + u'/' + c.code + (c.isRetryable ? "/yes" : "/no");
}

TEST(TranscriptionErrorTest, KeyClassificationAndSentenceOfEveryShape) {
  for (const char* language : {"en", "de"}) {
    const TestTexts texts{QString(language)};
    for (const Row& row : rows()) {
      SCOPED_TRACE(row.key);
      const TranscriptionError value = error(row.kind);
      EXPECT_EQ(messageKey(value), QString("transcription.error.") + row.key);
      EXPECT_EQ(classificationText(classify(value)), row.classification);
      EXPECT_EQ(classify(AnyError(value)), classify(value));
      EXPECT_EQ(classify(value).httpStatus, value.is<T::ServerError>() ? std::optional(503) : std::nullopt);
      const QString text = localizedDescription(value);
      EXPECT_TRUE(text.contains(u' ') && !text.contains(u'%')) << qPrintable(text);
      for (const QString& argument : row.arguments) EXPECT_TRUE(text.contains(argument)) << qPrintable(text);
    }
  }
}

TEST(TranscriptionErrorTest, APercentSignInAnArgumentIsNotTakenForAPlaceholder) {
  const TestTexts texts;
  const auto text = localizedDescription(error(T::QuotaExceeded{"%2", "used 100 %1"}));
  EXPECT_TRUE(text.contains("%2 account") && text.endsWith("used 100 %1")) << qPrintable(text);
}

TEST(NetworkFailureTest, IsTheNetworksAndNotTheServices) {
  const std::vector<std::pair<AnyError, bool>> table{
      {error(T::NetworkError{}), true},
      {error(T::Timeout{"upload"}), false},
      {HostedCloudError{HostedCloudError::Kind::networkFailure, {}}, true},
      {HostedCloudError{HostedCloudError::Kind::serverFailure, {}}, false},
      {UrlError{UrlError::notConnectedToInternet, {}, {}}, true},
      {UrlError{UrlError::timedOut, {}, {}}, false},
      {UrlError{UrlError::badServerResponse, {}, {}}, false},
      {PlatformError{"network", 1, "no"}, false}};
  for (const auto& [value, isNetwork] : table)
    EXPECT_EQ(isNetworkFailure(value), isNetwork) << qPrintable(localizedDescription(value));
}

TEST(SizeTextTest, SwitchesToGigabytesAtExactlyOne) {
  for (const auto& [bytes, text] : {std::pair{26'214'399LL, "24 MB"},
                                    {26'214'400, "25 MB"},
                                    {0, "0 MB"},
                                    {1'073'741'823, "1023 MB"},
                                    {1'073'741'824, "1.0 GB"},
                                    {1'663'299'584, "1.5 GB"}})
    EXPECT_EQ(sizeText(bytes), text);
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

  // Numbers that reports are grouped by.
  EXPECT_EQ(errorDomain(AudioError{AudioError::Kind::recordingTooShort, {}}), "Quillmere.AudioError");
  EXPECT_EQ(errorCode(AudioError{AudioError::Kind::recordingTooShort, {}}), 12);
  EXPECT_EQ(errorCode(UrlError{UrlError::timedOut, {}, {}}), -1001);
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
