#pragma once
#include <QString>

namespace quillmere {

// One span of audio, in seconds.
struct TimeRange {
  float start = 0;
  float end = 0;

  float length() const { return end - start; }
  QString text() const {
    return QString::asprintf("%.2fs - %.2fs (%.2fs)", double(start), double(end), double(length()));
  }
  bool operator==(const TimeRange&) const = default;
};

}  // namespace quillmere
