#pragma once
#include <QString>
#include <QVariant>
#include <algorithm>
#include <functional>
#include <type_traits>

#include "ports/DefaultsStore.h"
#include "storage/ObserverList.h"
#include "storage/SettingsTable.h"

namespace quillmere {

// A key as a template argument.
template <size_t N>
struct SettingKey {
  char text[N]{};
  constexpr SettingKey(const char (&key)[N]) { std::copy_n(key, N, text); }  // NOLINT: implicit on purpose
};

// The C++ type of a setting, by the table.
template <SettingType type>
struct SettingValueType {
  using T = QString;
};
template <>
struct SettingValueType<SettingType::boolean> {
  using T = bool;
};
template <>
struct SettingValueType<SettingType::integer> {
  using T = int;
};
template <>
struct SettingValueType<SettingType::real> {
  using T = double;
};

// Base of the settings managers: typed live views on the keys of one group and a signal for their changes, whoever
// makes them. Writing a value that is already in effect and stored changes nothing and tells nobody.
class SettingsChannel {
 public:
  SettingsChannel(DefaultsStore& defaults, const StandardFolders& folders, SettingGroup group);
  virtual ~SettingsChannel();
  SettingsChannel(const SettingsChannel&) = delete;
  SettingsChannel& operator=(const SettingsChannel&) = delete;

  [[nodiscard]] Subscription observeChanges(std::function<void(const QString& key)> observer) {
    return changed_.observe([observer = std::move(observer)](QString key) { observer(key); });
  }

 protected:
  template <SettingKey key>
  auto get() const {
    constexpr const SettingDefinition* definition = findSettingConstexpr(key.text);
    static_assert(definition != nullptr, "not in the table of settings");
    using T = typename SettingValueType<definition->type>::T;
    return settingValue(defaults_, *definition, folders_).template value<T>();
  }
  template <SettingKey key, typename T>
  bool set(const T& value) {
    constexpr const SettingDefinition* definition = findSettingConstexpr(key.text);
    static_assert(definition != nullptr, "not in the table of settings");
    static_assert(std::is_same_v<T, typename SettingValueType<definition->type>::T>, "not the type of this setting");
    return store(*definition, QVariant::fromValue(value));
  }
  template <SettingKey key, typename E>
  E getChoice(E fallback) const {
    return fromRawValue<E>(get<key>()).value_or(fallback);
  }

  bool store(const SettingDefinition& definition, const QVariant& value);
  bool hasStored(const char* key) const { return defaults_.value(QString::fromLatin1(key)).isValid(); }
  // Told of every change of a key of the group, before the observers.
  virtual void onChanged(const QString& key) { Q_UNUSED(key) }
  void announce(const QString& key) { changed_.tell(key); }

  DefaultsStore& defaults_;
  StandardFolders folders_;

 private:
  ObserverList<QString> changed_;
  int observerToken_ = 0;
};

}  // namespace quillmere
