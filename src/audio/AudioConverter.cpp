#include "audio/AudioConverter.h"

#include "audio/SampleConversion.h"
#include "base/async/Offload.h"

namespace quillmere {

AudioConverter::AudioConverter(MediaReaderFactory& readers, AudioResamplerFactory& resamplers, WorkerPool& pool,
                               const Logging& logging)
    : readers_(readers),
      resamplers_(resamplers),
      pool_(pool),
      logger_(logging.logger(QStringLiteral("AudioConverter"))) {}

Task<Result<std::vector<float>, ConversionError>> AudioConverter::convert(QString filePath, ConversionOptions options) {
  auto conversion =
      std::make_shared<SampleConversion>(readers_, resamplers_, logger_, std::move(filePath), std::move(options));
  auto work = [conversion](const StopFlag& stop) { return conversion->run(stop.atomic()); };
  co_return co_await offload(pool_, std::move(work));
}

}  // namespace quillmere
