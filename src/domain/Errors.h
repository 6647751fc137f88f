#pragma once
#include <QString>
#include <optional>
#include <variant>

namespace quillmere {

// How a failure is told apart in diagnostic records.
struct ErrorClassification {
  QString category;
  QString code;
  bool isRetryable = false;
  std::optional<int> httpStatus;
  bool operator==(const ErrorClassification&) const = default;
};

// The error of the transcription road. One alternative a case, each with the payload that its message needs.
struct TranscriptionError {
  struct ProviderNotAvailable {
    std::optional<QString> provider, reason;
    bool operator==(const ProviderNotAvailable&) const = default;
  };
  struct NetworkError {
    std::optional<QString> details;
    bool operator==(const NetworkError&) const = default;
  };
  struct ApiKeyMissing {
    std::optional<QString> provider;
    bool operator==(const ApiKeyMissing&) const = default;
  };
  struct Unauthorized {
    std::optional<QString> provider;
    bool operator==(const Unauthorized&) const = default;
  };
  struct AudioFileTooLarge {
    qint64 fileSize = 0, limit = 0;
    QString providerName;
    bool operator==(const AudioFileTooLarge&) const = default;
  };
  struct ServerError {
    int statusCode = 0;
    QString message;
    bool operator==(const ServerError&) const = default;
  };
  struct RateLimited {
    std::optional<int> retryAfterSeconds;
    bool operator==(const RateLimited&) const = default;
  };
  struct InsufficientCredits {
    int remaining = 0, required = 0;
    bool operator==(const InsufficientCredits&) const = default;
  };
  struct QuotaExceeded {
    QString provider;
    std::optional<QString> message;
    bool operator==(const QuotaExceeded&) const = default;
  };
  struct Timeout {
    QString operation;
    bool operator==(const Timeout&) const = default;
  };
  struct ModelNotDownloaded {
    std::optional<QString> model;
    bool operator==(const ModelNotDownloaded&) const = default;
  };
  struct ModelProtected {
    bool operator==(const ModelProtected&) const = default;
  };
  struct AudioFileNotFound {
    bool operator==(const AudioFileNotFound&) const = default;
  };
  struct MaxRetriesExceeded {
    bool operator==(const MaxRetriesExceeded&) const = default;
  };
  struct InvalidRequest {
    bool operator==(const InvalidRequest&) const = default;
  };
  struct StreamingInterrupted {
    bool operator==(const StreamingInterrupted&) const = default;
  };
  struct Busy {
    bool operator==(const Busy&) const = default;
  };
  struct InvalidAudioFormat {
    bool operator==(const InvalidAudioFormat&) const = default;
  };
  struct AudioConversionFailed {
    bool operator==(const AudioConversionFailed&) const = default;
  };
  struct NoSpeechDetected {
    bool operator==(const NoSpeechDetected&) const = default;
  };

  using Case = std::variant<ProviderNotAvailable, NetworkError, ApiKeyMissing, Unauthorized, AudioFileTooLarge,
                            ServerError, RateLimited, InsufficientCredits, QuotaExceeded, Timeout, ModelNotDownloaded,
                            ModelProtected, AudioFileNotFound, MaxRetriesExceeded, InvalidRequest, StreamingInterrupted,
                            Busy, InvalidAudioFormat, AudioConversionFailed, NoSpeechDetected>;
  Case kind;

  template <typename C>
  bool is() const {
    return std::holds_alternative<C>(kind);
  }
  bool operator==(const TranscriptionError&) const = default;
};

// Errors of the recording side and of audio files.
struct AudioError {
  enum class Kind {
    permissionDenied,
    recordingFailed,
    noPermission,
    engineCreationFailed,
    noInputNode,
    fileCreationFailed,
    noTranscriptionPipeline,
    invalidHardwareFormat,
    formatCreationFailed,
    converterCreationFailed,
    exportFailed,
    fileNotReadable,
    recordingTooShort,
    noAudioTrack,
    incomplete  // the file breaks off before its end
  };
  Kind kind = Kind::recordingFailed;
  QString reason;  // only permissionDenied and recordingFailed carry one: it is their whole message
  bool operator==(const AudioError&) const = default;
};

enum class FileWatcherError { failedToOpenFileDescriptor, timeout, fileNotCreated };

// What a failed web request says of itself. The numbers are those that diagnostic records have always carried.
struct UrlError {
  enum Code {
    cancelled = -999,
    badUrl = -1000,
    timedOut = -1001,
    cannotFindHost = -1003,
    cannotConnectToHost = -1004,
    networkConnectionLost = -1005,
    dnsLookupFailed = -1006,
    tooManyRedirects = -1007,
    notConnectedToInternet = -1009,
    redirectRefused = -1010,
    badServerResponse = -1011,
    fileDoesNotExist = -1100,
    fileNotReadable = -1102,
    answerTooLarge = -1103,
    secureConnectionFailed = -1200,
    certificateOutOfDate = -1201,
    certificateUntrusted = -1202,  // also one for another host
    certificateOfUnknownAuthority = -1203,
    certificateNotYetValid = -1204
  };
  int code = 0;
  QString codeName;     // "timedOut", ...; empty for a code without a name
  QString description;  // a clear sentence; empty where the code's own says it all
  bool operator==(const UrlError&) const = default;
};

// The error of a code with its name; where the code's sentence has room for a subject (the host, the file) and a
// detail, they are written into it.
UrlError urlError(UrlError::Code code, const QString& subject = {}, const QString& detail = {});

// The hosted service's own error.
struct HostedCloudError {
  enum class Kind { insufficientCredits, networkFailure, serverFailure, invalidResponse };
  Kind kind = Kind::networkFailure;
  QString description;
  bool operator==(const HostedCloudError&) const = default;
};

// Anything else: a domain ("filesystem", "sqlite", ...), the platform's number and a clear sentence.
struct PlatformError {
  QString domain;
  int code = 0;
  QString description;
  bool operator==(const PlatformError&) const = default;
};

// Every error that travels along a road of the application.
using AnyError =
    std::variant<TranscriptionError, AudioError, FileWatcherError, UrlError, HostedCloudError, PlatformError>;

// The sentence for the user, in the language of the loaded text table.
QString localizedDescription(const TranscriptionError& error);
QString localizedDescription(const AudioError& error);
QString localizedDescription(FileWatcherError error);
QString localizedDescription(const AnyError& error);

// The key of that sentence in the text table ("" where the text is the error's own).
QString messageKey(const TranscriptionError& error);
QString messageKey(const AudioError& error);
QString messageKey(FileWatcherError error);

// The network, not the service or the file: another try later may do. The one place that decides it.
bool isNetworkFailure(const AnyError& error);

ErrorClassification classify(const TranscriptionError& error);
ErrorClassification classify(const AnyError& error);

// A key, an account or a quota: nothing works before the user has looked after it.
bool isCritical(const AnyError& error);

// Name of the type, domain and number of an error, for diagnostic records.
QString errorTypeName(const AnyError& error);
QString errorDomain(const AnyError& error);
int errorCode(const AnyError& error);

// "3.0 GB" from 2^30 bytes upward, else whole units of 2^20 bytes, rounded down: "25 MB".
QString sizeText(qint64 sizeBytes);

}  // namespace quillmere
