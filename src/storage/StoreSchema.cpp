#include "storage/StoreSchema.h"

namespace quillmere {

namespace {

constexpr const char* version1[] = {
    R"(CREATE TABLE Mode (
  pk INTEGER PRIMARY KEY AUTOINCREMENT,
  capitalization INTEGER, createdDate INTEGER, customInstructions TEXT, userSystemPrompt TEXT, id TEXT,
  isDefault INTEGER, isSystemProvided INTEGER, language TEXT, model TEXT, modifiedDate INTEGER, name TEXT, preset TEXT,
  profanityFilter INTEGER, punctuation INTEGER, sortOrder INTEGER, languageModel TEXT, cloudTranscriptionModel TEXT,
  cloudProvider TEXT, postProcessingMode INTEGER, postProcessingProvider TEXT, englishSpelling TEXT,
  useStreamingTranscription INTEGER, cloudAccuracyTier TEXT
) STRICT)",
    R"(CREATE TABLE RecordingSession (
  pk INTEGER PRIMARY KEY AUTOINCREMENT,
  audioFilePath TEXT, audioFormat TEXT, channelCount INTEGER, deviceId TEXT, deviceName TEXT, durationInSeconds REAL,
  endTime INTEGER, errorMessage TEXT, id TEXT, retryCount INTEGER, sampleRate REAL, startTime INTEGER, status TEXT
) STRICT)",
    R"(CREATE TABLE Transcript (
  pk INTEGER PRIMARY KEY AUTOINCREMENT,
  audioFilePath TEXT, date INTEGER, duration REAL, failedReason TEXT, id TEXT, lastRetryDate INTEGER, mode TEXT,
  postProcessedText TEXT, postProcessingProvider TEXT, retryCount INTEGER, status TEXT, text TEXT,
  transcribedText TEXT, transcriptionProvider TEXT, trimmedAudioFilePath TEXT,
  modeRelationship INTEGER REFERENCES Mode(pk) ON DELETE SET NULL,
  recordingSession INTEGER REFERENCES RecordingSession(pk) ON DELETE SET NULL
) STRICT)",
    R"(CREATE TABLE Vocabulary (
  pk INTEGER PRIMARY KEY AUTOINCREMENT,
  createdDate INTEGER, id TEXT, replacement TEXT, sortOrder INTEGER, word TEXT
) STRICT)",
    R"(CREATE TABLE UsageTracking (
  pk INTEGER PRIMARY KEY AUTOINCREMENT,
  id TEXT, dailyTranscriptionSeconds INTEGER, lastResetDate INTEGER, totalModelsDownloaded INTEGER,
  firstUsageDate INTEGER
) STRICT)",
    "CREATE INDEX ModeById ON Mode(id)",
    "CREATE INDEX TranscriptById ON Transcript(id)",
    "CREATE INDEX TranscriptByDate ON Transcript(date)",
    "CREATE INDEX TranscriptByMode ON Transcript(modeRelationship)",
    "CREATE INDEX TranscriptBySession ON Transcript(recordingSession)",
    "CREATE INDEX RecordingSessionById ON RecordingSession(id)",
    "CREATE INDEX RecordingSessionUnfinished ON RecordingSession(startTime) WHERE endTime IS NULL",
};

// The index of the history's texts. It keeps no copy of them: triggers tell it what a row held before.
constexpr const char* version2[] = {
    R"(CREATE VIRTUAL TABLE TranscriptText USING fts5(
  text, transcribedText, postProcessedText, mode,
  content='Transcript', content_rowid='pk', tokenize='quillmere_words', prefix='2 3'
))",
    R"(CREATE TRIGGER TranscriptTextInsert AFTER INSERT ON Transcript BEGIN
  INSERT INTO TranscriptText(rowid, text, transcribedText, postProcessedText, mode)
  VALUES (new.pk, new.text, new.transcribedText, new.postProcessedText, new.mode);
END)",
    R"(CREATE TRIGGER TranscriptTextDelete AFTER DELETE ON Transcript BEGIN
  INSERT INTO TranscriptText(TranscriptText, rowid, text, transcribedText, postProcessedText, mode)
  VALUES ('delete', old.pk, old.text, old.transcribedText, old.postProcessedText, old.mode);
END)",
    R"(CREATE TRIGGER TranscriptTextUpdate AFTER UPDATE OF text, transcribedText, postProcessedText, mode ON Transcript
BEGIN
  INSERT INTO TranscriptText(TranscriptText, rowid, text, transcribedText, postProcessedText, mode)
  VALUES ('delete', old.pk, old.text, old.transcribedText, old.postProcessedText, old.mode);
  INSERT INTO TranscriptText(rowid, text, transcribedText, postProcessedText, mode)
  VALUES (new.pk, new.text, new.transcribedText, new.postProcessedText, new.mode);
END)",
    "INSERT INTO TranscriptText(TranscriptText) VALUES ('rebuild')",
};

// Which rows hold which three characters in a row, for what the index of words can't find. It holds neither texts nor
// places, and texts that equal the first one go in once.
constexpr const char* version3[] = {
    R"(CREATE VIRTUAL TABLE TranscriptPieces USING fts5(
  text, transcribedText, postProcessedText, mode, content='', columnsize=0, detail=none, tokenize='trigram'
))",
    R"(CREATE TRIGGER TranscriptPiecesInsert AFTER INSERT ON Transcript BEGIN
  INSERT INTO TranscriptPieces(rowid, text, transcribedText, postProcessedText, mode)
  VALUES (new.pk, new.text, CASE WHEN new.transcribedText IS NOT new.text THEN new.transcribedText END,
    CASE WHEN new.postProcessedText IS NOT new.text THEN new.postProcessedText END, new.mode);
END)",
    R"(CREATE TRIGGER TranscriptPiecesDelete AFTER DELETE ON Transcript BEGIN
  INSERT INTO TranscriptPieces(TranscriptPieces, rowid, text, transcribedText, postProcessedText, mode)
  VALUES ('delete', old.pk, old.text, CASE WHEN old.transcribedText IS NOT old.text THEN old.transcribedText END,
    CASE WHEN old.postProcessedText IS NOT old.text THEN old.postProcessedText END, old.mode);
END)",
    R"(CREATE TRIGGER TranscriptPiecesUpdate AFTER UPDATE OF text, transcribedText, postProcessedText, mode ON Transcript
BEGIN
  INSERT INTO TranscriptPieces(TranscriptPieces, rowid, text, transcribedText, postProcessedText, mode)
  VALUES ('delete', old.pk, old.text, CASE WHEN old.transcribedText IS NOT old.text THEN old.transcribedText END,
    CASE WHEN old.postProcessedText IS NOT old.text THEN old.postProcessedText END, old.mode);
  INSERT INTO TranscriptPieces(rowid, text, transcribedText, postProcessedText, mode)
  VALUES (new.pk, new.text, CASE WHEN new.transcribedText IS NOT new.text THEN new.transcribedText END,
    CASE WHEN new.postProcessedText IS NOT new.text THEN new.postProcessedText END, new.mode);
END)",
    R"(INSERT INTO TranscriptPieces(rowid, text, transcribedText, postProcessedText, mode)
  SELECT row.pk, row.text, CASE WHEN row.transcribedText IS NOT row.text THEN row.transcribedText END,
    CASE WHEN row.postProcessedText IS NOT row.text THEN row.postProcessedText END, row.mode
  FROM Transcript AS row ORDER BY pk)",
};

// Which process works on a row, and the few rows that are asked for by what they are.
constexpr const char* version4[] = {
    "ALTER TABLE Transcript ADD COLUMN processingOwner TEXT",
    "CREATE INDEX TranscriptProcessing ON Transcript(date) WHERE status = 'processing'",
    "CREATE INDEX TranscriptDiscarded ON Transcript(date) WHERE status = 'discarded'",
    "CREATE INDEX TranscriptByAudio ON Transcript(audioFilePath) WHERE audioFilePath IS NOT NULL",
    "CREATE INDEX TranscriptByTrimmedAudio ON Transcript(trimmedAudioFilePath) WHERE trimmedAudioFilePath IS NOT NULL",
};

constexpr SchemaVersion versions[] = {{1, version1}, {2, version2}, {3, version3}, {4, version4}};

}  // namespace

std::span<const SchemaVersion> schemaVersions() {
  return versions;
}
int latestSchemaVersion() {
  return versions[std::size(versions) - 1].version;
}

}  // namespace quillmere
