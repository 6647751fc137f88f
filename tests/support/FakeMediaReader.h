#pragma once
#include <QMap>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <mutex>
#include <vector>

#include "ports/MediaReader.h"

namespace quillmere {

// A file of the fake: every channel holds the same samples, made frame by frame as they are read.
struct FakeMediaFile {
  AudioStreamFormat format{48000, 2, AudioStreamFormat::SampleKind::signed16, false, 0};
  qint64 frames = 0;
  std::optional<qint64> nominalFrames;                 // as the file states it; nothing: unknown
  std::optional<MediaReader::TrackDescription> track;  // nothing: as the format
  std::function<float(qint64 frame)> sample = [](qint64) { return 0.25f; };
  qint64 blockFrames = 1000;  // the most that one read gives
  std::optional<MediaError> openError;
  std::optional<qint64> readErrorAt;  // frame at which reading breaks off
  MediaError::Kind readErrorKind = MediaError::Kind::readFailed;
  double duration = 0;
  std::function<void()> onRead;  // on the reading thread, before each read
  bool canSeek = false;
  bool hasPicture = false;
};

class FakeMediaReader final : public MediaReader {
 public:
  FakeMediaReader(FakeMediaFile file, MediaReaderFactory::Output output) : file_(std::move(file)) {
    if (output == MediaReaderFactory::Output::native) return;
    file_.format.kind = AudioStreamFormat::SampleKind::signed16;
  }

  TrackDescription trackDescription() const override {
    return file_.track.value_or(TrackDescription{file_.format.sampleRate, file_.format.channelCount});
  }
  AudioStreamFormat format() const override { return file_.format; }
  bool hasPicture() const override { return file_.hasPicture; }
  std::optional<qint64> nominalFrames() const override { return file_.nominalFrames; }

  Result<AudioBlock, MediaError> read(qint64 maxFrames) override {
    if (file_.onRead) file_.onRead();
    if (isAtEnd_) return AudioBlock{};
    qint64 end = file_.frames;
    if (file_.readErrorAt) end = std::min(end, *file_.readErrorAt);
    const qint64 count = std::min({maxFrames, file_.blockFrames, end - position_});
    if (count <= 0) {
      isAtEnd_ = true;
      if (file_.readErrorAt) return Failed{MediaError{file_.readErrorKind, 5, "broken disk"}};
      return AudioBlock{};
    }
    fill(count);
    position_ += count;
    return AudioBlock{file_.format, std::span(&plane_, 1), count};
  }

  bool seek(qint64 frame) override {
    if (!file_.canSeek) return false;
    position_ = frame;
    isAtEnd_ = false;
    return true;
  }

 private:
  void fill(qint64 count) {
    const AudioStreamFormat& format = file_.format;
    const int bytes = bytesPerSample(format.kind);
    memory_.assign(size_t(count * format.channelCount * bytes), {});
    for (qint64 i = 0; i < count; ++i)
      for (int channel = 0; channel < format.channelCount; ++channel)
        put(format.kind, file_.sample(position_ + i), memory_.data() + (i * format.channelCount + channel) * bytes);
    plane_ = memory_.data();
  }
  static void put(AudioStreamFormat::SampleKind kind, float value, std::byte* to) {
    if (kind == AudioStreamFormat::SampleKind::signed16) {
      const auto integer = std::int16_t(std::lround(value * 32767));
      std::memcpy(to, &integer, sizeof integer);
    } else if (kind == AudioStreamFormat::SampleKind::float32) {
      std::memcpy(to, &value, sizeof value);
    }
  }

  FakeMediaFile file_;
  qint64 position_ = 0;
  bool isAtEnd_ = false;
  std::vector<std::byte> memory_;
  const std::byte* plane_ = nullptr;
};

class FakeMediaReaderFactory final : public MediaReaderFactory {
 public:
  // Any path that isn't here can't be opened.
  QMap<QString, FakeMediaFile> files;
  std::vector<std::pair<QString, Output>> opened;

  Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path, Output output) override {
    const std::scoped_lock lock(mutex_);
    opened.emplace_back(path, output);
    auto file = find(path);
    if (!file) return Failed{file.error()};
    return std::unique_ptr<MediaReader>(std::make_unique<FakeMediaReader>(*file, output));
  }
  Result<double, MediaError> durationSeconds(const QString& path, const std::atomic<bool>&) override {
    const std::scoped_lock lock(mutex_);
    auto file = find(path);
    if (!file) return Failed{file.error()};
    return file->duration;
  }

 private:
  Result<FakeMediaFile, MediaError> find(const QString& path) const {
    const auto file = files.constFind(path);
    if (file == files.cend()) return Failed{MediaError{MediaError::Kind::cannotOpen, 2, "No such file or directory"}};
    if (file->openError) return Failed{*file->openError};
    return *file;
  }

  std::mutex mutex_;
};

}  // namespace quillmere
