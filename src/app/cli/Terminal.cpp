#include "app/cli/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <QJsonDocument>
#include <cerrno>

namespace quillmere {

QString printable(const QString& text, bool keepLines) {
  QString out;
  out.reserve(text.size());
  for (const QChar c : text) {
    const ushort code = c.unicode();
    if (c == u'\n' && keepLines)
      out += c;
    else if (c == u'\t')
      out += u' ';
    else if (code < 0x20)
      out += QChar(ushort(0x2400 + code));
    else if (code == 0x7f)
      out += QChar(ushort(0x2421));
    else if (code >= 0x80 && code < 0xa0)
      out += QChar(QChar::ReplacementCharacter);
    else
      out += c;
  }
  return out;
}

Terminal::Terminal() : isOutputTerminal_(isatty(STDOUT_FILENO)), isErrorTerminal_(isatty(STDERR_FILENO)) {}

int Terminal::columns() const {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

bool Terminal::write(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += size_t(count);
  }
  return true;
}

bool Terminal::out(const QString& line) {
  clearStatus();
  const QString shown = isOutputTerminal_ ? printable(line, true) : line;
  if (!write(STDOUT_FILENO, (shown + u'\n').toStdString())) isOutputSound_ = false;
  return isOutputSound_;
}

bool Terminal::json(const QJsonObject& object) {
  clearStatus();
  if (!write(STDOUT_FILENO, QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString() + "\n"))
    isOutputSound_ = false;
  return isOutputSound_;
}

void Terminal::err(const QString& line) {
  clearStatus();
  write(STDERR_FILENO, (printable(line, true) + u'\n').toStdString());
}

void Terminal::status(const QString& line) {
  if (!isErrorTerminal_) return;
  write(STDERR_FILENO, "\r\033[K" + printable(line, false).toStdString());
  hasStatus_ = true;
}

void Terminal::clearStatus() {
  if (!hasStatus_) return;
  write(STDERR_FILENO, "\r\033[K");
  hasStatus_ = false;
}

}  // namespace quillmere
