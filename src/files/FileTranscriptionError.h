#pragma once
#include <QString>
#include <QStringList>
#include <variant>

namespace quillmere {

// Why a file was refused before or while it was taken in.
struct FileTranscriptionError {
  struct FileTooLarge {
    qint64 fileSizeBytes = 0, limitBytes = 0;
    QString providerName;
    bool operator==(const FileTooLarge&) const = default;
  };
  struct UnsupportedFormat {
    QString format, providerName;
    QStringList supportedFormats;
    bool operator==(const UnsupportedFormat&) const = default;
  };
  struct CannotReadFile {
    bool operator==(const CannotReadFile&) const = default;
  };
  struct CopyFailed {
    QString reason;
    bool operator==(const CopyFailed&) const = default;
  };
  struct VideoHasNoAudio {
    bool operator==(const VideoHasNoAudio&) const = default;
  };
  std::variant<FileTooLarge, UnsupportedFormat, CannotReadFile, CopyFailed, VideoHasNoAudio> kind;

  template <typename C>
  bool is() const {
    return std::holds_alternative<C>(kind);
  }
  // "File exceeds OpenAI size limit", "OpenAI does not support .flac files", ...
  QString description() const;
  bool operator==(const FileTranscriptionError&) const = default;
};

// What an alert says to the user, in his language.
struct AlertText {
  QString title;
  QString message;
  bool operator==(const AlertText&) const = default;
};
AlertText alertText(const FileTranscriptionError& error);

}  // namespace quillmere
