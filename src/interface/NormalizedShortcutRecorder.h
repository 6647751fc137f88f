#pragma once
#include <QString>
#include <functional>
#include <map>
#include <optional>

#include "base/async/TaskScope.h"
#include "domain/KeyCombination.h"

namespace quillmere {

class GlobalShortcuts;
class ShortcutStore;

// Takes the keys of a system-wide shortcut from the user: recorded by pressing them, kept only when they can be had.
// One recording at a time. Main thread; everything outlives it.
class NormalizedShortcutRecorder {
 public:
  // `onChange` hears of everything that is to be shown anew, with the name that it concerns.
  NormalizedShortcutRecorder(ShortcutStore& store, GlobalShortcuts& shortcuts, Executor& executor,
                             std::function<void(const QString& name)> onChange);

  bool isAvailable() const;
  std::optional<KeyCombination> keys(const QString& name) const;
  // A key that was chosen and can't be had, or one refused just now; empty otherwise. A whole sentence.
  QString problem(const QString& name) const;
  QString recordingName() const { return recordingName_; }

  // Waits for the next keys; Escape leaves everything as it was, except for the shortcut that cancels: that one can be
  // Escape. A recording for another name ends.
  void record(const QString& name);
  void stopRecording();
  void clear(const QString& name);
  // False, with a problem to read, when these keys can't be had; the former ones stay.
  bool choose(const QString& name, const KeyCombination& keys);

  // What the interface calls the shortcut.
  static QString title(const QString& name);

 private:
  Task<void> waitForKeys(QString name);
  bool refuse(const QString& name, const QString& problem);

  ShortcutStore& store_;
  GlobalShortcuts& shortcuts_;
  std::function<void(const QString&)> onChange_;
  QString recordingName_;
  std::map<QString, QString> problems_;
  TaskHandle<void> waiting_;
  TaskScope scope_;  // last: its tasks use the fields above
};

}  // namespace quillmere
