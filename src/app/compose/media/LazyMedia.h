#pragma once
#include <QStringList>
#include <mutex>

#include "app/compose/media/MediaAdapters.h"

namespace quillmere {

// Loads the media library when the first file needs it. Thread-safe. Never unloaded: its log lines are referred to.
class LazyMedia {
 public:
  // The first of `files` that can be loaded is taken.
  LazyMedia(QStringList files, Logging logging) : files_(std::move(files)), logging_(std::move(logging)) {}

  // Null where it can't be loaded; why() then has a sentence.
  MediaAdapters* adapters();
  QString why() const { return why_; }

 private:
  void load();

  QStringList files_;
  Logging logging_;
  std::once_flag isTried_;
  bool isLoaded_ = false;
  QString why_;
  MediaAdapters adapters_;
};

// The media ports over it. Plain recordings need no library at all.
class LazyMediaReaderFactory final : public MediaReaderFactory {
 public:
  explicit LazyMediaReaderFactory(LazyMedia& media) : media_(media) {}
  Result<std::unique_ptr<MediaReader>, MediaError> open(const QString& path, Output output) override;
  Result<double, MediaError> durationSeconds(const QString& path, const std::atomic<bool>& stop) override;

 private:
  LazyMedia& media_;
};

class LazyAudioResamplerFactory final : public AudioResamplerFactory {
 public:
  explicit LazyAudioResamplerFactory(LazyMedia& media) : media_(media) {}
  Result<std::unique_ptr<AudioResampler>, PlatformError> create(const AudioStreamFormat& source,
                                                                double targetSampleRate) override;

 private:
  LazyMedia& media_;
};

class LazyMediaEncoder final : public MediaEncoder {
 public:
  explicit LazyMediaEncoder(LazyMedia& media) : media_(media) {}
  Result<std::unique_ptr<MediaWriter>, MediaError> openWriter(const QString& path,
                                                              const AacEncoderSettings& settings) override;
  std::unique_ptr<MediaExportSession> createExportSession(const QString& from, const QString& to) override;
  std::unique_ptr<MediaExportSession> createPacketCopy(const QString& from, const QString& to) override;

 private:
  LazyMedia& media_;
};

}  // namespace quillmere
