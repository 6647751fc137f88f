#include <QJsonObject>
#include <QJsonValue>

#include "app/cli/Commands.h"
#include "app/compose/Services.h"
#include "base/text/LocalizedText.h"
#include "storage/SettingsTable.h"

namespace quillmere {
namespace {

QJsonObject settingJson(const SettingsManager& settings, const SettingDefinition& definition) {
  const QString key = QString::fromLatin1(definition.key);
  QJsonObject object{{"key", key}, {"isStored", settings.isStored(key)}, {"group", groupName(definition.group)}};
  const QVariant value = settings.effectiveValue(key);
  object["value"] =
      value.isValid() && definition.type != SettingType::data ? QJsonValue::fromVariant(value) : QJsonValue();
  return object;
}

QString shown(const SettingsManager& settings, const SettingDefinition& definition) {
  const QVariant value = settings.effectiveValue(QString::fromLatin1(definition.key));
  return value.isValid() ? settingText(definition, value) : QString();
}

}  // namespace

Task<int> runSettings(CommandContext context, SettingsOptions options) {
  using Action = SettingsOptions::Action;
  SettingsManager& settings = *context.services.settings;
  const QString key = argumentText(options.key);
  const SettingDefinition* definition = findSetting(key);
  const bool needsKey = options.action == Action::get || options.action == Action::set ||
                        (options.action == Action::reset && !options.isAll);
  if (needsKey && !definition) co_return fail(context, {localizedText("cli.settings.unknown", key), exitUsage});
  switch (options.action) {
    case Action::list:
      for (const SettingDefinition& row : settingsTable) {
        if (options.isJson) {
          context.terminal.json(settingJson(settings, row));
        } else if (!row.isInternal) {
          const QString name = QString::fromLatin1(row.key);
          context.terminal.out(QStringLiteral("%1 %2 %3")
                                   .arg(settings.isStored(name) ? QChar(u'*') : QChar(u' '))
                                   .arg(name.leftJustified(30), shown(settings, row)));
        }
      }
      co_return exitOk;
    case Action::get:
      options.isJson ? context.terminal.json(settingJson(settings, *definition))
                     : context.terminal.out(shown(settings, *definition));
      co_return exitOk;
    case Action::set: {
      const auto set = settings.setText(key, argumentText(options.value));
      co_return set ? int(exitOk) : fail(context, {set.error(), exitUsage});
    }
    case Action::reset: {
      if (options.isAll == !key.isEmpty())
        co_return fail(context, {localizedText("cli.settings.resetWhat"), exitUsage});
      QStringList keys{key};
      if (options.isAll) {
        keys.clear();
        for (const SettingDefinition& row : settingsTable)
          if (!row.isInternal && settings.isStored(QString::fromLatin1(row.key))) keys << QString::fromLatin1(row.key);
      }
      for (const QString& each : keys)
        if (const auto done = settings.reset(each); !done) co_return fail(context, {done.error(), exitFailure});
      co_return exitOk;
    }
    case Action::describe:
      context.terminal.out(renderSettingsDocument([](const QString& name) { return localizedText(name); }).trimmed());
      co_return exitOk;
    case Action::path:
      context.terminal.out(context.services.paths.settingsFile);
      co_return exitOk;
  }
  co_return exitFailure;
}

}  // namespace quillmere
