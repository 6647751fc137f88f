#pragma once
#include <QFile>
#include <functional>
#include <vector>

#include "ports/MediaEncoder.h"

namespace quillmere {

// Writes a file of a few bytes and counts what it is given.
class FakeMediaEncoder final : public MediaEncoder {
 public:
  std::vector<AacEncoderSettings> settings;
  qint64 framesWritten = 0;
  std::optional<MediaError> openError, appendError, finishError;
  int failures = 0;              // so many openings fail, then it works
  std::function<void()> onOpen;  // on the worker
  bool canExport = true;
  bool writesExport = true;
  bool canCopyPackets = false;
  MediaExportSession::Status exportStatus = MediaExportSession::Status::completed;
  std::optional<MediaError> exportError;

  Result<std::unique_ptr<MediaWriter>, MediaError> openWriter(const QString& path,
                                                              const AacEncoderSettings& wanted) override {
    settings.push_back(wanted);
    if (onOpen) onOpen();
    if (failures > 0 && failures-- > 0) return Failed{MediaError{MediaError::Kind::writeFailed, 5, "no"}};
    if (!put(path, "begun")) return Failed{MediaError{MediaError::Kind::writeFailed, 2, "no such folder"}};
    if (openError) return Failed{*openError};
    return std::unique_ptr<MediaWriter>(std::make_unique<Writer>(*this, path));
  }
  std::unique_ptr<MediaExportSession> createExportSession(const QString&, const QString& to) override {
    if (!canExport) return nullptr;
    return std::make_unique<Session>(*this, to);
  }
  std::unique_ptr<MediaExportSession> createPacketCopy(const QString&, const QString& to) override {
    return canCopyPackets ? std::make_unique<Session>(*this, to) : nullptr;
  }

 private:
  class Writer final : public MediaWriter {
   public:
    Writer(FakeMediaEncoder& owner, QString path) : owner_(owner), path_(std::move(path)) {}
    Result<void, MediaError> append(const AudioBlock& block) override {
      if (owner_.appendError) return Failed{*owner_.appendError};
      owner_.framesWritten += block.frameCount;
      return {};
    }
    Result<void, MediaError> finish() override {
      if (owner_.finishError) return Failed{*owner_.finishError};
      put(path_, "whole");
      return {};
    }

   private:
    FakeMediaEncoder& owner_;
    QString path_;
  };
  class Session final : public MediaExportSession {
   public:
    Session(FakeMediaEncoder& owner, QString to) : owner_(owner), to_(std::move(to)) {}
    Status run(const std::atomic<bool>& stop) override {
      if (stop) return Status::cancelled;
      if (owner_.writesExport) put(to_, "exported");
      return owner_.exportStatus;
    }
    std::optional<MediaError> error() const override { return owner_.exportError; }

   private:
    FakeMediaEncoder& owner_;
    QString to_;
  };
  static bool put(const QString& path, const char* text) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) > 0;
  }
};

}  // namespace quillmere
