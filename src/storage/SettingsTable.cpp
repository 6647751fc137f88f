#include "storage/SettingsTable.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QUuid>
#include <cmath>
#include <limits>

#include "base/text/Graphemes.h"
#include "base/text/LocalizedText.h"
#include "domain/ModeData.h"
#include "domain/catalogs/SpeechLanguages.h"

namespace quillmere {

namespace settings_detail {

QString appFolderDefault(const StandardFolders& folders) {
  return folders.applicationSupport + "/Quillmere";
}
QString recordingsFolderDefault(const StandardFolders& folders) {
  return folders.documents + "/quillmere/recordings";
}

}  // namespace settings_detail

namespace {

using Parsed = Result<QVariant, QString>;

bool isNumber(const QVariant& value) {
  switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Float:
    case QMetaType::Double:
      return true;
    default:
      return false;
  }
}

bool isText(const QVariant& value) {
  return value.typeId() == QMetaType::QString;
}

std::optional<bool> parseFlag(const QString& text) {
  const QString word = text.toLower();
  for (const char* yes : {"true", "yes", "on", "1"})
    if (word == QLatin1String(yes)) return true;
  for (const char* no : {"false", "no", "off", "0"})
    if (word == QLatin1String(no)) return false;
  return std::nullopt;
}

QString numberText(double number) {
  return number == std::floor(number) && std::abs(number) < 1e15
             ? QString::number(static_cast<qint64>(number))
             : QString::number(number, 'g', QLocale::FloatingPointShortest);
}

// "a whole number from 1", "a number from 0 to 1"
QString rangeText(const SettingDefinition& definition) {
  const bool isWhole = definition.type == SettingType::integer;
  const char* const key = definition.minimum && definition.maximum
                              ? (isWhole ? "settings.range.wholeBetween" : "settings.range.between")
                          : definition.minimum ? (isWhole ? "settings.range.wholeFrom" : "settings.range.from")
                                               : (isWhole ? "settings.range.whole" : "settings.range.any");
  return localizedText(key, numberText(definition.minimum.value_or(0)), numberText(definition.maximum.value_or(0)));
}

bool isInRange(const SettingDefinition& definition, double number) {
  return std::isfinite(number) && !(definition.minimum && number < *definition.minimum) &&
         !(definition.maximum && number > *definition.maximum);
}

QStringList choicesOf(const SettingDefinition& definition) {
  QStringList choices;
  for (int i = 0; i < definition.choiceCount; ++i) choices << QString::fromLatin1(definition.choices[i]);
  return choices;
}

Parsed parseText(const SettingDefinition& definition, const QString& key, const QString& text) {
  switch (definition.rule) {
    case SettingRule::none:
      break;
    case SettingRule::choice: {
      const QStringList choices = choicesOf(definition);
      for (const QString& choice : choices)
        if (choice.compare(text, Qt::CaseInsensitive) == 0) return QVariant(choice);
      if (const QString meant = definition.meantChoice(text); !meant.isEmpty()) return QVariant(meant);
      return Failed{localizedText("settings.error.choice", key, text, choices.join(", "))};
    }
    case SettingRule::uuidOrEmpty: {
      if (text.isEmpty()) return QVariant(text);
      const QUuid id = QUuid::fromString(text);
      if (id.isNull()) return Failed{localizedText("settings.error.identifier", key, text)};
      return QVariant(id.toString(QUuid::WithoutBraces));
    }
    case SettingRule::languageCode: {
      const QString code = normalizeLanguageCode(text);
      if (!isSpeechLanguage(code)) return Failed{localizedText("settings.error.language", key, text)};
      return QVariant(code);
    }
    case SettingRule::absolutePath:
      if (!QDir::isAbsolutePath(text)) return Failed{localizedText("settings.error.path", key, text)};
      return QVariant(QDir::cleanPath(text));
    case SettingRule::urlOrPathOrEmpty: {
      if (text.isEmpty() || QDir::isAbsolutePath(text)) return QVariant(text);
      const QUrl url(text, QUrl::StrictMode);
      const bool isWeb = (url.scheme() == "http" || url.scheme() == "https") && !url.host().isEmpty();
      if (!url.isValid() || (!isWeb && !url.isLocalFile()))
        return Failed{localizedText("settings.error.url", key, text)};
      return QVariant(text);
    }
    case SettingRule::keysOrEmpty: {
      if (text.isEmpty()) return QVariant(text);
      const auto keys = KeyCombination::parse(text);
      if (!keys || !canBeShortcut(*keys)) return Failed{localizedText("settings.error.keyCombination", key, text)};
      return QVariant(keys->text());
    }
  }
  return QVariant(text);
}

// A JSON array of texts, or for convenience words with commas between them.
Parsed parseList(const QString& key, const QString& text) {
  QJsonArray entries;
  if (text.startsWith('[')) {
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isArray()) return Failed{localizedText("settings.error.list", key)};
    entries = document.array();
    for (const QJsonValue& entry : entries)
      if (!entry.isString()) return Failed{localizedText("settings.error.list", key)};
  } else {
    for (const QString& entry : text.split(',', Qt::SkipEmptyParts))
      if (const QString trimmed = trimmedText(entry); !trimmed.isEmpty()) entries.append(trimmed);
  }
  return QVariant(QString::fromUtf8(QJsonDocument(entries).toJson(QJsonDocument::Compact)));
}

Parsed parseMap(const QString& key, const QString& text) {
  const QJsonDocument document = QJsonDocument::fromJson(text.isEmpty() ? QByteArray("{}") : text.toUtf8());
  if (!document.isObject()) return Failed{localizedText("settings.error.map", key)};
  const QJsonObject entries = document.object();
  for (const QJsonValue& entry : entries)
    if (!entry.isString()) return Failed{localizedText("settings.error.map", key)};
  return QVariant(document.toJson(QJsonDocument::Compact));
}

QString typeText(const SettingDefinition& definition) {
  switch (definition.type) {
    case SettingType::boolean:
      return localizedText("settings.type.boolean");
    case SettingType::integer:
    case SettingType::real:
      return rangeText(definition);
    case SettingType::text:
      if (definition.rule == SettingRule::choice)
        return localizedText("settings.type.choice", choicesOf(definition).join(", "));
      if (definition.rule == SettingRule::keysOrEmpty) return localizedText("settings.type.keyCombination");
      return localizedText("settings.type.text");
    case SettingType::stringList:
      return localizedText("settings.type.list");
    case SettingType::stringMap:
    case SettingType::dictionary:
      return localizedText("settings.type.map");
    case SettingType::data:
      return localizedText("settings.type.data");
  }
  return {};
}

}  // namespace

const SettingDefinition* findSetting(const QString& key) {
  return findSettingConstexpr(key.toStdString());
}

QString groupName(SettingGroup group) {
  switch (group) {
    case SettingGroup::general:
      return "general";
    case SettingGroup::audio:
      return "audio";
    case SettingGroup::storage:
      return "storage";
    case SettingGroup::autoDelete:
      return "autoDelete";
    case SettingGroup::developerMode:
      return "developerMode";
    case SettingGroup::root:
      return "settings";
    case SettingGroup::outside:
      return "application";
  }
  return {};
}

bool canBeShortcut(const KeyCombination& keys) {
  // Names of keys that type something begin with a small letter or are the character itself.
  return keys.control || keys.alt || keys.super || (!keys.key.isEmpty() && keys.key.front().isUpper());
}

QVariant defaultSettingValue(const SettingDefinition& definition, const StandardFolders& folders) {
  if (definition.folderDefault) return definition.folderDefault(folders);
  return std::visit(
      [](auto value) -> QVariant {
        using T = decltype(value);
        if constexpr (std::is_same_v<T, std::monostate>)
          return {};
        else if constexpr (std::is_same_v<T, const char*>)
          return QString::fromUtf8(value);
        else
          return value;
      },
      definition.defaultValue);
}

QVariant settingValue(const DefaultsStore& defaults, const SettingDefinition& definition,
                      const StandardFolders& folders) {
  const QVariant stored = defaults.value(QString::fromLatin1(definition.key));
  switch (definition.type) {
    case SettingType::boolean:
      if (stored.typeId() == QMetaType::Bool) return stored;
      break;
    case SettingType::integer:
      if (isNumber(stored)) {
        const double number = stored.toDouble();
        if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max())
          return static_cast<int>(number);
      }
      break;
    case SettingType::real:
      if (isNumber(stored)) return stored.toDouble();
      break;
    case SettingType::text:
    case SettingType::stringList:
      if (isText(stored)) return stored;
      break;
    case SettingType::stringMap:
    case SettingType::data:
      if (stored.typeId() == QMetaType::QByteArray) return stored;
      break;
    case SettingType::dictionary:
      if (stored.typeId() == QMetaType::QVariantMap) return stored;
      break;
  }
  return defaultSettingValue(definition, folders);
}

bool flagSetting(const DefaultsStore& defaults, const QString& key) {
  const SettingDefinition* definition = findSetting(key);
  return definition && settingValue(defaults, *definition, {}).toBool();
}

Result<QVariant, QString> parseSettingText(const QString& key, const QString& text) {
  const SettingDefinition* definition = findSetting(key);
  if (!definition) return Failed{localizedText("settings.error.unknown", key)};
  if (definition->isInternal) return Failed{localizedText("settings.error.internal", key)};
  const QString trimmed = trimmedText(text);
  switch (definition->type) {
    case SettingType::boolean: {
      const auto flag = parseFlag(trimmed);
      if (!flag) return Failed{localizedText("settings.error.boolean", key, text)};
      return QVariant(*flag);
    }
    case SettingType::integer: {
      bool isNumber = false;
      const int number = trimmed.toInt(&isNumber);
      if (!isNumber || !isInRange(*definition, number))
        return Failed{localizedText("settings.error.number", key, text, rangeText(*definition))};
      return QVariant(number);
    }
    case SettingType::real: {
      bool isNumber = false;
      const double number = trimmed.toDouble(&isNumber);
      if (!isNumber || !isInRange(*definition, number))
        return Failed{localizedText("settings.error.number", key, text, rangeText(*definition))};
      return QVariant(number);
    }
    case SettingType::text:
      return parseText(*definition, key, trimmed);
    case SettingType::stringList:
      return parseList(key, trimmed);
    case SettingType::stringMap:
      return parseMap(key, trimmed);
    case SettingType::data:
    case SettingType::dictionary:
      break;
  }
  return Failed{localizedText("settings.error.internal", key)};
}

QString settingText(const SettingDefinition& definition, const QVariant& value) {
  if (!value.isValid()) return {};
  switch (definition.type) {
    case SettingType::boolean:
      return value.toBool() ? "true" : "false";
    case SettingType::integer:
      return QString::number(value.toInt());
    case SettingType::real:
      return numberText(value.toDouble());
    case SettingType::text:
    case SettingType::stringList:
      return value.toString();
    case SettingType::stringMap:
    case SettingType::data:
      return QString::fromUtf8(value.toByteArray());
    case SettingType::dictionary:
      return QString::fromUtf8(
          QJsonDocument(QJsonObject::fromVariantMap(value.toMap())).toJson(QJsonDocument::Compact));
  }
  return {};
}

QString renderSettingsDocument(const std::function<QString(const QString&)>& describe) {
  const StandardFolders shown{"~/.local/share", "~/Documents", "~/Downloads", "/tmp"};
  const auto cell = [](QString text) { return text.replace('|', "\\|").replace('\n', ' '); };
  QString page =
      "# " + describe("settings.document.title") + "\n\n" + describe("settings.document.introduction") + "\n";
  for (const SettingGroup group :
       {SettingGroup::general, SettingGroup::audio, SettingGroup::storage, SettingGroup::autoDelete,
        SettingGroup::developerMode, SettingGroup::root, SettingGroup::outside}) {
    QString rows;
    for (const SettingDefinition& definition : settingsTable) {
      if (definition.group != group || definition.isInternal) continue;
      const QString value = settingText(definition, defaultSettingValue(definition, shown));
      rows +=
          QString("| `%1` | %2 | %3 | %4 |\n")
              .arg(QString::fromLatin1(definition.key), cell(typeText(definition)),
                   value.isEmpty() ? QString() : "`" + cell(value) + "`", cell(describe(definition.descriptionKey())));
    }
    if (rows.isEmpty()) continue;
    page += "\n## " + describe("settings.group." + groupName(group)) + "\n\n" + describe("settings.document.columns") +
            "\n|---|---|---|---|\n" + rows;
  }
  return page;
}

}  // namespace quillmere
