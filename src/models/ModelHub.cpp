#include "models/ModelHub.h"

#include <QDir>

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

QString withoutTrailingSlashes(QString text) {
  while (text.size() > 1 && text.endsWith(u'/')) text.chop(1);
  return text;
}

bool looksLikeFolder(const QString& base) {
  return base.startsWith(u'/') || base == u"~" || base.startsWith(u"~/") || base == u"." || base == u".." ||
         base.startsWith(u"./") || base.startsWith(u"../");
}

QStringList placesIn(const QString& folder, const QString& filename) {
  const QString path = QString::fromLatin1(modelHubPath).mid(1) + filename;
  const QDir directory(folder);
  return {directory.absoluteFilePath(filename), directory.absoluteFilePath(path)};
}

}  // namespace

QString chosenModelHub(const QString& fromEnvironment, const QString& fromSetting) {
  for (const QString& candidate : {fromEnvironment.trimmed(), fromSetting.trimmed()})
    if (!candidate.isEmpty()) return candidate;
  return QString::fromLatin1(defaultModelHub);
}

Result<HubLocation, UrlError> locateOnHub(const QString& base, const QString& filename) {
  const QString text = withoutTrailingSlashes(base.trimmed());
  if (looksLikeFolder(text)) {
    const bool isHome = text.startsWith(u'~');
    return HubLocation(placesIn(isHome ? QDir::homePath() + text.mid(1) : text, filename));
  }
  QUrl url(text, QUrl::StrictMode);
  const QString scheme = url.scheme();
  if (url.isValid() && scheme == u"file" && !url.toLocalFile().isEmpty())
    return HubLocation(placesIn(url.toLocalFile(), filename));
  if (!url.isValid() || url.host().isEmpty() || (scheme != u"https" && scheme != u"http")) {
    UrlError error{UrlError::badUrl, QStringLiteral("badUrl"), localizedText("models.error.hubInvalid", text)};
    return Failed{error};
  }
  QString folder = withoutTrailingSlashes(url.path(QUrl::FullyEncoded));
  if (folder == u"/") folder.clear();
  url.setPath(folder + QString::fromLatin1(modelHubPath) + filename, QUrl::StrictMode);
  url.setFragment(QString());
  return HubLocation(url);
}

}  // namespace quillmere
