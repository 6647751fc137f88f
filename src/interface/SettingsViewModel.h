#pragma once
#include <QObject>
#include <QVariantMap>
#include <functional>

#include "base/Subscription.h"

namespace quillmere {

class DefaultsStore;
class SettingsManager;
class UserNotices;

// The settings that a page shows, by key, always as they stand in the store, whoever changes them. Main thread;
// everything outlives it, the notices may be null.
class SettingsViewModel final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QVariantMap values READ values NOTIFY valuesChanged)
  Q_PROPERTY(QVariantList mediaControlChoices READ mediaControlChoices CONSTANT)
  Q_PROPERTY(QString recordingsFolder READ recordingsFolder NOTIFY valuesChanged)
 public:
  // `openFolder` shows a folder to the user; empty: nothing can.
  SettingsViewModel(SettingsManager& settings, std::function<void(const QString& path)> openFolder,
                    UserNotices* notices = nullptr);

  // Effective values of the keys below.
  QVariantMap values() const { return values_; }
  QVariantList mediaControlChoices() const;  // {value, text}
  QString recordingsFolder() const;
  Q_INVOKABLE void openRecordingsFolder();
  // Checked as on the command line; what is wrong with a value is told to the user, and the old one stays.
  Q_INVOKABLE bool set(const QString& key, const QVariant& value);

  static QStringList keys();

 Q_SIGNALS:
  void valuesChanged();

 private:
  void read();

  SettingsManager& settings_;
  std::function<void(const QString&)> openFolder_;
  UserNotices* notices_;
  QVariantMap values_;
  Subscription observation_;
};

}  // namespace quillmere
