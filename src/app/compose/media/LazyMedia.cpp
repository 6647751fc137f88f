#include "app/compose/media/LazyMedia.h"

#include <QLibrary>

#include "audio/PlainResampler.h"
#include "base/text/LocalizedText.h"
#include "platform/sndfile/PlainWaveReader.h"

namespace quillmere {

MediaAdapters* LazyMedia::adapters() {
  std::call_once(isTried_, [this] { load(); });
  return isLoaded_ ? &adapters_ : nullptr;
}

void LazyMedia::load() {
  const Logger logger = logging_.logger(QStringLiteral("Media"));
  for (const QString& file : files_) {
    QLibrary library(file);
    const auto make = reinterpret_cast<MakeMediaAdapters>(library.resolve(makeMediaAdaptersSymbol));
    if (make) {
      make(logging_, adapters_);
      isLoaded_ = true;
      return;
    }
    logger.debug("The media library could not be loaded: %{public}s", library.errorString());
  }
  why_ = localizedText("media.error.libraryMissing");
  logger.error("No media library: audio and video files other than plain recordings can't be read");
}

Result<std::unique_ptr<MediaReader>, MediaError> LazyMediaReaderFactory::open(const QString& path, Output output) {
  if (auto plain = PlainWaveReader::open(path)) return std::unique_ptr<MediaReader>(std::move(plain));
  if (MediaAdapters* adapters = media_.adapters()) return adapters->readers->open(path, output);
  return Failed{MediaError{MediaError::Kind::unsupported, 0, media_.why()}};
}

Result<double, MediaError> LazyMediaReaderFactory::durationSeconds(const QString& path, const std::atomic<bool>& stop) {
  if (const auto plain = PlainWaveReader::open(path)) return plain->durationSeconds();
  if (MediaAdapters* adapters = media_.adapters()) return adapters->readers->durationSeconds(path, stop);
  return Failed{MediaError{MediaError::Kind::unsupported, 0, media_.why()}};
}

Result<std::unique_ptr<AudioResampler>, PlatformError> LazyAudioResamplerFactory::create(
    const AudioStreamFormat& source, double targetSampleRate) {
  if (auto plain = PlainResampler::create(source, targetSampleRate))
    return std::unique_ptr<AudioResampler>(std::move(plain));
  if (MediaAdapters* adapters = media_.adapters()) return adapters->resamplers->create(source, targetSampleRate);
  return Failed{PlatformError{QStringLiteral("media"), 0, media_.why()}};
}

Result<std::unique_ptr<MediaWriter>, MediaError> LazyMediaEncoder::openWriter(const QString& path,
                                                                              const AacEncoderSettings& settings) {
  if (MediaAdapters* adapters = media_.adapters()) return adapters->encoder->openWriter(path, settings);
  return Failed{MediaError{MediaError::Kind::unsupported, 0, media_.why()}};
}

std::unique_ptr<MediaExportSession> LazyMediaEncoder::createExportSession(const QString& from, const QString& to) {
  MediaAdapters* adapters = media_.adapters();
  return adapters ? adapters->encoder->createExportSession(from, to) : nullptr;
}

std::unique_ptr<MediaExportSession> LazyMediaEncoder::createPacketCopy(const QString& from, const QString& to) {
  MediaAdapters* adapters = media_.adapters();
  return adapters ? adapters->encoder->createPacketCopy(from, to) : nullptr;
}

}  // namespace quillmere
