#pragma once
#include <map>
#include <set>
#include <utility>

#include "base/async/Completion.h"
#include "ports/GlobalShortcuts.h"

namespace quillmere {

// Shortcuts that the test presses. Main thread.
class FakeGlobalShortcuts final : public GlobalShortcuts {
 public:
  std::set<QString> takenByOthers;  // texts of combinations that another program has

  bool isThere = true;
  EscapeKey escape = EscapeKey::endsRecording;  // of the last recording

  bool isAvailable() const override { return isThere; }
  Result<void, PlatformError> setShortcut(const QString& name, std::optional<KeyCombination> keys) override {
    if (keys) {
      if (takenByOthers.contains(keys->text())) return failed(keys->text() + " is taken.");
      for (const auto& [other, entry] : entries_)
        if (other != name && entry.keys == keys) return failed(keys->text() + " is taken.");
    }
    entries_[name].keys = std::move(keys);
    return {};
  }
  std::optional<KeyCombination> shortcut(const QString& name) const override {
    const auto entry = entries_.find(name);
    return entry == entries_.end() ? std::nullopt : entry->second.keys;
  }
  void setHandlers(const QString& name, Handlers handlers) override { entries_[name].handlers = std::move(handlers); }
  void setEnabled(const QString& name, bool isEnabled) override { entries_[name].isEnabled = isEnabled; }
  void yieldKeys(const QStringList& keys) override { yieldedKeys_ = keys; }
  Task<std::optional<KeyCombination>> recordCombination(EscapeKey meaning) override {
    escape = meaning;
    enterCombination(std::nullopt);  // a later recording takes over
    recording_ = Completion<std::optional<KeyCombination>>();
    return waitForKey(*this, *recording_);
  }

  bool isEnabled(const QString& name) const {
    const auto entry = entries_.find(name);
    return entry == entries_.end() || entry->second.isEnabled;
  }
  bool hasHandlers(const QString& name) const {
    const auto entry = entries_.find(name);
    return entry != entries_.end() && (entry->second.handlers.onKeyDown || entry->second.handlers.onKeyUp);
  }
  bool isRecordingCombination() const { return recording_.has_value(); }
  // Whether the shortcut of that name holds the key of its own.
  bool hasKey(const QString& name) const {
    const auto entry = entries_.find(name);
    if (entry == entries_.end() || !entry->second.keys || !entry->second.isEnabled) return false;
    const KeyCombination alone{.key = entry->second.keys->key};
    return *entry->second.keys != alone || !yieldedKeys_.contains(alone.key);
  }
  // The user presses or lets go the key of that name. False when the shortcut doesn't react: it does not hold its key
  // or a combination is being recorded. (A handler that is missing counts as reacting.)
  bool press(const QString& name) { return call(name, &Handlers::onKeyDown); }
  bool release(const QString& name) { return call(name, &Handlers::onKeyUp); }
  // What recordCombination() gives; none is an Escape that ends it.
  void enterCombination(std::optional<KeyCombination> keys) {
    if (auto recording = std::exchange(recording_, std::nullopt)) recording->resolve(std::move(keys));
  }

 private:
  struct Entry {
    std::optional<KeyCombination> keys;
    Handlers handlers;
    bool isEnabled = true;
  };

  static Failed<PlatformError> failed(const QString& description) {
    return Failed{PlatformError{"shortcuts", 10, description}};
  }
  static Task<std::optional<KeyCombination>> waitForKey(FakeGlobalShortcuts& self,
                                                        Completion<std::optional<KeyCombination>> recording) {
    co_return co_await recording.wait([&self] { self.recording_.reset(); });
  }
  bool call(const QString& name, std::function<void()> Handlers::*handler) {
    const auto entry = entries_.find(name);
    if (!hasKey(name) || recording_) return false;
    if (const auto function = entry->second.handlers.*handler) function();
    return true;
  }

  std::map<QString, Entry> entries_;
  QStringList yieldedKeys_;
  std::optional<Completion<std::optional<KeyCombination>>> recording_;
};

}  // namespace quillmere
