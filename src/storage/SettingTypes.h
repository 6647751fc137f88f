#pragma once
#include <QString>

#include "domain/RawValue.h"

namespace quillmere {

enum class MediaControlMode { off, muteAudio, pauseMedia };
enum class SoundTheme { classic, modern };
enum class AutoDeleteTimeUnit { minutes, hours, days };
// The names of the single keys are those of ModifierKey.
enum class PushToTalkMode {
  disabled,
  leftControl,
  rightControl,
  leftAlt,
  rightAlt,
  leftShift,
  rightShift,
  leftSuper,
  rightSuper,
  capsLock,
  menu,
  pause,
  scrollLock,
  fn,
  control,  // either side
  custom,
  usbPedal
};

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
  static constexpr std::array values{
      std::pair{E::disabled, "disabled"},
      std::pair{E::leftControl, "leftControl"},
      std::pair{E::rightControl, "rightControl"},
      std::pair{E::leftAlt, "leftAlt"},
      std::pair{E::rightAlt, "rightAlt"},
      std::pair{E::leftShift, "leftShift"},
      std::pair{E::rightShift, "rightShift"},
      std::pair{E::leftSuper, "leftSuper"},
      std::pair{E::rightSuper, "rightSuper"},
      std::pair{E::capsLock, "capsLock"},
      std::pair{E::menu, "menu"},
      std::pair{E::pause, "pause"},
      std::pair{E::scrollLock, "scrollLock"},
      std::pair{E::fn, "fn"},
      std::pair{E::control, "control"},
      std::pair{E::custom, "custom"},
      std::pair{E::usbPedal, "usbPedal"},
  };
  static constexpr std::array formerValues{std::pair{E::leftAlt, "leftOption"}, std::pair{E::rightAlt, "rightOption"}};
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
