#pragma once
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace quillmere {

// A text field of another program that has the keyboard. Each constructor waits until its window is active; isReady()
// tells whether it came.
class TextField {
 public:
  enum class Kind {
    gtkEntry,
    gtkPassword,
    gtk4Editor,
    qtLine,
    qtPassword,
    qtEditor,
    chromiumTextarea,
    unknownTextarea,  // the same in a program that nobody knows, which tells others nothing
    terminal,
    tkText  // a toolkit that knows nothing of accessibility
  };
  explicit TextField(Kind kind);
  // Another window of the same program, which is of the kind tkText.
  explicit TextField(TextField& sibling);
  ~TextField();

  bool isReady() const { return isReady_; }
  qint64 processId() const { return process_.processId(); }
  // The field's present text. GTK fields tell theirs only at their end, so the dialog is confirmed by reading it.
  QString text();
  // The text once it holds something, or what it is after the time.
  QString eventualText();
  // Brings its window to the front again.
  void activate();
  bool isActive() const;

 private:
  void startChromium();
  void startTk();
  void startGtk4();
  QString windowName() const;
  // The file that an editor's document or a terminal's input goes to; what it holds.
  QString savedPath() const { return folder_.filePath(title_); }
  QString savedText() const;
  bool waitUntilActive();

  Kind kind_;
  QString title_;
  QTemporaryDir folder_;
  QProcess process_;
  bool isReady_ = false;
  QString lastQtText_;
  QByteArray pending_;
};

}  // namespace quillmere
