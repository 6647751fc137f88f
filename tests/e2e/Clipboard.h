#pragma once
#include <QProcess>
#include <memory>

#include "e2e/Eventually.h"
#include "e2e/Tool.h"

namespace quillmere {

// Another program's clipboard: owns it with one type, or reads what somebody offers.
class Clipboard {
 public:
  ~Clipboard() { release(); }

  // Takes the clipboard with these bytes under this type and keeps it until somebody else takes it.
  bool own(const QString& type, const QByteArray& bytes) {
    release();
    owner_ = std::make_unique<QProcess>();
    owner_->start("xclip", {"-selection", "clipboard", "-quiet", "-t", type, "-i"});
    owner_->write(bytes);
    owner_->closeWriteChannel();
    return eventually([&] { return read(type) == bytes; });
  }
  void release() {
    if (!owner_) return;
    owner_->kill();
    owner_->waitForFinished();
    owner_.reset();
  }

  static QByteArray read(const QString& type) {
    return Tool::run("xclip", {"-selection", "clipboard", "-t", type, "-o"}).out;
  }

 private:
  std::unique_ptr<QProcess> owner_;
};

}  // namespace quillmere
