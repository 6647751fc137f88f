#include "app/windows/OverlayBridge.h"

#include <QCoreApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QToolTip>

#include "interface/HistoryText.h"

namespace quillmere {
namespace {

// A copy: the handler may replace itself.
void call(std::function<void()> handler) {  // NOLINT(performance-unnecessary-value-param)
  if (handler) handler();
}

}  // namespace

QString OverlayBridge::kind() const {
  switch (content_.kind) {
    case OverlayContent::Kind::starting:
      return QStringLiteral("starting");
    case OverlayContent::Kind::recording:
      return QStringLiteral("recording");
    case OverlayContent::Kind::live:
      return QStringLiteral("live");
    case OverlayContent::Kind::working:
      return QStringLiteral("working");
    case OverlayContent::Kind::pasted:
      return QStringLiteral("pasted");
    case OverlayContent::Kind::ready:
      return QStringLiteral("ready");
    case OverlayContent::Kind::onClipboard:
      return QStringLiteral("onClipboard");
    case OverlayContent::Kind::notice:
      return QStringLiteral("notice");
    case OverlayContent::Kind::question:
      break;
  }
  return QStringLiteral("question");
}

void OverlayBridge::setContent(const OverlayContent& content) {
  content_ = content;
  Q_EMIT contentChanged();
}

void OverlayBridge::setLevel(float verticalScale, double durationSeconds) {
  if (verticalScale != float(verticalScale_)) {
    verticalScale_ = verticalScale;
    Q_EMIT levelChanged();
  }
  if (const QString text = clockText(durationSeconds); text != durationText_) {
    durationText_ = text;
    Q_EMIT durationChanged();
  }
}

void OverlayBridge::setLocalKeysEnabled(bool isEnabled) {
  if (isEnabled == hasLocalKeys_) return;
  hasLocalKeys_ = isEnabled;
  if (isEnabled)
    QCoreApplication::instance()->installEventFilter(this);
  else
    QCoreApplication::instance()->removeEventFilter(this);
}

bool OverlayBridge::eventFilter(QObject*, QEvent* event) {
  if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride) return false;
  const int key = static_cast<QKeyEvent*>(event)->key();
  const bool isYes = key == Qt::Key_Return || key == Qt::Key_Enter;
  if (!isYes && key != Qt::Key_Escape) return false;
  if (event->type() == QEvent::ShortcutOverride) {
    event->accept();
    return false;
  }
  if (isYes)
    confirmCancel();
  else
    dismissQuestion();
  return true;
}

void OverlayBridge::confirmCancel() {
  call(handlers_.onConfirmCancel);
}

void OverlayBridge::dismissQuestion() {
  call(handlers_.onDismissQuestion);
}

void OverlayBridge::finish() {
  call(handlers_.onFinish);
}

void OverlayBridge::cancel() {
  call(handlers_.onCancel);
}

void OverlayBridge::copy() {
  call(handlers_.onCopy);
}

void OverlayBridge::pasteHere() {
  call(handlers_.onPasteHere);
}

void OverlayBridge::sendToTarget() {
  call(handlers_.onSendToTarget);
}

void OverlayBridge::groundClicked() {
  call(handlers_.onGroundClicked);
}

void OverlayBridge::showTip(const QString& text) {
  QToolTip::showText(QCursor::pos(), QStringLiteral("<span>%1</span>").arg(text.toHtmlEscaped()));
}

void OverlayBridge::hideTip() {
  QToolTip::hideText();
}

}  // namespace quillmere
