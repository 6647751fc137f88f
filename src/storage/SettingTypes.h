#pragma once
#include <QString>

#include "domain/RawValue.h"

namespace quillmere {

enum class MediaControlMode { off, muteAudio, pauseMedia };
enum class SoundTheme { classic, modern };
enum class AutoDeleteTimeUnit { minutes, hours, days };
enum class PushToTalkMode { disabled, fn, control, leftOption, rightOption, custom, usbPedal };

template <>
struct RawValues<MediaControlMode> {
  using E = MediaControlMode;
  static constexpr std::array values{std::pair{E::off, "off"}, std::pair{E::muteAudio, "muteAudio"},
                                     std::pair{E::pauseMedia, "pauseMedia"}};
};
template <>
struct RawValues<SoundTheme> {
  static constexpr std::array values{std::pair{SoundTheme::classic, "Classic"}, std::pair{SoundTheme::modern, "New"}};
};
template <>
struct RawValues<AutoDeleteTimeUnit> {
  using E = AutoDeleteTimeUnit;
  static constexpr std::array values{std::pair{E::minutes, "minutes"}, std::pair{E::hours, "hours"},
                                     std::pair{E::days, "days"}};
};
template <>
struct RawValues<PushToTalkMode> {
  using E = PushToTalkMode;
  static constexpr std::array values{std::pair{E::disabled, "disabled"},       std::pair{E::fn, "fn"},
                                     std::pair{E::control, "control"},         std::pair{E::leftOption, "leftOption"},
                                     std::pair{E::rightOption, "rightOption"}, std::pair{E::custom, "custom"},
                                     std::pair{E::usbPedal, "usbPedal"}};
};

// Keys of the texts that the interface shows ("" for a sound theme, whose raw value is its label).
QString labelKey(MediaControlMode mode);
QString labelKey(AutoDeleteTimeUnit unit);
QString labelKey(PushToTalkMode mode);
// The label where the text table has none.
QString fallbackLabel(MediaControlMode mode);
QString fallbackLabel(AutoDeleteTimeUnit unit);
QString fallbackLabel(PushToTalkMode mode);

}  // namespace quillmere
