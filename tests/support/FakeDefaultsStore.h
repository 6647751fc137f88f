#pragma once
#include <algorithm>
#include <functional>
#include <map>

#include "ports/DefaultsStore.h"

namespace quillmere {

// The defaults store in memory. One thread.
class FakeDefaultsStore final : public DefaultsStore {
 public:
  bool isReadOnly = false;  // writes fail, values are kept for this run
  int writeCount = 0;

  QVariant value(const QString& key) const override {
    const auto found = values_.find(key);
    return found == values_.end() ? QVariant() : found->second;
  }
  bool setValue(const QString& key, const QVariant& value) override {
    ++writeCount;
    change(key, value);
    return !isReadOnly;
  }
  bool remove(const QString& key) override {
    ++writeCount;
    change(key, {});
    return !isReadOnly;
  }
  QStringList keys() const override {
    QStringList keys;
    for (const auto& [key, value] : values_) keys << key;
    return keys;
  }
  int addObserver(std::function<void(const QString&)> observer) override {
    observers_[++lastToken_] = std::move(observer);
    return lastToken_;
  }
  void removeObserver(int token) override { observers_.erase(token); }

  // What another process writes; an invalid value removes.
  void changeByOtherProcess(const QString& key, const QVariant& value) { change(key, value); }
  size_t observerCount() const { return observers_.size(); }

 private:
  void change(const QString& key, const QVariant& value) {
    const QVariant before = this->value(key);
    if (value.isValid())
      values_[key] = value;
    else
      values_.erase(key);
    if (before.typeId() == value.typeId() && before == value) return;
    for (const auto& [token, observer] : std::map(observers_))
      if (observers_.contains(token)) observer(key);
  }

  std::map<QString, QVariant> values_;
  std::map<int, std::function<void(const QString&)>> observers_;
  int lastToken_ = 0;
};

}  // namespace quillmere
