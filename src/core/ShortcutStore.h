#pragma once
#include <QString>
#include <optional>
#include <set>

#include "base/log/Logger.h"
#include "domain/KeyCombination.h"

namespace quillmere {

class AppState;
class DefaultsStore;
class GlobalShortcuts;

// Keeps the keys of the system-wide shortcuts in the settings and the desktop in step with them, also when another
// process changes them. A key that can't be had is told to the user and tried again at the next change. Main thread.
class ShortcutStore {
 public:
  // All outlive this object; the state may be null.
  ShortcutStore(DefaultsStore& defaults, GlobalShortcuts& shortcuts, AppState* appState, const Logging& logging);
  ~ShortcutStore();
  ShortcutStore(const ShortcutStore&) = delete;
  ShortcutStore& operator=(const ShortcutStore&) = delete;

  // Takes over what is stored and follows changes from here on. Once.
  void start();

  // What is stored for the name; nothing for a text that names no keys.
  std::optional<KeyCombination> keys(const QString& name) const;
  // Stores, and with that applies. False when it could not be written to the disk.
  bool setKeys(const QString& name, const std::optional<KeyCombination>& keys);
  // Names whose stored keys can't be had now.
  const std::set<QString>& unavailable() const { return unavailable_; }

 private:
  void settingChanged(const QString& settingKey);
  void apply(const QString& name);

  DefaultsStore& defaults_;
  GlobalShortcuts& shortcuts_;
  AppState* appState_;
  Logger logger_;
  std::set<QString> unavailable_;
  std::optional<int> observerToken_;
};

}  // namespace quillmere
