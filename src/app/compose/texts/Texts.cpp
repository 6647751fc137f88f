#include "app/compose/texts/Texts.h"

#include <QCoreApplication>
#include <QDir>

static void initTextResources() {
  Q_INIT_RESOURCE(texts);
}

namespace quillmere {
namespace {

const QString english = QStringLiteral("en");

bool install(QTranslator& translator, const QString& language) {
  return translator.load(QStringLiteral(":/texts/quillmere_") + language + QStringLiteral(".qm")) &&
         QCoreApplication::installTranslator(&translator);
}

// "de_AT.UTF-8@euro" -> "de"
QString languageOfLocale(const QString& locale) {
  const auto end = std::find_if(locale.begin(), locale.end(),
                                [](QChar c) { return c == u'_' || c == u'-' || c == u'.' || c == u'@'; });
  return locale.left(end - locale.begin()).toLower();
}

QString firstNonEmpty(const QProcessEnvironment& environment, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    const QString value = environment.value(QString::fromLatin1(name));
    if (!value.isEmpty()) return value;
  }
  return {};
}

}  // namespace

Texts::Texts(const QString& language) : language_(english) {
  initTextResources();
  install(english_, english);
  if (language != english && install(chosen_, language)) language_ = language;
}

Texts::~Texts() {
  QCoreApplication::removeTranslator(&chosen_);
  QCoreApplication::removeTranslator(&english_);
}

QStringList Texts::available() {
  initTextResources();
  QStringList languages;
  const QString prefix = QStringLiteral("quillmere_");
  for (const QString& file : QDir(QStringLiteral(":/texts")).entryList({prefix + QStringLiteral("*.qm")}, QDir::Files))
    languages << file.mid(prefix.size()).chopped(3);
  languages.sort();
  return languages;
}

QString Texts::languageFor(const QProcessEnvironment& environment, const QStringList& available) {
  const QString locale = firstNonEmpty(environment, {"LC_ALL", "LC_MESSAGES", "LANG"});
  if (locale.isEmpty() || locale == QLatin1String("C") || locale == QLatin1String("POSIX")) return english;
  QStringList wishes = environment.value(QStringLiteral("LANGUAGE")).split(u':', Qt::SkipEmptyParts);
  wishes << locale;
  for (const QString& wish : wishes) {
    const QString language = languageOfLocale(wish);
    if (available.contains(language)) return language;
  }
  return english;
}

}  // namespace quillmere
