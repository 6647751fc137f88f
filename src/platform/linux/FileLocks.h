#pragma once
#include "ports/ProcessLocks.h"

namespace quillmere {

// A lock is a file of its name in the folder, locked (flock) by who has it and removed when it is given back. What a
// killed process leaves is an unlocked file. On a file system without locks nobody gets one.
class FileLocks final : public ProcessLocks {
 public:
  // The folder is made when the first lock is taken.
  explicit FileLocks(QString folder) : folder_(std::move(folder)) {}
  [[nodiscard]] std::unique_ptr<Lock> take(const QString& name) override;
  bool isTaken(const QString& name) const override;

 private:
  QByteArray pathOf(const QString& name) const;

  const QString folder_;
};

}  // namespace quillmere
