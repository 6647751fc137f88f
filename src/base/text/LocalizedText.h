#pragma once
#include <QString>
#include <QStringList>
#include <concepts>

namespace quillmere {

// The text of a dotted key in the language of the installed text table, with %1 to %9 replaced by the arguments. A key
// without a text shows itself. Safe to use from any thread.
QString localizedTextWith(const QString& key, const QStringList& arguments);

inline QString textArgument(const QString& text) {
  return text;
}
inline QString textArgument(const char* text) {
  return QString::fromUtf8(text);
}
inline QString textArgument(double number) {
  return QString::number(number);
}
template <std::integral N>
QString textArgument(N number) {
  return QString::number(number);
}

template <typename... A>
QString localizedText(const char* key, const A&... arguments) {
  return localizedTextWith(QString::fromUtf8(key), QStringList{textArgument(arguments)...});
}
template <typename... A>
QString localizedText(const QString& key, const A&... arguments) {
  return localizedTextWith(key, QStringList{textArgument(arguments)...});
}

}  // namespace quillmere
