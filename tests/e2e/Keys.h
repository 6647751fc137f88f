#pragma once
#include "e2e/Tool.h"

namespace quillmere {

// Real key events of the desktop's keyboard, by keysym name.
class Keys {
 public:
  static void down(const QString& key) { xdotool({"keydown", key}); }
  static void up(const QString& key) { xdotool({"keyup", key}); }
  static void press(const QString& keys) { xdotool({"key", keys}); }

 private:
  static void xdotool(const QStringList& arguments) { Tool::run("xdotool", arguments); }
};

}  // namespace quillmere
