#include "platform/linux/Autostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace quillmere {
namespace {

// An argument of an Exec line: in quotes, with what is special inside them escaped, then once more as every string
// value.
QByteArray execArgument(const QString& argument) {
  QString escaped;
  for (const QChar letter : argument) {
    if (letter == u'"' || letter == u'`' || letter == u'$' || letter == u'\\') escaped += u'\\';
    escaped += letter;
    if (letter == u'%') escaped += letter;
  }
  return '"' + escaped.replace(u'\\', QStringLiteral("\\\\")).toUtf8() + '"';
}

}  // namespace

Autostart::Autostart(QString configFolder, QString program)
    : configFolder_(std::move(configFolder)), program_(std::move(program)) {}

QString Autostart::path() const {
  return configFolder_ + QStringLiteral("/autostart/com.quillmere.Quillmere.desktop");
}

bool Autostart::isEnabled() const {
  return QFileInfo::exists(path());
}

bool Autostart::setEnabled(bool isEnabled) {
  if (!isEnabled) return !this->isEnabled() || QFile::remove(path());
  const QByteArray exec = "Exec=" + execArgument(program_) + " --hidden";
  QFile present(path());
  if (present.open(QIODevice::ReadOnly) && present.readAll().split('\n').contains(exec)) return true;
  present.close();
  if (!QDir().mkpath(QFileInfo(path()).path())) return false;
  QSaveFile file(path());
  if (!file.open(QIODevice::WriteOnly)) return false;
  file.write("[Desktop Entry]\nType=Application\nName=Quillmere\nIcon=com.quillmere.Quillmere\n" + exec +
             "\nTerminal=false\nStartupNotify=false\n");
  return file.commit();
}

}  // namespace quillmere
