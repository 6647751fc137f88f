#pragma once
#include <QQuickImageProvider>

namespace quillmere {

// "image://icon/NAME/RRGGBB": IconPainter's pictures in the size that the item asks for. Any thread.
class IconProvider final : public QQuickImageProvider {
 public:
  IconProvider() : QQuickImageProvider(Image) {}
  QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

}  // namespace quillmere
