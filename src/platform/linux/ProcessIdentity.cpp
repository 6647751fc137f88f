#include "platform/linux/ProcessIdentity.h"

#include <unistd.h>

#include <QFile>
#include <QStringList>

namespace quillmere {
namespace {

constexpr int partCount = 4;   // "BOOT NAMESPACE PID START"
constexpr int stateField = 0;  // of /proc/PID/stat, counted after the program's name
constexpr int startTimeField = 19;

QString contentOf(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll()).trimmed() : QString();
}

QString bootId() {
  return contentOf(QStringLiteral("/proc/sys/kernel/random/boot_id"));
}

QString processNamespace() {
  char target[64];
  const ssize_t length = readlink("/proc/self/ns/pid", target, sizeof target);
  return length > 0 ? QString::fromLatin1(target, int(length)) : QStringLiteral("-");
}

// In ticks since the machine's start; empty for a process that is gone or only waits to be collected.
QString startTimeOf(const QString& pid) {
  const QString stat = contentOf(QStringLiteral("/proc/%1/stat").arg(pid));
  // The name stands in parentheses and may hold anything, parentheses and blanks too.
  const QStringList fields = stat.mid(stat.lastIndexOf(u')') + 2).split(u' ');
  if (fields.size() <= startTimeField) return {};
  if (fields[stateField] == QLatin1String("Z") || fields[stateField] == QLatin1String("X")) return {};
  return fields[startTimeField];
}

}  // namespace

QString thisProcessIdentity() {
  static const QString identity = [] {
    const QString pid = QString::number(getpid());
    return QStringList{bootId(), processNamespace(), pid, startTimeOf(pid)}.join(u' ');
  }();
  return identity;
}

std::optional<bool> isProcessAlive(const QString& identity) {
  const QStringList parts = identity.split(u' ');
  if (parts.size() != partCount || parts[0] != bootId()) return false;
  if (parts[1] != processNamespace()) return std::nullopt;
  const QString startTime = startTimeOf(parts[2]);
  return !startTime.isEmpty() && startTime == parts[3];
}

}  // namespace quillmere
