#pragma once
#include <QJsonObject>
#include <QString>
#include <string>

namespace quillmere {

// Standard output and error of the process. Results go to out, everything else to err. Text that came from outside is
// shown without control characters on a terminal and byte for byte in a pipe. Main thread.
class Terminal {
 public:
  Terminal();

  bool isOutputTerminal() const { return isOutputTerminal_; }
  bool isErrorTerminal() const { return isErrorTerminal_; }
  // Columns of the error stream's terminal; 80 where it can't be told.
  int columns() const;

  // One line each. out() gives false when nobody reads any more or the disk is full.
  bool out(const QString& line);
  bool json(const QJsonObject& object);
  void err(const QString& line);
  // Replaces the present line of the error terminal; does nothing in a pipe.
  void status(const QString& line);
  void clearStatus();

  // False once a write to standard output has failed.
  bool isOutputSound() const { return isOutputSound_; }

 private:
  bool write(int fd, const std::string& bytes);

  bool isOutputTerminal_;
  bool isErrorTerminal_;
  bool isOutputSound_ = true;
  bool hasStatus_ = false;
};

// The text with control characters (escape sequences among them) written as visible signs; tabs become blanks.
// Line ends stay where `keepLines` is set.
QString printable(const QString& text, bool keepLines);

}  // namespace quillmere
