#pragma once
#include <QDateTime>
#include <QString>
#include <QUuid>
#include <memory>
#include <optional>

namespace quillmere {

// The persisted entities as live objects: the store's identity map hands out one object a row, holders change its
// fields in place, and the store writes the changed fields at the next save. Every attribute is optional: readers
// handle absence. All of them are touched on the main thread only.

struct Mode {
  std::optional<bool> capitalization;
  std::optional<QDateTime> createdDate;
  std::optional<QString> customInstructions;
  std::optional<QString> userSystemPrompt;
  std::optional<QUuid> id;
  std::optional<bool> isDefault;
  std::optional<bool> isSystemProvided;
  std::optional<QString> language;
  std::optional<QString> model;  // "cloud" or a local model identifier
  std::optional<QDateTime> modifiedDate;
  std::optional<QString> name;
  std::optional<QString> preset;
  std::optional<bool> profanityFilter;
  std::optional<bool> punctuation;
  std::optional<qint16> sortOrder;
  std::optional<QString> languageModel;
  std::optional<QString> cloudTranscriptionModel;
  std::optional<QString> cloudProvider;
  std::optional<qint16> postProcessingMode;
  std::optional<QString> postProcessingProvider;
  std::optional<QString> englishSpelling;
  std::optional<bool> useStreamingTranscription;
  std::optional<QString> cloudAccuracyTier;
  bool operator==(const Mode&) const = default;
};

struct RecordingSession {
  std::optional<QString> audioFilePath;
  std::optional<QString> audioFormat;
  std::optional<qint16> channelCount;
  std::optional<QString> deviceId;
  std::optional<QString> deviceName;
  std::optional<double> durationInSeconds;
  std::optional<QDateTime> endTime;
  std::optional<QString> errorMessage;
  std::optional<QUuid> id;
  std::optional<qint16> retryCount;
  std::optional<double> sampleRate;
  std::optional<QDateTime> startTime;
  std::optional<QString> status;
  bool operator==(const RecordingSession&) const = default;
};

// What Transcript::status says.
struct TranscriptStatus {
  static constexpr const char* processing = "processing";
  static constexpr const char* completed = "completed";
  static constexpr const char* failed = "failed";
  static constexpr const char* discarded = "discarded";  // the user threw the recording away; it goes after 24 hours
};

// How long the user can still take back a recording that was thrown away.
inline constexpr qint64 discardedLifetimeSeconds = 24 * 60 * 60;

struct Transcript {
  std::optional<QString> audioFilePath;
  std::optional<QDateTime> date;
  std::optional<double> duration;  // seconds
  std::optional<QString> failedReason;
  std::optional<QUuid> id;
  std::optional<QDateTime> lastRetryDate;
  std::optional<QString> mode;  // name of the mode when the row was made
  std::optional<QString> postProcessedText;
  std::optional<QString> postProcessingProvider;
  std::optional<qint16> retryCount;
  std::optional<QString> status;           // one of TranscriptStatus
  std::optional<QString> processingOwner;  // the process that works on it while the status is "processing"
  std::optional<QString> text;
  std::optional<QString> transcribedText;
  std::optional<QString> transcriptionProvider;
  std::optional<QString> trimmedAudioFilePath;
  std::shared_ptr<Mode> modeRelationship;
  std::shared_ptr<RecordingSession> recordingSession;
  bool operator==(const Transcript&) const = default;
};

struct Vocabulary {
  std::optional<QDateTime> createdDate;
  std::optional<QUuid> id;
  std::optional<QString> replacement;
  std::optional<qint16> sortOrder;
  std::optional<QString> word;
  bool operator==(const Vocabulary&) const = default;
};

struct UsageTracking {
  std::optional<QUuid> id;
  std::optional<qint64> dailyTranscriptionSeconds;
  std::optional<QDateTime> lastResetDate;
  std::optional<qint16> totalModelsDownloaded;
  std::optional<QDateTime> firstUsageDate;
  bool operator==(const UsageTracking&) const = default;
};

using ModePtr = std::shared_ptr<Mode>;
using TranscriptPtr = std::shared_ptr<Transcript>;
using RecordingSessionPtr = std::shared_ptr<RecordingSession>;
using VocabularyPtr = std::shared_ptr<Vocabulary>;

}  // namespace quillmere
