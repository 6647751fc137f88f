#pragma once
#include <QString>
#include <cstddef>
#include <span>

namespace quillmere {

// How samples of decoded audio lie in memory and what they mean.
struct AudioStreamFormat {
  enum class SampleKind { unsigned8, signed16, signed32, signed64, float32, float64 };

  double sampleRate = 0;  // hertz
  int channelCount = 0;
  SampleKind kind = SampleKind::float32;
  bool isPlanar = false;    // one plane a channel; else one plane with the channels interleaved
  quint64 channelMask = 0;  // loudspeaker bits as in WAVE files; 0 when nobody knows what the channels are

  bool operator==(const AudioStreamFormat&) const = default;
};

inline int bytesPerSample(AudioStreamFormat::SampleKind kind) {
  switch (kind) {
    case AudioStreamFormat::SampleKind::unsigned8:
      return 1;
    case AudioStreamFormat::SampleKind::signed16:
      return 2;
    case AudioStreamFormat::SampleKind::signed32:
    case AudioStreamFormat::SampleKind::float32:
      return 4;
    case AudioStreamFormat::SampleKind::signed64:
    case AudioStreamFormat::SampleKind::float64:
      return 8;
  }
  return 0;
}

// "48000 Hz, 2 ch, 16-bit integer"
inline QString describe(const AudioStreamFormat& format) {
  const bool isFloat =
      format.kind == AudioStreamFormat::SampleKind::float32 || format.kind == AudioStreamFormat::SampleKind::float64;
  return QStringLiteral("%1 Hz, %2 ch, %3-bit %4")
      .arg(QString::number(format.sampleRate, 'f', 0), QString::number(format.channelCount),
           QString::number(8 * bytesPerSample(format.kind)),
           isFloat ? QStringLiteral("float") : QStringLiteral("integer"));
}

// A view of decoded audio: valid until the next call on the reader that gave it. No frames: the end.
struct AudioBlock {
  AudioStreamFormat format;
  std::span<const std::byte* const> planes;
  qint64 frameCount = 0;
};

}  // namespace quillmere
