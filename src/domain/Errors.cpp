#include "domain/Errors.h"

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

using T = TranscriptionError;

template <typename... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <typename... F>
Overloaded(F...) -> Overloaded<F...>;

// Thousandths of a credit as the user sees them.
double credits(int thousandths) {
  return thousandths / 1000.0;
}

QStringList messageArguments(const TranscriptionError& error) {
  return std::visit(
      Overloaded{
          [](const T::ProviderNotAvailable& e) {
            if (!e.provider) return QStringList{};
            return e.reason ? QStringList{*e.provider, *e.reason} : QStringList{*e.provider};
          },
          [](const T::NetworkError& e) { return e.details ? QStringList{*e.details} : QStringList{}; },
          [](const T::ApiKeyMissing& e) { return e.provider ? QStringList{*e.provider} : QStringList{}; },
          [](const T::Unauthorized& e) { return e.provider ? QStringList{*e.provider} : QStringList{}; },
          [](const T::AudioFileTooLarge& e) {
            return QStringList{sizeText(e.fileSize), sizeText(e.limit), e.providerName};
          },
          [](const T::ServerError& e) {
            return QStringList{QString::number(e.statusCode), e.message};
          },
          [](const T::RateLimited& e) {
            return e.retryAfterSeconds ? QStringList{QString::number(*e.retryAfterSeconds)} : QStringList{};
          },
          [](const T::InsufficientCredits& e) {
            return QStringList{QString::number(credits(e.remaining)), QString::number(credits(e.required))};
          },
          [](const T::QuotaExceeded& e) {
            return e.message ? QStringList{e.provider, *e.message} : QStringList{e.provider};
          },
          [](const T::Timeout& e) { return QStringList{e.operation}; },
          [](const T::ModelNotDownloaded& e) { return e.model ? QStringList{*e.model} : QStringList{}; },
          [](const auto&) { return QStringList{}; },
      },
      error.kind);
}

struct ClassificationRow {
  const char* category;
  const char* code;
  bool isRetryable;
};

ClassificationRow row(const T::ProviderNotAvailable&) {
  return {"provider", "provider_not_available", true};
}
ClassificationRow row(const T::NetworkError&) {
  return {"network", "network_error", true};
}
ClassificationRow row(const T::ApiKeyMissing&) {
  return {"auth", "api_key_missing", false};
}
ClassificationRow row(const T::Unauthorized&) {
  return {"auth", "unauthorized", false};
}
ClassificationRow row(const T::AudioFileTooLarge&) {
  return {"audio", "audio_file_too_large", false};
}
ClassificationRow row(const T::ServerError&) {
  return {"server", "server_error", true};
}
ClassificationRow row(const T::RateLimited&) {
  return {"rate_limit", "rate_limited", true};
}
ClassificationRow row(const T::InsufficientCredits&) {
  return {"billing", "insufficient_credits", false};
}
ClassificationRow row(const T::QuotaExceeded&) {
  return {"billing", "quota_exceeded", false};
}
ClassificationRow row(const T::Timeout&) {
  return {"timeout", "timeout", true};
}
ClassificationRow row(const T::ModelNotDownloaded&) {
  return {"model", "model_not_downloaded", false};
}
ClassificationRow row(const T::ModelProtected&) {
  return {"model", "model_protected", false};
}
ClassificationRow row(const T::AudioFileNotFound&) {
  return {"audio", "audio_file_not_found", false};
}
ClassificationRow row(const T::MaxRetriesExceeded&) {
  return {"retry", "max_retries_exceeded", false};
}
ClassificationRow row(const T::InvalidRequest&) {
  return {"request", "invalid_request", false};
}
ClassificationRow row(const T::StreamingInterrupted&) {
  return {"streaming", "streaming_interrupted", true};
}
ClassificationRow row(const T::Busy&) {
  return {"busy", "busy", false};
}
ClassificationRow row(const T::InvalidAudioFormat&) {
  return {"audio", "invalid_audio_format", false};
}
ClassificationRow row(const T::AudioConversionFailed&) {
  return {"audio", "audio_conversion_failed", false};
}
ClassificationRow row(const T::NoSpeechDetected&) {
  return {"audio", "no_speech_detected", false};
}

ErrorClassification classification(const ClassificationRow& entry) {
  return {QString::fromLatin1(entry.category), QString::fromLatin1(entry.code), entry.isRetryable, std::nullopt};
}

ErrorClassification classifyHosted(const HostedCloudError& error) {
  switch (error.kind) {
    case HostedCloudError::Kind::insufficientCredits:
      return classification({"billing", "insufficient_credits", false});
    case HostedCloudError::Kind::networkFailure:
      return classification({"network", "network_error", true});
    case HostedCloudError::Kind::serverFailure:
      return classification({"server", "server_error", true});
    case HostedCloudError::Kind::invalidResponse:
      return classification({"server", "invalid_response", true});
  }
  return classification({"unknown", "unknown", false});
}

bool isRetryableUrlCode(int code) {
  switch (code) {
    case UrlError::timedOut:
    case UrlError::cannotFindHost:
    case UrlError::cannotConnectToHost:
    case UrlError::networkConnectionLost:
    case UrlError::dnsLookupFailed:
    case UrlError::notConnectedToInternet:
      return true;
    default:
      return false;
  }
}

constexpr const char* urlErrorDomain = "NSURLErrorDomain";

ErrorClassification classifyUrl(int code, bool isRetryable) {
  return {QStringLiteral("network"), QStringLiteral("url_%1").arg(code), isRetryable, std::nullopt};
}

struct UrlErrorRow {
  UrlError::Code code;
  const char* name;
  const char* messageKey;
};

// The web errors that have a name and a sentence of their own.
constexpr UrlErrorRow urlErrorRows[] = {
    {UrlError::cancelled, "cancelled", "error.url.cancelled"},
    {UrlError::badUrl, "badUrl", "error.url.badUrl"},
    {UrlError::timedOut, "timedOut", "error.url.timedOut"},
    {UrlError::cannotFindHost, "cannotFindHost", "error.url.cannotFindHost"},
    {UrlError::cannotConnectToHost, "cannotConnectToHost", "error.url.cannotConnectToHost"},
    {UrlError::networkConnectionLost, "networkConnectionLost", "error.url.networkConnectionLost"},
    {UrlError::dnsLookupFailed, "dnsLookupFailed", "error.url.dnsLookupFailed"},
    {UrlError::tooManyRedirects, "tooManyRedirects", "error.url.tooManyRedirects"},
    {UrlError::notConnectedToInternet, "notConnectedToInternet", "error.url.notConnectedToInternet"},
    {UrlError::redirectRefused, "redirectRefused", "error.url.redirectRefused"},
    {UrlError::badServerResponse, "badServerResponse", "error.url.badServerResponse"},
    {UrlError::fileDoesNotExist, "fileDoesNotExist", "error.url.fileDoesNotExist"},
    {UrlError::fileNotReadable, "fileNotReadable", "error.url.fileNotReadable"},
    {UrlError::answerTooLarge, "answerTooLarge", "error.url.answerTooLarge"},
    {UrlError::secureConnectionFailed, "secureConnectionFailed", "error.url.tls"},
    {UrlError::certificateOutOfDate, "certificateOutOfDate", "error.url.certificateTime"},
    {UrlError::certificateUntrusted, "certificateUntrusted", "error.url.certificateUntrusted"},
    {UrlError::certificateOfUnknownAuthority, "certificateOfUnknownAuthority", "error.url.certificateUntrusted"},
    {UrlError::certificateNotYetValid, "certificateNotYetValid", "error.url.certificateTime"},
};

const UrlErrorRow* urlErrorRow(int code) {
  for (const UrlErrorRow& entry : urlErrorRows)
    if (entry.code == code) return &entry;
  return nullptr;
}

QString describe(const UrlError& error) {
  if (!error.description.isEmpty()) return error.description;
  const UrlErrorRow* const known = urlErrorRow(error.code);
  return localizedText(known ? known->messageKey : "error.url.other", error.code);
}

QString describe(const HostedCloudError& error) {
  if (!error.description.isEmpty()) return error.description;
  switch (error.kind) {
    case HostedCloudError::Kind::insufficientCredits:
      return localizedText("quillmereCloud.error.insufficientCredits");
    case HostedCloudError::Kind::networkFailure:
      return localizedText("quillmereCloud.error.network");
    case HostedCloudError::Kind::serverFailure:
      return localizedText("quillmereCloud.error.server");
    case HostedCloudError::Kind::invalidResponse:
      return localizedText("quillmereCloud.error.invalidResponse");
  }
  return {};
}

}  // namespace

QString messageKey(const TranscriptionError& error) {
  const char* key = std::visit(
      Overloaded{
          [](const T::ProviderNotAvailable& e) {
            if (!e.provider) return "transcription.error.providerNotAvailable";
            return e.reason ? "transcription.error.providerNotAvailable.detail"
                            : "transcription.error.providerNotAvailable.provider";
          },
          [](const T::NetworkError& e) {
            return e.details ? "transcription.error.network.detail" : "transcription.error.network.generic";
          },
          [](const T::ApiKeyMissing& e) {
            return e.provider ? "transcription.error.apiKeyMissing.provider"
                              : "transcription.error.apiKeyMissing.generic";
          },
          [](const T::Unauthorized& e) {
            return e.provider ? "transcription.error.unauthorized.provider"
                              : "transcription.error.unauthorized.generic";
          },
          [](const T::AudioFileTooLarge&) { return "transcription.error.audioFileTooLarge"; },
          [](const T::ServerError&) { return "transcription.error.serverError"; },
          [](const T::RateLimited& e) {
            return e.retryAfterSeconds ? "transcription.error.rateLimited.seconds"
                                       : "transcription.error.rateLimited.generic";
          },
          [](const T::InsufficientCredits&) { return "transcription.error.insufficientCredits"; },
          [](const T::QuotaExceeded& e) {
            return e.message ? "transcription.error.quotaExceeded.detail" : "transcription.error.quotaExceeded";
          },
          [](const T::Timeout&) { return "transcription.error.timeout"; },
          [](const T::ModelNotDownloaded& e) {
            return e.model ? "transcription.error.modelNotDownloaded.model" : "transcription.error.modelNotDownloaded";
          },
          [](const T::ModelProtected&) { return "transcription.error.modelProtected"; },
          [](const T::AudioFileNotFound&) { return "transcription.error.audioFileNotFound"; },
          [](const T::MaxRetriesExceeded&) { return "transcription.error.maxRetriesExceeded"; },
          [](const T::InvalidRequest&) { return "transcription.error.invalidRequest"; },
          [](const T::StreamingInterrupted&) { return "transcription.error.streamingInterrupted"; },
          [](const T::Busy&) { return "transcription.error.busy"; },
          [](const T::InvalidAudioFormat&) { return "transcription.error.invalidAudioFormat"; },
          [](const T::AudioConversionFailed&) { return "transcription.error.audioConversionFailed"; },
          [](const T::NoSpeechDetected&) { return "transcription.error.noSpeechDetected"; },
      },
      error.kind);
  return QString::fromLatin1(key);
}

QString messageKey(const AudioError& error) {
  using K = AudioError::Kind;
  const char* key = "";
  switch (error.kind) {
    case K::permissionDenied:
    case K::recordingFailed:
      break;
    case K::noPermission:
      key = "audio.error.microphonePermission";
      break;
    case K::engineCreationFailed:
      key = "audio.error.createEngine";
      break;
    case K::noInputNode:
      key = "audio.error.noInput";
      break;
    case K::fileCreationFailed:
      key = "audio.error.createFile";
      break;
    case K::noTranscriptionPipeline:
      key = "audio.error.managerUnavailable";
      break;
    case K::invalidHardwareFormat:
      key = "audio.error.invalidHardwareFormat";
      break;
    case K::formatCreationFailed:
      key = "audio.error.createFormat";
      break;
    case K::converterCreationFailed:
      key = "audio.error.createConverter";
      break;
    case K::exportFailed:
      key = "audio.error.exportM4A";
      break;
    case K::fileNotReadable:
      key = "audio.error.readFile";
      break;
    case K::recordingTooShort:
      key = "audio.error.recordingTooShort";
      break;
    case K::noAudioTrack:
      key = "audio.error.noAudioTrack";
      break;
    case K::incomplete:
      key = "audio.error.incomplete";
      break;
  }
  return QString::fromLatin1(key);
}

QString messageKey(FileWatcherError error) {
  switch (error) {
    case FileWatcherError::failedToOpenFileDescriptor:
      return QStringLiteral("audio.error.fileWatcher.open");
    case FileWatcherError::timeout:
      return QStringLiteral("audio.error.fileWatcher.timeout");
    case FileWatcherError::fileNotCreated:
      return QStringLiteral("audio.error.fileWatcher.creation");
  }
  return {};
}

QString localizedDescription(const TranscriptionError& error) {
  return localizedTextWith(messageKey(error), messageArguments(error));
}

QString localizedDescription(const AudioError& error) {
  const QString key = messageKey(error);
  return key.isEmpty() ? error.reason : localizedText(key);
}

QString localizedDescription(FileWatcherError error) {
  return localizedText(messageKey(error));
}

QString localizedDescription(const AnyError& error) {
  return std::visit(Overloaded{
                        [](const TranscriptionError& e) { return localizedDescription(e); },
                        [](const AudioError& e) { return localizedDescription(e); },
                        [](FileWatcherError e) { return localizedDescription(e); },
                        [](const UrlError& e) { return describe(e); },
                        [](const HostedCloudError& e) { return describe(e); },
                        [](const PlatformError& e) { return e.description; },
                    },
                    error);
}

bool isNetworkFailure(const AnyError& error) {
  if (const auto* transcription = std::get_if<TranscriptionError>(&error)) return transcription->is<T::NetworkError>();
  if (const auto* hosted = std::get_if<HostedCloudError>(&error))
    return hosted->kind == HostedCloudError::Kind::networkFailure;
  const auto* url = std::get_if<UrlError>(&error);
  return url != nullptr && url->code != UrlError::timedOut && isRetryableUrlCode(url->code);
}

UrlError urlError(UrlError::Code code, const QString& subject, const QString& detail) {
  const UrlErrorRow* const known = urlErrorRow(code);
  if (!known) return {code, {}, detail};
  const QString sentence = subject.isEmpty() ? QString() : localizedText(known->messageKey, subject, detail);
  return {code, QString::fromLatin1(known->name), sentence};
}

ErrorClassification classify(const TranscriptionError& error) {
  ErrorClassification result = std::visit([](const auto& kind) { return classification(row(kind)); }, error.kind);
  if (const auto* server = std::get_if<T::ServerError>(&error.kind)) result.httpStatus = server->statusCode;
  return result;
}

ErrorClassification classify(const AnyError& error) {
  const ErrorClassification unknown = classification({"unknown", "unknown", false});
  return std::visit(Overloaded{
                        [](const TranscriptionError& e) { return classify(e); },
                        [](const HostedCloudError& e) { return classifyHosted(e); },
                        [](const UrlError& e) { return classifyUrl(e.code, isRetryableUrlCode(e.code)); },
                        [&](const PlatformError& e) {
                          return e.domain == QLatin1String(urlErrorDomain) ? classifyUrl(e.code, true) : unknown;
                        },
                        [&](const auto&) { return unknown; },
                    },
                    error);
}

bool isCritical(const AnyError& error) {
  using E = TranscriptionError;
  if (const auto* hosted = std::get_if<HostedCloudError>(&error))
    return hosted->kind == HostedCloudError::Kind::insufficientCredits;
  const auto* transcription = std::get_if<E>(&error);
  return transcription != nullptr &&
         (transcription->is<E::ApiKeyMissing>() || transcription->is<E::Unauthorized>() ||
          transcription->is<E::InsufficientCredits>() || transcription->is<E::QuotaExceeded>());
}

QString errorTypeName(const AnyError& error) {
  static constexpr const char* names[] = {"TranscriptionError", "AudioError",          "FileWatcherError",
                                          "URLError",           "QuillmereCloudError", "PlatformError"};
  static_assert(std::size(names) == std::variant_size_v<AnyError>);
  return QString::fromLatin1(names[error.index()]);
}

QString errorDomain(const AnyError& error) {
  if (const auto* platform = std::get_if<PlatformError>(&error)) return platform->domain;
  if (std::holds_alternative<UrlError>(error)) return QString::fromLatin1(urlErrorDomain);
  return QStringLiteral("Quillmere.") + errorTypeName(error);
}

int errorCode(const AnyError& error) {
  return std::visit(Overloaded{
                        [](const TranscriptionError& e) { return static_cast<int>(e.kind.index()); },
                        [](const AudioError& e) { return static_cast<int>(e.kind); },
                        [](FileWatcherError e) { return static_cast<int>(e); },
                        [](const UrlError& e) { return e.code; },
                        [](const HostedCloudError& e) { return static_cast<int>(e.kind); },
                        [](const PlatformError& e) { return e.code; },
                    },
                    error);
}

QString sizeText(qint64 sizeBytes) {
  constexpr qint64 mebibyte = qint64{1} << 20;
  constexpr qint64 gibibyte = qint64{1} << 30;
  if (sizeBytes >= gibibyte)
    return QString::number(static_cast<double>(sizeBytes) / static_cast<double>(gibibyte), 'f', 1) +
           QStringLiteral(" GB");
  return QString::number(sizeBytes / mebibyte) + QStringLiteral(" MB");
}

}  // namespace quillmere
