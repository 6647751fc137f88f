#pragma once
#include <QString>
#include <QStringList>
#include <optional>

#include "domain/Entities.h"
#include "files/FileTranscriptionError.h"

namespace quillmere {

// Pure rules about which files a mode's engine takes.

// Refuses a file above the limit of a cloud mode's provider. Local modes and no mode have no limit.
std::optional<FileTranscriptionError> refusalBySize(qint64 fileSizeBytes, const Mode* mode);

struct FormatCheck {
  enum class Verdict { skippedNoMode, skippedLocal, supported, unsupported };
  Verdict verdict = Verdict::skippedNoMode;
  QString format;
  QString providerName;
  QStringList supportedFormats;  // sorted
};
// Compares the lower-cased extension with what a cloud mode's provider accepts.
FormatCheck checkFormat(const QString& extension, const Mode* mode);

// Name of the copy in the recordings folder: "imported_<seconds>_<name>.<extension>". Bytes that are no UTF-8, and
// what a name of 255 bytes has no room for, are left out.
QString importedFileName(qint64 secondsSinceEpoch, const QString& originalBaseName, const QString& extension);

}  // namespace quillmere
