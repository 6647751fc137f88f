#pragma once
#include <SQLiteCpp/SQLiteCpp.h>

#include <array>
#include <cmath>
#include <variant>

#include "domain/Entities.h"

namespace quillmere {

// Which columns hold which fields: the one description that reading, comparing and writing of entities go by.

template <typename E>
using EntityField =
    std::variant<std::optional<bool> E::*, std::optional<qint16> E::*, std::optional<qint64> E::*,
                 std::optional<double> E::*, std::optional<QString> E::*, std::optional<QUuid> E::*,
                 std::optional<QDateTime> E::*, std::shared_ptr<Mode> E::*, std::shared_ptr<RecordingSession> E::*>;

template <typename E>
struct EntityColumn {
  const char* name;
  EntityField<E> field;
};

template <typename E>
struct EntityTable;

#define COLUMN(entity, field) \
  EntityColumn<entity> {      \
    #field, &entity::field    \
  }

template <>
struct EntityTable<Mode> {
  static constexpr const char* name = "Mode";
  static constexpr std::array columns{COLUMN(Mode, capitalization),
                                      COLUMN(Mode, createdDate),
                                      COLUMN(Mode, customInstructions),
                                      COLUMN(Mode, userSystemPrompt),
                                      COLUMN(Mode, id),
                                      COLUMN(Mode, isDefault),
                                      COLUMN(Mode, isSystemProvided),
                                      COLUMN(Mode, language),
                                      COLUMN(Mode, model),
                                      COLUMN(Mode, modifiedDate),
                                      COLUMN(Mode, name),
                                      COLUMN(Mode, preset),
                                      COLUMN(Mode, profanityFilter),
                                      COLUMN(Mode, punctuation),
                                      COLUMN(Mode, sortOrder),
                                      COLUMN(Mode, languageModel),
                                      COLUMN(Mode, cloudTranscriptionModel),
                                      COLUMN(Mode, cloudProvider),
                                      COLUMN(Mode, postProcessingMode),
                                      COLUMN(Mode, postProcessingProvider),
                                      COLUMN(Mode, englishSpelling),
                                      COLUMN(Mode, useStreamingTranscription),
                                      COLUMN(Mode, cloudAccuracyTier)};
};

template <>
struct EntityTable<RecordingSession> {
  static constexpr const char* name = "RecordingSession";
  static constexpr std::array columns{COLUMN(RecordingSession, audioFilePath),
                                      COLUMN(RecordingSession, audioFormat),
                                      COLUMN(RecordingSession, channelCount),
                                      COLUMN(RecordingSession, deviceId),
                                      COLUMN(RecordingSession, deviceName),
                                      COLUMN(RecordingSession, durationInSeconds),
                                      COLUMN(RecordingSession, endTime),
                                      COLUMN(RecordingSession, errorMessage),
                                      COLUMN(RecordingSession, id),
                                      COLUMN(RecordingSession, retryCount),
                                      COLUMN(RecordingSession, sampleRate),
                                      COLUMN(RecordingSession, startTime),
                                      COLUMN(RecordingSession, status)};
};

template <>
struct EntityTable<Transcript> {
  static constexpr const char* name = "Transcript";
  static constexpr std::array columns{COLUMN(Transcript, audioFilePath),
                                      COLUMN(Transcript, date),
                                      COLUMN(Transcript, duration),
                                      COLUMN(Transcript, failedReason),
                                      COLUMN(Transcript, id),
                                      COLUMN(Transcript, lastRetryDate),
                                      COLUMN(Transcript, mode),
                                      COLUMN(Transcript, postProcessedText),
                                      COLUMN(Transcript, postProcessingProvider),
                                      COLUMN(Transcript, processingOwner),
                                      COLUMN(Transcript, retryCount),
                                      COLUMN(Transcript, status),
                                      COLUMN(Transcript, text),
                                      COLUMN(Transcript, transcribedText),
                                      COLUMN(Transcript, transcriptionProvider),
                                      COLUMN(Transcript, trimmedAudioFilePath),
                                      COLUMN(Transcript, modeRelationship),
                                      COLUMN(Transcript, recordingSession)};
};

template <>
struct EntityTable<Vocabulary> {
  static constexpr const char* name = "Vocabulary";
  static constexpr std::array columns{COLUMN(Vocabulary, createdDate), COLUMN(Vocabulary, id),
                                      COLUMN(Vocabulary, replacement), COLUMN(Vocabulary, sortOrder),
                                      COLUMN(Vocabulary, word)};
};

template <>
struct EntityTable<UsageTracking> {
  static constexpr const char* name = "UsageTracking";
  static constexpr std::array columns{
      COLUMN(UsageTracking, id), COLUMN(UsageTracking, dailyTranscriptionSeconds), COLUMN(UsageTracking, lastResetDate),
      COLUMN(UsageTracking, totalModelsDownloaded), COLUMN(UsageTracking, firstUsageDate)};
};

#undef COLUMN

// --- one value in a column. Text is UTF-8, identifiers lower-case text with dashes, dates milliseconds since 1970 UTC.

inline void bindValue(SQLite::Statement& statement, int index, bool value) {
  statement.bind(index, value ? 1 : 0);
}
inline void bindValue(SQLite::Statement& statement, int index, qint16 value) {
  statement.bind(index, int{value});
}
inline void bindValue(SQLite::Statement& statement, int index, int value) {
  statement.bind(index, value);
}
inline void bindValue(SQLite::Statement& statement, int index, qint64 value) {
  statement.bind(index, static_cast<std::int64_t>(value));
}
inline void bindValue(SQLite::Statement& statement, int index, double value) {
  statement.bind(index, value);
}
inline void bindValue(SQLite::Statement& statement, int index, const QString& value) {
  statement.bind(index, value.toStdString());
}
inline void bindValue(SQLite::Statement& statement, int index, const QUuid& value) {
  statement.bind(index, value.toString(QUuid::WithoutBraces).toStdString());
}
inline void bindValue(SQLite::Statement& statement, int index, const QDateTime& value) {
  if (value.isValid())
    statement.bind(index, static_cast<std::int64_t>(value.toMSecsSinceEpoch()));
  else
    statement.bind(index);
}

inline void readValue(const SQLite::Column& column, std::optional<bool>& value) {
  value = column.getInt64() != 0;
}
inline void readValue(const SQLite::Column& column, std::optional<qint16>& value) {
  const qint64 number = column.getInt64();
  if (number == static_cast<qint16>(number)) value = static_cast<qint16>(number);
}
inline void readValue(const SQLite::Column& column, std::optional<qint64>& value) {
  value = column.getInt64();
}
inline void readValue(const SQLite::Column& column, std::optional<double>& value) {
  value = column.getDouble();
}
inline void readValue(const SQLite::Column& column, std::optional<QString>& value) {
  const char* text = column.getText();  // first: it settles the encoding that getBytes counts in
  value = QString::fromUtf8(text, column.getBytes());
}
inline void readValue(const SQLite::Column& column, std::optional<QUuid>& value) {
  const QUuid id = QUuid::fromString(QString::fromUtf8(column.getText()));
  if (!id.isNull()) value = id;
}
inline void readValue(const SQLite::Column& column, std::optional<QDateTime>& value) {
  value = QDateTime::fromMSecsSinceEpoch(column.getInt64(), Qt::UTC);
}

template <typename T>
bool sameValue(const T& a, const T& b) {
  return a == b;
}
inline bool sameValue(const std::optional<double>& a, const std::optional<double>& b) {
  return a == b || (a && b && std::isnan(*a) && std::isnan(*b));
}
inline bool sameValue(const std::optional<QDateTime>& a, const std::optional<QDateTime>& b) {
  const auto milliseconds = [](const std::optional<QDateTime>& date) {
    return date && date->isValid() ? std::optional(date->toMSecsSinceEpoch()) : std::nullopt;
  };
  return milliseconds(a) == milliseconds(b);
}

template <typename E>
bool sameColumn(const EntityColumn<E>& column, const E& a, const E& b) {
  return std::visit([&](auto field) { return sameValue(a.*field, b.*field); }, column.field);
}

template <typename E>
bool sameColumns(const E& a, const E& b) {
  for (const auto& column : EntityTable<E>::columns)
    if (!sameColumn(column, a, b)) return false;
  return true;
}

template <typename E>
void copyColumn(const EntityColumn<E>& column, const E& from, E& to) {
  std::visit([&](auto field) { to.*field = from.*field; }, column.field);
}

}  // namespace quillmere
