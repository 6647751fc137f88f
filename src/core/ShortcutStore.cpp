#include "core/ShortcutStore.h"

#include "base/text/LocalizedText.h"
#include "core/AppState.h"
#include "core/ShortcutNames.h"
#include "ports/DefaultsStore.h"
#include "ports/GlobalShortcuts.h"

namespace quillmere {

ShortcutStore::ShortcutStore(DefaultsStore& defaults, GlobalShortcuts& shortcuts, AppState* appState,
                             const Logging& logging)
    : defaults_(defaults),
      shortcuts_(shortcuts),
      appState_(appState),
      logger_(logging.logger(QStringLiteral("Shortcuts"))) {}

ShortcutStore::~ShortcutStore() {
  if (observerToken_) defaults_.removeObserver(*observerToken_);
}

void ShortcutStore::start() {
  if (observerToken_) return;
  observerToken_ = defaults_.addObserver([this](const QString& settingKey) { settingChanged(settingKey); });
  for (const char* name : shortcutNames::all) apply(QString::fromLatin1(name));
}

std::optional<KeyCombination> ShortcutStore::keys(const QString& name) const {
  return KeyCombination::parse(defaults_.value(shortcutSettingKey(name)).toString());
}

bool ShortcutStore::setKeys(const QString& name, const std::optional<KeyCombination>& keys) {
  if (!keys) return defaults_.remove(shortcutSettingKey(name));
  return defaults_.setValue(shortcutSettingKey(name), keys->text());
}

void ShortcutStore::settingChanged(const QString& settingKey) {
  for (const char* latinName : shortcutNames::all) {
    const QString name = QString::fromLatin1(latinName);
    if (settingKey != shortcutSettingKey(name)) continue;
    apply(name);
    if (name == QLatin1String(shortcutNames::pushToTalk))
      logger_.info("⌨️ Push to Talk custom shortcut updated via settings");
    // What this change gave free may be what another name waits for.
    for (const QString& other : std::set(unavailable_))
      if (other != name && shortcuts_.setShortcut(other, keys(other))) unavailable_.erase(other);
  }
}

void ShortcutStore::apply(const QString& name) {
  unavailable_.erase(name);
  const QString stored = defaults_.value(shortcutSettingKey(name)).toString();
  const auto wanted = keys(name);
  if (!stored.trimmed().isEmpty() && !wanted) {
    // Written into the file by hand.
    logger_.warning("No keys in the setting %{public}s", shortcutSettingKey(name));
    if (appState_ != nullptr) appState_->showError(localizedText("shortcuts.error.invalid", stored));
  }
  auto result = shortcuts_.setShortcut(name, wanted);
  // Where two names exchange their keys, the other one waits for what this one has just given up.
  for (const QString& other : unavailable_)
    if (!result && wanted && shortcuts_.shortcut(other) == wanted && shortcuts_.setShortcut(other, std::nullopt))
      result = shortcuts_.setShortcut(name, wanted);
  if (result) return;
  logger_.warning("The keys for %{public}s can't be had: %{public}s", name, result.error().description);
  if (!wanted) return;
  unavailable_.insert(name);
  if (appState_ == nullptr) return;
  appState_->showError(localizedText("shortcuts.error.unavailable", wanted->text(), result.error().description));
}

}  // namespace quillmere
