#pragma once
#include <QHash>
#include <QString>
#include <mutex>

namespace quillmere {

// A bounded record of transcribed texts by the hash of their audio. Any thread. Nothing answers from it.
class TranscriptionResultCache {
 public:
  static constexpr int maxCacheSize = 100;

  // A full table loses an entry first, whichever comes to hand, also where the key is already there.
  void store(const QString& key, const QString& value);
  int count() const;
  bool contains(const QString& key) const;

 private:
  mutable std::mutex mutex_;
  QHash<QString, QString> cache_;
};

}  // namespace quillmere
