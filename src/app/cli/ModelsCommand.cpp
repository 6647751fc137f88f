#include <QFileInfo>
#include <QJsonObject>
#include <algorithm>

#include "app/cli/Commands.h"
#include "app/cli/ProgressBar.h"
#include "app/compose/Services.h"
#include "base/text/LocalizedText.h"
#include "models/DiskSpace.h"

namespace quillmere {
namespace {

void listOne(CommandContext& context, const WhisperCppModel& model, bool isInstalled, bool isCustom, bool isJson) {
  const qint64 partial = isInstalled || isCustom ? 0 : context.services.models.manager->partialDownloadBytes(model);
  if (isJson) {
    QJsonObject object{{"name", model.name},
                       {"displayName", model.displayName},
                       {"isInstalled", isInstalled},
                       {"isEnglishOnly", model.isEnglishOnly},
                       {"isCustom", isCustom}};
    if (!isCustom) object["size"] = model.size;
    if (model.url) object["file"] = model.url->toLocalFile();
    if (partial > 0) object["partialBytes"] = partial;
    context.terminal.json(object);
    return;
  }
  QString state = isInstalled ? QStringLiteral("✔") : QStringLiteral(" ");
  QString note = model.displayName;
  if (isCustom) note = localizedText("cli.models.custom");
  if (partial > 0) note += QStringLiteral("  ") + localizedText("cli.models.partial", modelSizeText(partial));
  context.terminal.out(
      QStringLiteral("%1 %2  %3  %4").arg(state, model.name.leftJustified(16), model.size.rightJustified(7), note));
}

int list(CommandContext& context, const ModelsOptions& options) {
  WhisperModelManager& manager = *context.services.models.manager;
  for (const WhisperCppModel& model : manager.availableModels()) {
    const auto installed = manager.findDownloaded(model.name);
    listOne(context, installed ? *installed : model, installed.has_value(), false, options.isJson);
  }
  for (const WhisperCppModel& model : manager.customModels()) listOne(context, model, true, true, options.isJson);
  return exitOk;
}

std::optional<WhisperCppModel> knownModel(WhisperModelManager& manager, const QString& name) {
  for (const WhisperCppModel& model : manager.availableModels())
    if (model.name == name || model.filename == name) return model;
  return std::nullopt;
}

QString knownNames(WhisperModelManager& manager) {
  QStringList names;
  for (const WhisperCppModel& model : manager.availableModels()) names << model.name;
  return names.join(QStringLiteral(", "));
}

Task<int> download(CommandContext context, ModelsOptions options) {
  WhisperModelManager& manager = *context.services.models.manager;
  for (const std::string& argument : options.names) {
    const QString name = argumentText(argument);
    const auto model = knownModel(manager, name);
    if (!model) co_return fail(context, {localizedText("cli.models.unknown", name, knownNames(manager)), exitUsage});
    if (manager.findDownloaded(model->name)) {
      context.terminal.err(localizedText("cli.models.present", model->name));
      continue;
    }
    const bool showsBar = !options.isQuiet;
    const auto watching = manager.observeDownloadProgress([&](const QMap<QString, double>& progress) {
      const auto at = progress.constFind(model->name);
      if (!showsBar || at == progress.constEnd()) return;
      const QString note = *at < 0 ? modelSizeText(qint64(-*at)) : QString();
      context.terminal.status(progressLine(model->name, *at, note, context.terminal.columns()));
    });
    const auto waiting = manager.observeWaitingModels([&](const QSet<QString>& names) {
      if (showsBar && names.contains(model->name))
        context.terminal.status(localizedText("cli.models.waiting", model->name));
    });
    co_await manager.download(*model, options.isFresh);
    context.terminal.clearStatus();
    if (manager.errorMessage())
      co_return fail(context, {*manager.errorMessage(), manager.isOutOfDiskSpace() ? exitDiskFull : exitNetwork});
    if (!manager.findDownloaded(model->name))
      co_return fail(context, {localizedText("cli.models.stillMissing", model->name), exitNetwork});
    if (!options.isQuiet) context.terminal.err(localizedText("cli.models.downloaded", model->name));
  }
  co_return exitOk;
}

Task<int> remove(CommandContext context, ModelsOptions options) {
  WhisperModelManager& manager = *context.services.models.manager;
  for (const std::string& argument : options.names) {
    const QString name = argumentText(argument);
    auto model = manager.findDownloaded(name);
    if (const auto known = knownModel(manager, name); !model && known) {
      if (manager.partialDownloadBytes(*known) > 0) {
        manager.discardPartialDownload(*known);
        continue;
      }
      co_return fail(context, {localizedText("cli.models.notInstalled", name), exitModel});
    }
    if (!model) co_return fail(context, {localizedText("cli.models.notInstalled", name), exitModel});
    co_await manager.deleteModel(*model);
    if (manager.errorMessage()) co_return fail(context, {*manager.errorMessage(), exitFailure});
  }
  co_return exitOk;
}

Task<int> import(CommandContext context, ModelsOptions options) {
  const QString path = argumentText(options.names.front());
  std::optional<QString> name;
  if (options.importName) name = argumentText(*options.importName);
  const QString label = QFileInfo(path).fileName();
  Terminal& terminal = context.terminal;
  const int columns = terminal.columns();
  std::function<void(double)> progress;
  if (!options.isQuiet)
    progress = [&terminal, label, columns](double share) {
      terminal.status(progressLine(label, share, QString(), columns));
    };
  const auto imported = co_await context.services.models.importer->importModel(path, name, std::move(progress));
  terminal.clearStatus();
  if (!imported)
    co_return fail(context, {imported.error().description, isOutOfSpace(imported.error()) ? exitDiskFull : exitModel});
  context.services.models.manager->scanForModels();
  if (!options.isQuiet)
    terminal.err(localizedText(imported->isCatalogModel ? "cli.models.importedCatalog" : "cli.models.importedCustom",
                               imported->name));
  terminal.out(imported->name);
  co_return exitOk;
}

}  // namespace

Task<int> runModels(CommandContext context, ModelsOptions options) {
  using Action = ModelsOptions::Action;
  switch (options.action) {
    case Action::list:
      co_return list(context, options);
    case Action::path:
      context.terminal.out(context.services.models.manager->modelsDirectory());
      co_return exitOk;
    case Action::download: {
      const int code = co_await download(context, options);
      co_return code;
    }
    case Action::remove: {
      const int code = co_await remove(context, options);
      co_return code;
    }
    case Action::import: {
      const int code = co_await import(context, options);
      co_return code;
    }
  }
  co_return exitFailure;
}

}  // namespace quillmere
