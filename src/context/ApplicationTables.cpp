#include "context/ApplicationTables.h"

#include <QHash>

#include "domain/Applications.h"

namespace quillmere {
namespace {

QString categoryOf(ApplicationKind kind) {
  switch (kind) {
    case ApplicationKind::browser:
      return QStringLiteral("Web Browser");
    case ApplicationKind::communication:
      return QStringLiteral("Communication");
    case ApplicationKind::email:
      return QStringLiteral("Email Client");
    case ApplicationKind::notes:
      return QStringLiteral("Note Taking");
    case ApplicationKind::wordProcessor:
      return QStringLiteral("Word Processor");
    case ApplicationKind::presentation:
      return QStringLiteral("Presentation");
    case ApplicationKind::spreadsheet:
      return QStringLiteral("Spreadsheet");
    case ApplicationKind::codeEditor:
      return QStringLiteral("Code Editor");
    case ApplicationKind::ide:
      return QStringLiteral("IDE");
    case ApplicationKind::terminal:
      return QStringLiteral("Terminal");
    case ApplicationKind::other:
      break;
  }
  return QStringLiteral("Application");
}

}  // namespace

QString applicationCategory(const QString& bundleId, bool isElectronEditor) {
  const ApplicationKind kind = applicationOf(bundleId).kind;
  return categoryOf(isElectronEditor && kind != ApplicationKind::browser ? ApplicationKind::codeEditor : kind);
}

QString applicationDescription(const QString& bundleId, const QString& category) {
  if (const QString own = QLatin1String(applicationOf(bundleId).description); !own.isEmpty()) return own;
  static const QHash<QString, QString> byCategory = {
      {QStringLiteral("Web Browser"), QStringLiteral("Web browsing application")},
      {QStringLiteral("Code Editor"), QStringLiteral("Source code editing application")},
      {QStringLiteral("Communication"), QStringLiteral("Communication and messaging application")},
      {QStringLiteral("Email Client"), QStringLiteral("Email management application")},
      {QStringLiteral("Note Taking"), QStringLiteral("Note-taking and organization application")},
      {QStringLiteral("Word Processor"), QStringLiteral("Document creation and editing application")},
      {QStringLiteral("Terminal"), QStringLiteral("Command-line interface application")},
  };
  return byCategory.value(category, QStringLiteral("Desktop application"));
}

}  // namespace quillmere
