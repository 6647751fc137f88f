#include "platform/linux/LocalCrashReporter.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "platform/linux/SharedRotatingFileSink.h"

namespace quillmere {
namespace {

QJsonObject json(const Breadcrumb& breadcrumb) {
  return {{QStringLiteral("message"), breadcrumb.message},
          {QStringLiteral("category"), breadcrumb.category},
          {QStringLiteral("level"), int(breadcrumb.level)},
          {QStringLiteral("data"), QJsonObject::fromVariantMap(breadcrumb.data)}};
}

QJsonObject json(const CrashEvent& event) {
  QJsonObject tags;
  for (auto it = event.tags.begin(); it != event.tags.end(); ++it) tags.insert(it.key(), it.value());
  QJsonArray breadcrumbs;
  for (const Breadcrumb& breadcrumb : event.breadcrumbs) breadcrumbs.append(json(breadcrumb));
  return {{QStringLiteral("message"), event.message},
          {QStringLiteral("errorType"), event.errorType},
          {QStringLiteral("errorDomain"), event.errorDomain},
          {QStringLiteral("errorCode"), event.errorCode},
          {QStringLiteral("errorDescription"), event.errorDescription},
          {QStringLiteral("level"), int(event.level)},
          {QStringLiteral("tags"), tags},
          {QStringLiteral("extra"), QJsonObject::fromVariantMap(event.extra)},
          {QStringLiteral("fingerprint"), QJsonArray::fromStringList(event.fingerprint)},
          {QStringLiteral("breadcrumbs"), breadcrumbs}};
}

template <typename T>
void keepLast(QList<T>& list, const T& item, int limit) {
  list.append(item);
  if (list.size() > limit) list.remove(0, list.size() - limit);
}

}  // namespace

LocalCrashReporter::LocalCrashReporter(Options options, const Clock& clock, const Logging& logging)
    : options_(std::move(options)),
      clock_(clock),
      log_(logging.logger(QStringLiteral("diagnostics"))),
      file_(std::make_shared<SharedRotatingFileSink>(
          SharedRotatingFileSink::Options{.folder = options_.folder,
                                          .baseName = QStringLiteral("reports"),
                                          .maxFileBytes = 1'000'000,
                                          .maxFiles = 3})) {
  file_->set_formatter(std::make_unique<spdlog::pattern_formatter>("%v"));
}

LocalCrashReporter::~LocalCrashReporter() = default;

void LocalCrashReporter::start(const CrashReporterOptions& options) {
  const std::lock_guard lock(mutex_);
  started_ = options;
}

bool LocalCrashReporter::isStarted() const {
  const std::lock_guard lock(mutex_);
  return started_.has_value();
}

void LocalCrashReporter::addBreadcrumb(const Breadcrumb& breadcrumb) {
  const std::lock_guard lock(mutex_);
  if (started_) keepLast(breadcrumbs_, breadcrumb, options_.maxBreadcrumbs);
}

void LocalCrashReporter::capture(const CrashEvent& event) {
  CrashReporterOptions options;
  CrashEvent whole = event;
  {
    const std::lock_guard lock(mutex_);
    if (!started_) return;
    options = *started_;
    whole.breadcrumbs = breadcrumbs_;
  }
  for (auto tag = options.tags.begin(); tag != options.tags.end(); ++tag)
    if (!whole.tags.contains(tag.key())) whole.tags.insert(tag.key(), tag.value());
  if (options.beforeSend) whole = options.beforeSend(std::move(whole));
  {
    const std::lock_guard lock(mutex_);
    keepLast(events_, whole, options_.maxEvents);
  }
  QJsonObject line = json(whole);
  line.insert(QStringLiteral("time"), clock_.now().toUTC().toString(Qt::ISODateWithMs));
  line.insert(QStringLiteral("release"), options.release);
  line.insert(QStringLiteral("environment"), options.environment);
  const std::string text = QJsonDocument(line).toJson(QJsonDocument::Compact).toStdString();
  file_->log(spdlog::details::log_msg("reports", spdlog::level::info, text));
  log_.notice("Reported %{public}s (%{public}s %{public}d)", whole.message, whole.errorDomain, whole.errorCode);
}

QList<Breadcrumb> LocalCrashReporter::breadcrumbs() const {
  const std::lock_guard lock(mutex_);
  return breadcrumbs_;
}

QList<CrashEvent> LocalCrashReporter::events() const {
  const std::lock_guard lock(mutex_);
  return events_;
}

}  // namespace quillmere
