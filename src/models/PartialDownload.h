#pragma once
#include <QByteArray>
#include <QLockFile>
#include <QString>
#include <atomic>
#include <optional>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// The half-finished download of one file: the hidden ".NAME.part" with the bytes so far, ".NAME.part.json" with what is
// needed to go on, and ".NAME.lock" while a process works on them. One thread at a time; every operation blocks on the
// disk. Errors carry the domain "filesystem", the system's number and a sentence.
class PartialDownload {
 public:
  // What identifies the very version of the file on the server.
  struct Source {
    QString url;
    QByteArray etag;
    QByteArray lastModified;
    qint64 totalBytes = -1;  // -1: unknown
    bool operator==(const Source&) const = default;
    // The value for If-Range: a strong ETag, else the date; empty where the server gave neither.
    QByteArray validator() const;
  };

  PartialDownload(const QString& directory, const QString& filename);
  ~PartialDownload();  // closes and unlocks; the files stay, unless they hold no byte
  PartialDownload(const PartialDownload&) = delete;
  PartialDownload& operator=(const PartialDownload&) = delete;

  // Keeps other processes (and other objects of this one) away until the object goes.
  Result<void, PlatformError> lock();

  // The source of the bytes so far; nothing without bytes, or when the record is missing or damaged.
  std::optional<Source> source() const;
  qint64 bytes() const;
  // Empties the file and records a new source.
  Result<void, PlatformError> restart(const Source& source);
  // Adds to the end. Where the disk is full, everything is removed, so that no hidden file keeps it full.
  Result<void, PlatformError> append(const char* data, qint64 size);
  // Forces the bytes to the disk.
  Result<void, PlatformError> sync();
  // Of the whole file; see HashingFile::sha256Of().
  Result<QString, PlatformError> sha256(const std::atomic<bool>& stop) const;
  // Puts the file in place of `destination`, atomically, and removes the record.
  Result<void, PlatformError> moveTo(const QString& destination);
  void remove();

 private:
  bool open();
  void close();
  PlatformError error(int number) const;

  QString directory_;
  QString filename_;
  QString partPath_;
  QString recordPath_;
  QLockFile lock_;
  int descriptor_ = -1;
};

}  // namespace quillmere
