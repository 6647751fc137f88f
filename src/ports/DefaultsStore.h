#pragma once
#include <QString>
#include <QVariant>
#include <functional>

namespace quillmere {

// The user's preferences as flat keys and values. value() and setValue() may be called from any thread; observers run
// on the main thread.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;
  // The stored value, or an invalid QVariant for an unset key. Registered defaults are not looked at.
  virtual QVariant value(const QString& key) const = 0;
  // Writes at once; false when the value could not be written to the disk (it stays readable in this process).
  virtual bool setValue(const QString& key, const QVariant& value) = 0;
  virtual bool remove(const QString& key) = 0;
  virtual QStringList keys() const = 0;
  // Called with the key for each change, whether by this process or by another one; returns a token for removeObserver.
  virtual int addObserver(std::function<void(const QString& key)> observer) = 0;
  virtual void removeObserver(int token) = 0;
};

}  // namespace quillmere
