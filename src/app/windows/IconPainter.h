#pragma once
#include <QColor>
#include <QIcon>
#include <QImage>
#include <QPainterPath>
#include <QString>
#include <QStringList>

namespace quillmere {

// The program's own line icons, drawn sharp at any size in any colour. Pure.
class IconPainter {
 public:
  // `pixels` a side, in device pixels. An unknown name gives an empty picture.
  static QImage image(const QString& name, const QColor& color, int pixels);

  // The quill over a line of water. `halo` makes it readable on a ground of any lightness.
  static QImage quill(const QColor& color, int pixels, bool isStruckThrough, const QColor& halo = Qt::transparent);
  static QIcon quillIcon(const QColor& color, bool isStruckThrough, const QColor& halo = Qt::transparent);
};

}  // namespace quillmere
