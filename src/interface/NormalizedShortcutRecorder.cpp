#include "interface/NormalizedShortcutRecorder.h"

#include "base/text/LocalizedText.h"
#include "core/ShortcutNames.h"
#include "core/ShortcutStore.h"
#include "ports/GlobalShortcuts.h"
#include "storage/SettingsTable.h"

namespace quillmere {

NormalizedShortcutRecorder::NormalizedShortcutRecorder(ShortcutStore& store, GlobalShortcuts& shortcuts,
                                                       Executor& executor, std::function<void(const QString&)> onChange)
    : store_(store), shortcuts_(shortcuts), onChange_(std::move(onChange)), scope_(executor) {}

QString NormalizedShortcutRecorder::title(const QString& name) {
  return localizedText(QStringLiteral("shortcuts.title.") + name);
}

bool NormalizedShortcutRecorder::isAvailable() const {
  return shortcuts_.isAvailable();
}

std::optional<KeyCombination> NormalizedShortcutRecorder::keys(const QString& name) const {
  return store_.keys(name);
}

QString NormalizedShortcutRecorder::problem(const QString& name) const {
  const auto found = problems_.find(name);
  if (found != problems_.end()) return found->second;
  const auto wanted = store_.keys(name);
  return wanted && store_.unavailable().contains(name) ? localizedText("shortcuts.error.takenByProgram", wanted->text())
                                                       : QString();
}

void NormalizedShortcutRecorder::record(const QString& name) {
  stopRecording();
  if (!isAvailable()) return;
  problems_.erase(name);
  recordingName_ = name;
  waiting_ = scope_.spawn(waitForKeys(name));
  onChange_(name);
}

void NormalizedShortcutRecorder::stopRecording() {
  if (recordingName_.isEmpty()) return;
  waiting_.cancel();
  onChange_(std::exchange(recordingName_, QString()));
}

Task<void> NormalizedShortcutRecorder::waitForKeys(QString name) {
  // Who cancels with Escape means it; the wait for keys ends by its button then.
  const GlobalShortcuts::EscapeKey escape = name == QLatin1String(shortcutNames::cancelRecording)
                                                ? GlobalShortcuts::EscapeKey::isRecorded
                                                : GlobalShortcuts::EscapeKey::endsRecording;
  const std::optional<KeyCombination> keys = co_await shortcuts_.recordCombination(escape);
  recordingName_.clear();
  if (keys) choose(name, *keys);
  onChange_(name);
}

void NormalizedShortcutRecorder::clear(const QString& name) {
  if (recordingName_ == name) stopRecording();
  problems_.erase(name);
  store_.setKeys(name, std::nullopt);
  onChange_(name);
}

bool NormalizedShortcutRecorder::choose(const QString& name, const KeyCombination& keys) {
  problems_.erase(name);
  if (!canBeShortcut(keys)) return refuse(name, localizedText("shortcuts.error.typesText", keys.text()));
  for (const char* other : shortcutNames::all)
    if (const QString otherName = QString::fromLatin1(other); otherName != name && store_.keys(otherName) == keys)
      return refuse(name, localizedText("shortcuts.error.takenBy", keys.text(), title(otherName)));
  if (const auto taken = shortcuts_.setShortcut(name, keys); !taken) return refuse(name, taken.error().description);
  if (!store_.setKeys(name, keys)) return refuse(name, localizedText("shortcuts.error.notSaved", keys.text()));
  onChange_(name);
  return true;
}

bool NormalizedShortcutRecorder::refuse(const QString& name, const QString& problem) {
  problems_[name] = problem;
  onChange_(name);
  return false;
}

}  // namespace quillmere
