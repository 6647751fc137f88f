#include "app/windows/LevelBars.h"

#include <QQuickWindow>
#include <QSGRectangleNode>
#include <cmath>

#include "interface/LevelMeter.h"

namespace quillmere {
namespace {

constexpr int frameMilliseconds = 33;  // as often as the level changes

double heightAt(int bar, double seconds) {
  static const auto keyframes = [] {
    std::array<std::array<double, LevelMeter::keyframeCount>, LevelMeter::barCount> all{};
    for (int i = 0; i < LevelMeter::barCount; ++i) all[size_t(i)] = LevelMeter::keyframes(i);
    return all;
  }();
  const double place =
      std::fmod(seconds * LevelMeter::barSpeed / LevelMeter::durationSeconds(bar), 1.0) * LevelMeter::keyframeCount;
  const auto from = size_t(place) % LevelMeter::keyframeCount;
  const auto& values = keyframes[size_t(bar)];
  return values[from] + (values[(from + 1) % LevelMeter::keyframeCount] - values[from]) * (place - std::floor(place));
}

}  // namespace

LevelBars::LevelBars(QQuickItem* parent) : QQuickItem(parent) {
  setFlag(ItemHasContents);
  setImplicitSize(LevelMeter::barCount * (LevelMeter::barWidth + LevelMeter::barSpacing) - LevelMeter::barSpacing, 24);
  timer_.setInterval(frameMilliseconds);
  connect(&timer_, &QTimer::timeout, this, [this] { update(); });
  clock_.start();
}

QSGNode* LevelBars::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
  if (!node) {
    node = new QSGNode;
    for (int bar = 0; bar < LevelMeter::barCount; ++bar) node->appendChildNode(window()->createRectangleNode());
  }
  const double seconds = isRunning_ ? double(clock_.elapsed()) / 1000.0 : 0.0;
  for (int bar = 0; bar < LevelMeter::barCount; ++bar) {
    auto* const rectangle = static_cast<QSGRectangleNode*>(node->childAtIndex(bar));
    const double tall = std::max(2.0, height() * heightAt(bar, seconds) * verticalScale_);
    const double left = LevelMeter::x(bar, width()) - LevelMeter::barWidth / 2;
    rectangle->setRect(QRectF(left, (height() - tall) / 2, LevelMeter::barWidth, tall));
    rectangle->setColor(color_);
  }
  return node;
}

void LevelBars::setVerticalScale(qreal scale) {
  if (scale == verticalScale_) return;
  verticalScale_ = scale;
  if (!timer_.isActive()) update();
  Q_EMIT changed();
}

void LevelBars::setRunning(bool isRunning) {
  if (isRunning == isRunning_) return;
  isRunning_ = isRunning;
  arm();
  update();
  Q_EMIT changed();
}

void LevelBars::setColor(const QColor& color) {
  if (color == color_) return;
  color_ = color;
  update();
  Q_EMIT changed();
}

void LevelBars::itemChange(ItemChange change, const ItemChangeData& data) {
  QQuickItem::itemChange(change, data);
  if (change == ItemVisibleHasChanged) arm();
}

void LevelBars::arm() {
  if (isRunning_ && isVisible())
    timer_.start();
  else
    timer_.stop();
}

}  // namespace quillmere
