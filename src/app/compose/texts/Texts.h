#pragma once
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTranslator>

namespace quillmere {

// The text tables of the running application. Make one right after the QCoreApplication and keep it as long as texts
// are shown; its end takes the tables out again. English lies below the chosen language, so that a text missing there
// shows in English. Main thread.
class Texts {
 public:
  // `language` is one of available(); another one gives English.
  explicit Texts(const QString& language);
  ~Texts();
  Texts(const Texts&) = delete;
  Texts& operator=(const Texts&) = delete;

  const QString& language() const { return language_; }

  // The languages of the embedded tables, sorted: "de", "en".
  static QStringList available();

  // The user's first choice among `available`, told by LANGUAGE (a list) in front of LC_ALL, LC_MESSAGES or LANG,
  // whichever of the three is set first. The locales "C" and "POSIX", and a choice without a table, mean English.
  static QString languageFor(const QProcessEnvironment& environment, const QStringList& available);

 private:
  QString language_;
  QTranslator english_;
  QTranslator chosen_;
};

}  // namespace quillmere
