#include "app/windows/IconPainter.h"

#include <QPainter>
#include <map>

namespace quillmere {
namespace {

constexpr double gridSize = 16;
constexpr double quillGridSize = 20;

struct Drawing {
  QPainterPath stroke;
  QPainterPath fill;
};

QPainterPath lines(std::initializer_list<std::initializer_list<QPointF>> polylines) {
  QPainterPath path;
  for (const auto& polyline : polylines) {
    bool isFirst = true;
    for (const QPointF& point : polyline) {
      if (isFirst)
        path.moveTo(point);
      else
        path.lineTo(point);
      isFirst = false;
    }
  }
  return path;
}

QPainterPath ring(double x, double y, double radius) {
  QPainterPath path;
  path.addEllipse(QPointF(x, y), radius, radius);
  return path;
}

QPainterPath box(double x, double y, double width, double height, double radius) {
  QPainterPath path;
  path.addRoundedRect(QRectF(x, y, width, height), radius, radius);
  return path;
}

QPainterPath operator<<(QPainterPath a, const QPainterPath& b) {
  a.addPath(b);
  return a;
}

QPainterPath arc(double x, double y, double radius, double start, double sweep) {
  const QRectF rect(x - radius, y - radius, 2 * radius, 2 * radius);
  QPainterPath path;
  path.arcMoveTo(rect, start);
  path.arcTo(rect, start, sweep);
  return path;
}

const std::map<QString, Drawing>& drawings() {
  static const std::map<QString, Drawing> all = [] {
    std::map<QString, Drawing> icons;
    const auto add = [&](const char* name, const QPainterPath& stroke, const QPainterPath& fill = {}) {
      icons[QString::fromLatin1(name)] = {stroke, fill};
    };
    add("history", ring(8, 8, 5.8) << lines({{{8, 4.8}, {8, 8.2}, {10.4, 9.6}}}));
    add("modes",
        lines(
            {{{2.4, 4.5}, {7.4, 4.5}}, {{12, 4.5}, {13.6, 4.5}}, {{2.4, 11.5}, {4, 11.5}}, {{8.6, 11.5}, {13.6, 11.5}}})
            << ring(9.7, 4.5, 2) << ring(6.3, 11.5, 2));
    add("vocabulary", lines({{{8, 3.9}, {8, 13.3}}}) << box(2.4, 2.8, 11.2, 10.4, 1.6)
                                                     << lines({{{4.6, 6}, {5.9, 6}},
                                                               {{10.1, 6}, {11.4, 6}},
                                                               {{4.6, 8.6}, {5.9, 8.6}},
                                                               {{10.1, 8.6}, {11.4, 8.6}}}));
    add("models", lines({{{8, 1.9}, {13.4, 4.9}, {13.4, 11.1}, {8, 14.1}, {2.6, 11.1}, {2.6, 4.9}, {8, 1.9}},
                         {{2.8, 5}, {8, 7.9}, {13.2, 5}},
                         {{8, 7.9}, {8, 13.9}}}));
    QPainterPath cloud;
    cloud.moveTo(4.4, 12.4);
    cloud.cubicTo(1.2, 12.2, 1.2, 8.1, 4.2, 7.8);
    cloud.cubicTo(4.4, 3.4, 10.6, 2.9, 11.4, 6.9);
    cloud.cubicTo(14.9, 6.9, 15, 12.2, 11.6, 12.4);
    cloud.closeSubpath();
    add("services", cloud);
    add("shortcuts", box(1.9, 4, 12.2, 8, 1.6) << lines({{{4.4, 6.7}, {4.5, 6.7}},
                                                         {{7, 6.7}, {7.1, 6.7}},
                                                         {{9.6, 6.7}, {9.7, 6.7}},
                                                         {{11.7, 6.7}, {11.8, 6.7}},
                                                         {{5.2, 9.4}, {10.8, 9.4}}}));
    add("statistics", lines({{{3, 13}, {3, 8.6}}, {{8, 13}, {8, 3}}, {{13, 13}, {13, 6.4}}}));
    QPainterPath gear;
    for (int i = 0; i < 8; ++i) {
      const double angle = i * 3.14159265358979 / 4;
      gear.moveTo(8 + 4.4 * std::cos(angle), 8 + 4.4 * std::sin(angle));
      gear.lineTo(8 + 6.2 * std::cos(angle), 8 + 6.2 * std::sin(angle));
    }
    add("settings", ring(8, 8, 4.3) << ring(8, 8, 1.5) << gear);
    add("search", ring(7, 7, 4.4) << lines({{{10.3, 10.3}, {13.6, 13.6}}}));
    add("copy", box(5.4, 5.4, 8, 8.4, 1.4)
                    << lines({{{10.6, 3}, {10.6, 2.9}, {9.4, 2.2}, {3.8, 2.2}, {2.6, 3.4}, {2.6, 9.4}, {3.4, 10.4}}}));
    add("paste", box(3, 3.2, 10, 10.8, 1.4)
                     << box(5.8, 1.8, 4.4, 2.8, 1) << lines({{{5.6, 8}, {10.4, 8}}, {{5.6, 10.8}, {8.8, 10.8}}}));
    add("play", lines({{{4.6, 2.8}, {12.8, 8}, {4.6, 13.2}, {4.6, 2.8}}}));
    add("retry", arc(8, 8, 5.2, 20, 290) << lines({{{13.4, 3}, {13.1, 6.4}, {9.9, 5.6}}}));
    add("more", {}, ring(3.4, 8, 1.2) << ring(8, 8, 1.2) << ring(12.6, 8, 1.2));
    add("delete", lines({{{2.8, 4.4}, {13.2, 4.4}},
                         {{6, 4.2}, {6.4, 2.4}, {9.6, 2.4}, {10, 4.2}},
                         {{4.2, 4.6}, {4.9, 13.6}, {11.1, 13.6}, {11.8, 4.6}},
                         {{6.7, 7}, {6.9, 11.2}},
                         {{9.3, 7}, {9.1, 11.2}}}));
    add("check", lines({{{2.8, 8.6}, {6.4, 12}, {13.2, 4.4}}}));
    add("close", lines({{{3.8, 3.8}, {12.2, 12.2}}, {{12.2, 3.8}, {3.8, 12.2}}}));
    add("stop", {}, box(3.6, 3.6, 8.8, 8.8, 1.4));
    add("warning",
        lines({{{8, 2.2}, {14.4, 13.4}, {1.6, 13.4}, {8, 2.2}}, {{8, 6.4}, {8, 9.4}}, {{8, 11.4}, {8, 11.5}}}));
    add("download", lines({{{8, 2.2}, {8, 10}}, {{4.8, 7}, {8, 10.2}, {11.2, 7}}, {{2.6, 13.4}, {13.4, 13.4}}}));
    QPainterPath cradle = arc(8, 7, 4.6, 180, 180);
    add("microphone", box(5.8, 1.8, 4.4, 7.6, 2.2)
                          << cradle << lines({{{8, 11.6}, {8, 14.2}}, {{5.6, 14.2}, {10.4, 14.2}}}));
    add("file", lines({{{9, 1.8}, {3.4, 1.8}, {3.4, 14.2}, {12.6, 14.2}, {12.6, 5.4}, {9, 1.8}},
                       {{9, 1.8}, {9, 5.4}, {12.6, 5.4}}}));
    add("down", lines({{{3.6, 6}, {8, 10.4}, {12.4, 6}}}));
    add("diamond", {}, lines({{{8, 2}, {14, 8}, {8, 14}, {2, 8}, {8, 2}}}));
    return icons;
  }();
  return all;
}

void drawQuill(QPainter& painter, const QPen& base, bool isStruckThrough) {
  QPen pen = base;
  QPainterPath feather;
  feather.moveTo(3, 17);
  feather.cubicTo(6, 8, 11, 3.5, 17.5, 2.5);
  feather.cubicTo(16, 9, 11.5, 13.5, 5.5, 14.5);
  painter.strokePath(feather, pen);
  QPainterPath water;
  water.moveTo(2, 18.2);
  water.cubicTo(4, 17.2, 6, 17.2, 8, 18.2);
  water.cubicTo(10, 19.2, 12, 19.2, 14, 18.2);
  water.cubicTo(16, 17.2, 17, 17.4, 18, 17.6);
  pen.setWidthF(base.widthF() * 0.78);
  painter.strokePath(water, pen);
  if (!isStruckThrough) return;
  painter.strokePath(lines({{{2.6, 2.6}, {17.4, 17.4}}}), base);
}

}  // namespace

QImage IconPainter::image(const QString& name, const QColor& color, int pixels) {
  if (name == QLatin1String("quill")) return quill(color, pixels, false);
  QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  const auto found = drawings().find(name);
  if (found == drawings().end()) return image;
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(pixels / gridSize, pixels / gridSize);
  painter.fillPath(found->second.fill, color);
  painter.strokePath(found->second.stroke, QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  return image;
}

QImage IconPainter::quill(const QColor& color, int pixels, bool isStruckThrough, const QColor& halo) {
  QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(pixels / quillGridSize, pixels / quillGridSize);
  QPen pen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
  if (halo.alpha() > 0) {
    QPen wide = pen;
    wide.setColor(halo);
    wide.setWidthF(3.4);
    drawQuill(painter, wide, isStruckThrough);
  }
  drawQuill(painter, pen, isStruckThrough);
  return image;
}

QIcon IconPainter::quillIcon(const QColor& color, bool isStruckThrough, const QColor& halo) {
  QIcon icon;
  for (const int pixels : {16, 22, 24, 32, 48, 64, 128})
    icon.addPixmap(QPixmap::fromImage(quill(color, pixels, isStruckThrough, halo)));
  return icon;
}

}  // namespace quillmere
