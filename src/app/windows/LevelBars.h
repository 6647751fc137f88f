#pragma once
#include <QColor>
#include <QElapsedTimer>
#include <QQuickItem>
#include <QTimer>
#include <QtQml>

namespace quillmere {

// The row of moving bars of the recording pill, after LevelMeter. Moves only while it is visible and `running`, and is
// drawn by the scene graph: a frame moves the rectangles, nothing is painted here.
class LevelBars : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(qreal verticalScale READ verticalScale WRITE setVerticalScale NOTIFY changed)
  Q_PROPERTY(bool running READ isRunning WRITE setRunning NOTIFY changed)
  Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY changed)
 public:
  explicit LevelBars(QQuickItem* parent = nullptr);

  qreal verticalScale() const { return verticalScale_; }
  void setVerticalScale(qreal scale);
  bool isRunning() const { return isRunning_; }
  void setRunning(bool isRunning);
  QColor color() const { return color_; }
  void setColor(const QColor& color);

 Q_SIGNALS:
  void changed();

 private:
  QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;
  void arm();

  qreal verticalScale_ = 0.25;
  bool isRunning_ = false;
  QColor color_ = Qt::white;
  QTimer timer_;
  QElapsedTimer clock_;
};

}  // namespace quillmere
