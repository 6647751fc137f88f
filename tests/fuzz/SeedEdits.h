#pragma once
#include <QByteArray>
#include <QtEndian>
#include <algorithm>
#include <vector>

namespace quillmere {

// Changes to a real model file. Made of nothing, a file would not get past the first checks, and a whole one is too
// long to be changed at random. Every name of a tensor is a place where changes begin, as is the start of the file.
class SeedEdits {
 public:
  // Bytes of the input for one change.
  static constexpr std::size_t editBytes = 8;

  explicit SeedEdits(QByteArray seed) : seed_(std::move(seed)), places_{0} {
    for (qsizetype at = seed_.indexOf("coder"); at >= 0; at = seed_.indexOf("coder", at + 1)) places_.push_back(at);
  }

  // Two bytes choose a place, one says how far from it the change begins, one how many of the last four are written
  // there. One that writes none cuts the file.
  QByteArray apply(const unsigned char* data, std::size_t size) const {
    QByteArray changed = seed_;
    for (; size >= editBytes; data += editBytes, size -= editBytes) {
      const qsizetype place = places_[qFromLittleEndian<quint16>(data) % places_.size()];
      const qsizetype at = std::clamp<qsizetype>(place + static_cast<signed char>(data[2]), 0, changed.size());
      const qsizetype count = data[3] % 5;
      if (count == 0)
        changed.truncate(at);
      else
        changed.replace(at, std::min(count, changed.size() - at),
                        QByteArray(reinterpret_cast<const char*>(data) + 4, count));
    }
    return changed;
  }

 private:
  QByteArray seed_;
  std::vector<qsizetype> places_;
};

}  // namespace quillmere
