#pragma once
#include <QFile>
#include <algorithm>
#include <vector>

#include "ports/WavWriter.h"

namespace quillmere {

// Keeps the samples and writes a file of 44 bytes and two for each sample.
class FakeWavWriterFactory final : public WavWriterFactory {
 public:
  std::optional<PlatformError> createError, appendError, finishError;
  std::vector<float> samples;
  int seenRate = 0;

  Result<std::unique_ptr<WavWriter>, PlatformError> create(const QString& path, int sampleRate) override {
    if (createError) return Failed{*createError};
    seenRate = sampleRate;
    samples.clear();
    auto writer = std::make_unique<Writer>(*this, path);
    if (!writer->isOpen()) return Failed{PlatformError{"media", 2, "no such folder"}};
    return std::unique_ptr<WavWriter>(std::move(writer));
  }

 private:
  class Writer final : public WavWriter {
   public:
    Writer(FakeWavWriterFactory& owner, const QString& path) : owner_(owner), file_(path) {
      QFile::remove(path);
      if (!file_.open(QIODevice::WriteOnly)) return;
      file_.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
      file_.write(QByteArray(44, 'h'));
    }
    bool isOpen() const { return file_.isOpen(); }
    Result<void, PlatformError> append(std::span<const float> piece) override {
      if (owner_.appendError) return Failed{*owner_.appendError};
      for (const float sample : piece) owner_.samples.push_back(std::clamp(sample, -1.0F, 1.0F));
      file_.write(QByteArray(qsizetype(piece.size() * 2), 's'));
      return {};
    }
    Result<void, PlatformError> finish() override {
      if (owner_.finishError) return Failed{*owner_.finishError};
      file_.close();
      return {};
    }

   private:
    FakeWavWriterFactory& owner_;
    QFile file_;
  };
};

}  // namespace quillmere
