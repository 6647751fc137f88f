#pragma once
#include <QEvent>
#include <QObject>
#include <QString>

#include "interface/RecordingPanel.h"

namespace quillmere {

// What the pill's QML shows and tells, under the name Overlay. Main thread.
class OverlayBridge final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QString kind READ kind NOTIFY contentChanged)
  Q_PROPERTY(QString text READ text NOTIFY contentChanged)
  Q_PROPERTY(bool canCancel READ canCancel NOTIFY contentChanged)
  Q_PROPERTY(QString cancelKey READ cancelKey NOTIFY contentChanged)
  Q_PROPERTY(QString stopKey READ stopKey NOTIFY contentChanged)
  Q_PROPERTY(bool canPasteHere READ canPasteHere NOTIFY contentChanged)
  Q_PROPERTY(QString sendTo READ sendTo NOTIFY contentChanged)
  Q_PROPERTY(qreal verticalScale READ verticalScale NOTIFY levelChanged)
  Q_PROPERTY(QString durationText READ durationText NOTIFY durationChanged)
 public:
  QString kind() const;
  QString text() const { return content_.text; }
  bool canCancel() const { return content_.canCancel; }
  QString cancelKey() const { return content_.cancelKey; }
  QString stopKey() const { return content_.stopKey; }
  bool canPasteHere() const { return content_.canPasteHere; }
  QString sendTo() const { return content_.sendTo; }
  qreal verticalScale() const { return verticalScale_; }
  QString durationText() const { return durationText_; }

  void setContent(const OverlayContent& content);
  void setLevel(float verticalScale, double durationSeconds);
  void setHandlers(RecordingPanel::Handlers handlers) { handlers_ = std::move(handlers); }
  // Return and Escape in any window of this program answer the question.
  void setLocalKeysEnabled(bool isEnabled);

  Q_INVOKABLE void confirmCancel();
  Q_INVOKABLE void dismissQuestion();
  Q_INVOKABLE void finish();
  Q_INVOKABLE void cancel();
  Q_INVOKABLE void copy();
  Q_INVOKABLE void pasteHere();
  Q_INVOKABLE void sendToTarget();
  Q_INVOKABLE void groundClicked();
  // Beside the pointer, in a window of its own: the pill has no room for it.
  Q_INVOKABLE void showTip(const QString& text);
  Q_INVOKABLE void hideTip();

 Q_SIGNALS:
  void contentChanged();
  void levelChanged();
  void durationChanged();

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;

  OverlayContent content_;
  RecordingPanel::Handlers handlers_;
  qreal verticalScale_ = 0.25;
  QString durationText_ = QStringLiteral("0:00");
  bool hasLocalKeys_ = false;
};

}  // namespace quillmere
