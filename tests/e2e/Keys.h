#pragma once
#include <QThread>

#include "e2e/Tool.h"

namespace quillmere {

// Real key events of the desktop's keyboard, by keysym name.
class Keys {
 public:
  static void down(const QString& key) { xdotool({QStringLiteral("keydown"), key}); }
  static void up(const QString& key) { xdotool({QStringLiteral("keyup"), key}); }
  static void press(const QString& keys) { xdotool({QStringLiteral("key"), keys}); }
  static void hold(const QString& key, int milliseconds) {
    down(key);
    QThread::msleep(ulong(milliseconds));
    up(key);
  }

 private:
  static void xdotool(const QStringList& arguments) { Tool::run(QStringLiteral("xdotool"), arguments); }
};

}  // namespace quillmere
