#include "platform/linux/JsonLinesLog.h"

#include <spdlog/details/log_msg.h>

#include "platform/linux/JsonLineFormatter.h"
#include "platform/linux/LogLevelNames.h"
#include "platform/linux/SharedRotatingFileSink.h"

namespace quillmere {
namespace {

constexpr qsizetype maxMessageUnits = 16'384;  // the answer of a broken server must not fill the files

}  // namespace

JsonLinesLog::JsonLinesLog(Options options)
    : minimumLevel_(options.minimumLevel),
      sink_(std::make_shared<SharedRotatingFileSink>(SharedRotatingFileSink::Options{
          .folder = options.folder,
          .baseName = QString::fromLatin1(baseName),
          .maxFileBytes = options.maxFileBytes,
          .maxFiles = options.maxFiles,
          .onFailure = std::move(options.onFailure),
      })) {
  sink_->set_formatter(std::make_unique<JsonLineFormatter>(options.processName));
}

JsonLinesLog::~JsonLinesLog() = default;

void JsonLinesLog::write(const LogRecord& record) {
  if (record.level < minimumLevel_) return;
  QString text = record.publicText();
  if (text.size() > maxMessageUnits) text = text.left(maxMessageUnits) + QStringLiteral("…");
  const std::string category = record.category.toStdString();
  const std::string message = text.toStdString();
  sink_->log(spdlog::details::log_msg(category, spdlogLevel(record.level), message));
}

}  // namespace quillmere
