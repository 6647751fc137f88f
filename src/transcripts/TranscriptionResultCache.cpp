#include "transcripts/TranscriptionResultCache.h"

namespace quillmere {

void TranscriptionResultCache::store(const QString& key, const QString& value) {
  const std::lock_guard lock(mutex_);
  if (cache_.size() >= maxCacheSize) cache_.erase(cache_.begin());
  cache_.insert(key, value);
}

int TranscriptionResultCache::count() const {
  const std::lock_guard lock(mutex_);
  return static_cast<int>(cache_.size());
}

bool TranscriptionResultCache::contains(const QString& key) const {
  const std::lock_guard lock(mutex_);
  return cache_.contains(key);
}

}  // namespace quillmere
