#include "domain/KeyCombination.h"

#include <QHash>
#include <QStringList>
#include <array>
#include <utility>

namespace quillmere {
namespace {

bool KeyCombination::*modifierOf(const QString& word) {
  static const QHash<QString, bool KeyCombination::*> names{
      {QStringLiteral("ctrl"), &KeyCombination::control},  {QStringLiteral("control"), &KeyCombination::control},
      {QStringLiteral("ctl"), &KeyCombination::control},   {QStringLiteral("strg"), &KeyCombination::control},
      {QStringLiteral("alt"), &KeyCombination::alt},       {QStringLiteral("option"), &KeyCombination::alt},
      {QStringLiteral("opt"), &KeyCombination::alt},       {QStringLiteral("shift"), &KeyCombination::shift},
      {QStringLiteral("super"), &KeyCombination::super},   {QStringLiteral("meta"), &KeyCombination::super},
      {QStringLiteral("win"), &KeyCombination::super},     {QStringLiteral("windows"), &KeyCombination::super},
      {QStringLiteral("command"), &KeyCombination::super}, {QStringLiteral("cmd"), &KeyCombination::super}};
  return names.value(word.toLower(), nullptr);
}

// Printed characters whose key carries a word for a name; letters in lower case.
constexpr std::array namedCharacters{
    std::pair{u' ', "space"},       std::pair{u'!', "exclam"},       std::pair{u'"', "quotedbl"},
    std::pair{u'#', "numbersign"},  std::pair{u'$', "dollar"},       std::pair{u'%', "percent"},
    std::pair{u'&', "ampersand"},   std::pair{u'\'', "apostrophe"},  std::pair{u'(', "parenleft"},
    std::pair{u')', "parenright"},  std::pair{u'*', "asterisk"},     std::pair{u'+', "plus"},
    std::pair{u',', "comma"},       std::pair{u'-', "minus"},        std::pair{u'.', "period"},
    std::pair{u'/', "slash"},       std::pair{u':', "colon"},        std::pair{u';', "semicolon"},
    std::pair{u'<', "less"},        std::pair{u'=', "equal"},        std::pair{u'>', "greater"},
    std::pair{u'?', "question"},    std::pair{u'@', "at"},           std::pair{u'[', "bracketleft"},
    std::pair{u'\\', "backslash"},  std::pair{u']', "bracketright"}, std::pair{u'^', "asciicircum"},
    std::pair{u'_', "underscore"},  std::pair{u'`', "grave"},        std::pair{u'{', "braceleft"},
    std::pair{u'|', "bar"},         std::pair{u'}', "braceright"},   std::pair{u'~', "asciitilde"},
    std::pair{u'§', "section"},     std::pair{u'°', "degree"},       std::pair{u'´', "acute"},
    std::pair{u'ß', "ssharp"},      std::pair{u'à', "agrave"},       std::pair{u'á', "aacute"},
    std::pair{u'â', "acircumflex"}, std::pair{u'ã', "atilde"},       std::pair{u'ä', "adiaeresis"},
    std::pair{u'å', "aring"},       std::pair{u'æ', "ae"},           std::pair{u'ç', "ccedilla"},
    std::pair{u'è', "egrave"},      std::pair{u'é', "eacute"},       std::pair{u'ê', "ecircumflex"},
    std::pair{u'ë', "ediaeresis"},  std::pair{u'ì', "igrave"},       std::pair{u'í', "iacute"},
    std::pair{u'î', "icircumflex"}, std::pair{u'ï', "idiaeresis"},   std::pair{u'ð', "eth"},
    std::pair{u'ñ', "ntilde"},      std::pair{u'ò', "ograve"},       std::pair{u'ó', "oacute"},
    std::pair{u'ô', "ocircumflex"}, std::pair{u'õ', "otilde"},       std::pair{u'ö', "odiaeresis"},
    std::pair{u'ø', "oslash"},      std::pair{u'ù', "ugrave"},       std::pair{u'ú', "uacute"},
    std::pair{u'û', "ucircumflex"}, std::pair{u'ü', "udiaeresis"},   std::pair{u'ý', "yacute"},
    std::pair{u'þ', "thorn"}};

// Names that are words, in their own spelling; the second one is what else people write.
constexpr std::array namedKeys{std::pair{"Escape", "esc"},
                               std::pair{"Return", "enter"},
                               std::pair{"Tab", ""},
                               std::pair{"BackSpace", ""},
                               std::pair{"Delete", "del"},
                               std::pair{"Insert", "ins"},
                               std::pair{"Home", ""},
                               std::pair{"End", ""},
                               std::pair{"Page_Up", "pageup"},
                               std::pair{"Page_Down", "pagedown"},
                               std::pair{"Prior", ""},
                               std::pair{"Next", ""},
                               std::pair{"Left", ""},
                               std::pair{"Right", ""},
                               std::pair{"Up", ""},
                               std::pair{"Down", ""},
                               std::pair{"Pause", "break"},
                               std::pair{"Print", "printscreen"},
                               std::pair{"Sys_Req", ""},
                               std::pair{"Scroll_Lock", "scrolllock"},
                               std::pair{"Menu", ""},
                               std::pair{"Help", ""},
                               std::pair{"Undo", ""},
                               std::pair{"Redo", ""},
                               std::pair{"Find", ""},
                               std::pair{"Cancel", ""},
                               std::pair{"Execute", ""},
                               std::pair{"Select", ""},
                               std::pair{"Clear", ""},
                               std::pair{"Linefeed", ""},
                               std::pair{"Muhenkan", ""},
                               std::pair{"Henkan", ""},
                               std::pair{"Zenkaku_Hankaku", ""},
                               std::pair{"Hiragana_Katakana", ""}};

// Families of names that are taken as they stand.
constexpr std::array nameFamilies{"XF86",       "KP_",           "dead_",     "Cyrillic_", "Ukrainian_", "Serbian_",
                                  "Macedonia_", "Byelorussian_", "Greek_",    "hebrew_",   "Arabic_",    "Thai_",
                                  "Hangul_",    "kana_",         "Armenian_", "Georgian_"};

bool isWord(const QString& text) {
  return std::all_of(text.begin(), text.end(), [](QChar c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
  });
}

// "F9"; 1 to 35.
std::optional<QString> functionKey(const QString& word) {
  if (word.size() < 2 || word.size() > 3 || word[0].toLower() != u'f' || word[1] == u'0') return std::nullopt;
  int number = 0;
  for (const QChar digit : word.sliced(1)) {
    if (digit < u'0' || digit > u'9') return std::nullopt;
    number = number * 10 + digit.unicode() - u'0';
  }
  if (number < 1 || number > 35) return std::nullopt;
  return u'F' + QString::number(number);
}

std::optional<QString> characterKey(QChar character) {
  const QChar lower = character.toLower();
  if ((lower >= u'a' && lower <= u'z') || (lower >= u'0' && lower <= u'9')) return QString(lower);
  for (const auto& [printed, name] : namedCharacters)
    if (QChar(printed) == lower) return QString::fromLatin1(name);
  return std::nullopt;
}

// "U20AC": a character by its number.
bool isNumbered(const QString& word) {
  if (word.size() < 5 || word.size() > 7 || word[0] != u'U') return false;
  bool isHexadecimal = false;
  word.sliced(1).toUInt(&isHexadecimal, 16);
  return isHexadecimal && word == word.toUpper();
}

std::optional<QString> keyOf(const QString& word) {
  if (word.isEmpty()) return std::nullopt;
  if (word.size() == 1) return characterKey(word[0]);
  if (const auto key = functionKey(word)) return key;
  for (const auto& [printed, name] : namedCharacters)
    if (word.compare(QLatin1String(name), Qt::CaseInsensitive) == 0) return QString::fromLatin1(name);
  for (const auto& [name, otherName] : namedKeys)
    if (word.compare(QLatin1String(name), Qt::CaseInsensitive) == 0 ||
        word.compare(QLatin1String(otherName), Qt::CaseInsensitive) == 0)
      return QString::fromLatin1(name);
  if (!isWord(word)) return std::nullopt;
  for (const char* family : nameFamilies)
    if (word.startsWith(QLatin1String(family)) && word.size() > qsizetype(qstrlen(family))) return word;
  if (isNumbered(word)) return word;
  return std::nullopt;
}

// Between the words stands one '+'; the one of "Ctrl++" is the key itself.
QStringList wordsOf(const QString& text) {
  QStringList words;
  QString word;
  for (const QChar c : text) {
    if (c == u'+' && !word.trimmed().isEmpty()) {
      words << word.trimmed();
      word.clear();
    } else {
      word += c;
    }
  }
  words << word.trimmed();
  return words;
}

}  // namespace

std::optional<KeyCombination> KeyCombination::parse(const QString& text) {
  KeyCombination combination;
  const QStringList words = wordsOf(text);
  for (const QString& word : words) {
    if (bool KeyCombination::*const modifier = modifierOf(word)) {
      combination.*modifier = true;
      continue;
    }
    const auto key = keyOf(word);
    if (!key || !combination.key.isEmpty()) return std::nullopt;
    combination.key = *key;
  }
  if (combination.key.isEmpty()) return std::nullopt;
  return combination;
}

QString KeyCombination::text() const {
  QStringList words;
  if (control) words << QStringLiteral("Ctrl");
  if (alt) words << QStringLiteral("Alt");
  if (shift) words << QStringLiteral("Shift");
  if (super) words << QStringLiteral("Super");
  QString shown = key.size() == 1 ? key.toUpper() : key;
  for (const auto& [printed, name] : namedCharacters) {
    const QChar character(printed);
    // "ß" has no capital of its own.
    if (key == QLatin1String(name) && character.isLetter()) shown = QString(character.toUpper());
  }
  words << shown;
  return words.join(u'+');
}

}  // namespace quillmere
