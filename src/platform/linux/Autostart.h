#pragma once
#include <QString>

namespace quillmere {

// The entry that makes the desktop start this application with the desktop session: a file in the autostart folder.
// Main thread; small files only.
class Autostart {
 public:
  // `configFolder` is $XDG_CONFIG_HOME, `program` the absolute path of the executable.
  Autostart(QString configFolder, QString program);

  // Writes or removes the entry; a file that is right already isn't touched, so that what the desktop's own settings
  // added to it stays. False when the disk refused.
  bool setEnabled(bool isEnabled);
  bool isEnabled() const;
  QString path() const;

 private:
  QString configFolder_;
  QString program_;
};

}  // namespace quillmere
