#include "platform/linux/JsonLineFormatter.h"

#include <unistd.h>

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <chrono>

#include "platform/linux/LogLevelNames.h"

namespace quillmere {

void JsonLineFormatter::format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& out) {
  const qint64 ms = std::chrono::duration_cast<std::chrono::milliseconds>(message.time.time_since_epoch()).count();
  const QJsonObject line{
      {QStringLiteral("time"), QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC).toString(Qt::ISODateWithMs)},
      {QStringLiteral("level"), logLevelName(message.level)},
      {QStringLiteral("subsystem"), QStringLiteral("com.quillmere.app")},
      {QStringLiteral("category"),
       QString::fromUtf8(message.logger_name.data(), qsizetype(message.logger_name.size()))},
      {QStringLiteral("process"), processName_},
      {QStringLiteral("pid"), qint64(::getpid())},
      {QStringLiteral("thread"), qint64(message.thread_id)},
      {QStringLiteral("message"), QString::fromUtf8(message.payload.data(), qsizetype(message.payload.size()))},
  };
  const QByteArray json = QJsonDocument(line).toJson(QJsonDocument::Compact);
  out.append(json.constData(), json.constData() + json.size());
  out.push_back('\n');
}

}  // namespace quillmere
