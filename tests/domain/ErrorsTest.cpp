#include "domain/Errors.h"

#include "support/TestTexts.h"

namespace quillmere {
namespace {

using T = TranscriptionError;

TranscriptionError error(T::Case kind) {
  return {std::move(kind)};
}

TEST(TranscriptionErrorTest, SentencesShowTheirArguments) {
  const std::pair<T::Case, QStringList> cases[] = {
      {T::ProviderNotAvailable{"Groq", {}}, {"Groq"}},
      {T::ProviderNotAvailable{"Groq", "down"}, {"Groq", "down"}},
      {T::NetworkError{"cut"}, {"cut"}},
      {T::ApiKeyMissing{"OpenAI"}, {"OpenAI"}},
      {T::Unauthorized{"OpenAI"}, {"OpenAI"}},
      {T::AudioFileTooLarge{3'221'225'472, 26'214'400, "Groq"}, {"3.0 GB", "25 MB", "Groq"}},
      {T::ServerError{503, "busy"}, {"503", "busy"}},
      {T::RateLimited{30}, {"30"}},
      {T::InsufficientCredits{1500, 20000}, {"1.5", "20"}},
      {T::QuotaExceeded{"OpenAI", {}}, {"OpenAI"}},
      {T::QuotaExceeded{"OpenAI", "plan"}, {"OpenAI", "plan"}},
      {T::Timeout{"upload"}, {"upload"}},
      {T::ModelNotDownloaded{"base"}, {"base"}},
  };
  for (const char* language : {"en", "de"}) {
    const TestTexts texts{QString(language)};
    for (const auto& [kind, arguments] : cases) {
      const QString text = localizedDescription(error(kind));
      EXPECT_TRUE(text.contains(u' ') && !text.contains(u'%')) << qPrintable(text);
      for (const QString& argument : arguments) EXPECT_TRUE(text.contains(argument)) << qPrintable(text);
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
      {HostedCloudError{HostedCloudError::Kind::networkFailure, {}}, true},
      {UrlError{UrlError::notConnectedToInternet, {}, {}}, true},
      {UrlError{UrlError::timedOut, {}, {}}, false},
      {PlatformError{"network", 1, "no"}, false}};
  for (const auto& [value, isNetwork] : table)
    EXPECT_EQ(isNetworkFailure(value), isNetwork) << qPrintable(localizedDescription(value));
}

TEST(SizeTextTest, SwitchesToGigabytesAtExactlyOne) {
  for (const auto& [bytes, text] :
       {std::pair{26'214'399LL, "24 MB"}, {26'214'400, "25 MB"}, {1'073'741'823, "1023 MB"}, {1'073'741'824, "1.0 GB"}})
    EXPECT_EQ(sizeText(bytes), text);
}

TEST(ErrorClassificationTest, TellsWhatMayBeTriedAgain) {
  const auto isRetryable = [](const AnyError& e) { return classify(e).isRetryable; };
  EXPECT_TRUE(isRetryable(error(T::ServerError{503, "busy"})));
  EXPECT_EQ(classify(error(T::ServerError{503, "busy"})).httpStatus, 503);
  EXPECT_FALSE(isRetryable(error(T::Busy{})));
  EXPECT_FALSE(isRetryable(HostedCloudError{HostedCloudError::Kind::insufficientCredits, {}}));
  EXPECT_TRUE(isRetryable(HostedCloudError{HostedCloudError::Kind::serverFailure, {}}));
  for (const int code : {-1001, -1003, -1004, -1005, -1006, -1009}) EXPECT_TRUE(isRetryable(UrlError{code, {}, {}}));
  for (const int code : {-999, -1000, -1011, -1200}) EXPECT_FALSE(isRetryable(UrlError{code, {}, {}}));
  // A web error that comes as a plain number of that domain may always be tried again.
  EXPECT_TRUE(isRetryable(PlatformError{"NSURLErrorDomain", -1200, {}}));
  EXPECT_FALSE(isRetryable(PlatformError{"filesystem", 28, {}}));
}

TEST(UrlErrorTest, AnErrorWithoutADescriptionGetsOne) {
  const TestTexts texts;
  EXPECT_EQ(localizedDescription(AnyError(UrlError{-1001, "timedOut", "too slow"})), "too slow");
  EXPECT_TRUE(localizedDescription(AnyError(UrlError{-1103, {}, {}})).contains("-1103"));
}

}  // namespace
}  // namespace quillmere
