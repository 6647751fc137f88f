#pragma once
#include <QObject>
#include <QString>
#include <deque>
#include <functional>

#include "base/async/Task.h"

namespace quillmere {

// Something that the user has to know or decide before it goes on.
struct Alert {
  QString title;
  QString message;
  QString acceptText;       // the first button
  QString cancelText = {};  // empty: there is nothing to decide
  std::function<void()> onAccept = {};
  std::function<void()> onCancel = {};  // also for one that was just closed
};

// The alerts, one shown at a time and in their order. One that waits or is shown already is not repeated: it is
// answered as cancelled. Those that are left at the end of this object are not answered. Main thread.
class AlertsViewModel final : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isShown READ isShown NOTIFY changed)
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(QString message READ message NOTIFY changed)
  Q_PROPERTY(QString acceptText READ acceptText NOTIFY changed)
  Q_PROPERTY(QString cancelText READ cancelText NOTIFY changed)
 public:
  void show(Alert alert);
  // Shows it and gives whether it was accepted.
  Task<bool> ask(Alert alert);

  bool isShown() const { return !alerts_.empty(); }
  QString title() const { return shown().title; }
  QString message() const { return shown().message; }
  QString acceptText() const { return shown().acceptText; }
  QString cancelText() const { return shown().cancelText; }

  Q_INVOKABLE void accept() { answer(&Alert::onAccept); }
  Q_INVOKABLE void cancel() { answer(&Alert::onCancel); }

 Q_SIGNALS:
  void changed();

 private:
  const Alert& shown() const;
  void answer(std::function<void()> Alert::*how);

  std::deque<Alert> alerts_;
};

}  // namespace quillmere
