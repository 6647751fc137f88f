#pragma once
#include <QHashFunctions>
#include <QString>

namespace quillmere {

// A microphone as the settings remember it. `id` is the same text as `uid`; numbers of the sound server are never kept,
// because they change with every attachment.
struct AudioDevice {
  QString id;
  QString name;
  QString uid;
  bool operator==(const AudioDevice&) const = default;
};

inline size_t qHash(const AudioDevice& device, size_t seed = 0) {
  return qHashMulti(seed, device.id, device.name, device.uid);
}

}  // namespace quillmere
