#include "app/windows/IconProvider.h"

#include <QStringList>

#include "app/windows/IconPainter.h"

namespace quillmere {

QImage IconProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
  const QStringList parts = id.split(u'/');
  const int pixels = std::max({requestedSize.width(), requestedSize.height(), 1});
  const QImage image =
      IconPainter::image(parts.value(0), QColor(u'#' + parts.value(1, QStringLiteral("808080"))), pixels);
  if (size) *size = image.size();
  return image;
}

}  // namespace quillmere
