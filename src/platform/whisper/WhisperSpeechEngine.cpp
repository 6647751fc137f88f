#include "platform/whisper/WhisperSpeechEngine.h"

#include <whisper.h>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <exception>
#include <mutex>

#include "base/text/LocalizedText.h"
#include "platform/whisper/WhisperSpeechContext.h"

namespace quillmere {
namespace {

std::mutex logMutex;
const WhisperSpeechEngine* logOwner = nullptr;
Logger logTarget;

// Any thread, also the engine's own.
void writeLibraryLog(ggml_log_level level, const char* text, void*) {
  const QString line = QString::fromUtf8(text).trimmed();
  if (line.isEmpty()) return;
  Logger target;
  {
    const std::lock_guard lock(logMutex);
    target = logTarget;
  }
  switch (level) {
    case GGML_LOG_LEVEL_ERROR:
      target.error("%{public}s", line);
      break;
    case GGML_LOG_LEVEL_WARN:
      target.warning("%{public}s", line);
      break;
    default:
      target.debug("%s", line);
      break;  // may hold paths
  }
}

Failed<PlatformError> failed(int code, QString description) {
  return Failed{PlatformError{QStringLiteral("speech"), code, std::move(description)}};
}

}  // namespace

WhisperSpeechEngine::WhisperSpeechEngine(const Logging& logging, GgmlModelChecks checks, EngineProcessor processor)
    : logger_(logging.logger(QStringLiteral("SpeechEngine"))), checks_(checks), processor_(processor) {
  // An internal error of the library would start a debugger in a child process.
  if (!qEnvironmentVariableIsSet("GGML_NO_BACKTRACE")) qputenv("GGML_NO_BACKTRACE", "1");
  {
    const std::lock_guard lock(logMutex);
    logOwner = this;
    logTarget = logger_;
  }
  whisper_log_set(&writeLibraryLog, nullptr);
  ggml_log_set(&writeLibraryLog, nullptr);
}

WhisperSpeechEngine::~WhisperSpeechEngine() {
  const std::lock_guard lock(logMutex);
  if (logOwner != this) return;
  logOwner = nullptr;
  logTarget = {};
}

Result<std::unique_ptr<SpeechEngineContext>, PlatformError> WhisperSpeechEngine::load(const QString& modelPath) {
  if (const auto unsupported = processor_.unsupported()) return failed(ENOTSUP, *unsupported);

  const QString name = QFileInfo(modelPath).fileName();
  QFile file(modelPath);
  if (!QFileInfo::exists(modelPath)) return failed(ENOENT, localizedText("models.file.error.missing", name));
  if (QFileInfo(modelPath).isDir() || !file.open(QIODevice::ReadOnly)) {
    return failed(EACCES, localizedText("models.file.error.unreadable", name));
  }
  const auto checked = inspectGgmlModelFile(file, checks_);
  file.close();
  if (!checked) {
    logger_.error("Refused the model file: %{public}s", checked.error().detail);
    return failed(EINVAL, localizedDescription(checked.error(), name));
  }

  whisper_context_params parameters = whisper_context_default_params();
  parameters.use_gpu = true;
  parameters.flash_attn = true;
  whisper_context* handle = nullptr;
  try {
    handle = whisper_init_from_file_with_params(QFile::encodeName(modelPath).constData(), parameters);
  } catch (const std::exception& exception) {
    logger_.error("The speech engine gave up: %{public}s", exception.what());
  }
  if (!handle) return failed(ENOMEM, localizedText("speech.model.notLoaded", name));
  return std::unique_ptr<SpeechEngineContext>(std::make_unique<WhisperSpeechContext>(handle, logger_));
}

}  // namespace quillmere
