#pragma once
#include <QByteArray>
#include <QCryptographicHash>
#include <QString>
#include <atomic>

#include "base/Result.h"
#include "domain/Errors.h"

namespace quillmere {

// A file that is written under a hidden name beside its destination, hashed meanwhile, and moved into place when it is
// whole. Without the move nothing stays behind; what a killed process left in the folder goes with the next create().
// One thread at a time; blocks on the disk. Errors are of domain "filesystem", with the system's number and a sentence.
class HashingFile {
 public:
  explicit HashingFile(QString folder) : folder_(std::move(folder)) {}
  ~HashingFile();
  HashingFile(const HashingFile&) = delete;
  HashingFile& operator=(const HashingFile&) = delete;

  // Makes the folder where it is missing.
  Result<void, PlatformError> create();
  // False: error() says why, and every later write() fails as well.
  bool write(const char* data, qint64 bytes);
  const PlatformError& error() const { return error_; }
  QString path() const { return path_; }  // of the hidden file
  // Lower-case hexadecimal, of all that was written.
  QString sha256() const;
  // Forces the bytes to the disk and gives the file its name, atomically. An existing file is replaced, or, with
  // `mustBeNew`, left alone: the error's code is then EEXIST.
  Result<void, PlatformError> moveTo(const QString& destination, bool mustBeNew);

  // Lower-case hexadecimal, of any file, read in pieces of 4,194,304 bytes. A set `stop` ends it early (the result is
  // then of no meaning).
  static Result<QString, PlatformError> sha256Of(const QString& path, const std::atomic<bool>& stop);
  // New names in the folder survive a power failure from here on. A file system without this notion is no failure.
  static void syncFolder(const QString& path);

 private:
  PlatformError failure(int number) const;

  QString folder_;
  QString path_;
  int descriptor_ = -1;
  QCryptographicHash hash_{QCryptographicHash::Sha256};
  PlatformError error_;
};

}  // namespace quillmere
