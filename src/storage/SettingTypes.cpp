#include "storage/SettingTypes.h"

namespace quillmere {

QString labelKey(MediaControlMode mode) {
  switch (mode) {
    case MediaControlMode::off:
      return "settings.general.mediaControl.mode.off";
    case MediaControlMode::muteAudio:
      return "settings.general.mediaControl.mode.mute";
    case MediaControlMode::pauseMedia:
      return "settings.general.mediaControl.mode.pause";
  }
  return {};
}

QString labelKey(AutoDeleteTimeUnit unit) {
  return "history.autoDelete.unit." + rawValue(unit);
}
QString labelKey(PushToTalkMode mode) {
  return "settings.shortcuts.pushToTalk.mode." + rawValue(mode);
}

QString fallbackLabel(MediaControlMode mode) {
  switch (mode) {
    case MediaControlMode::off:
      return "Off";
    case MediaControlMode::muteAudio:
      return "Mute Audio";
    case MediaControlMode::pauseMedia:
      return "Pause Media";
  }
  return {};
}

QString fallbackLabel(AutoDeleteTimeUnit unit) {
  switch (unit) {
    case AutoDeleteTimeUnit::minutes:
      return "Minutes";
    case AutoDeleteTimeUnit::hours:
      return "Hours";
    case AutoDeleteTimeUnit::days:
      return "Days";
  }
  return {};
}

QString fallbackLabel(PushToTalkMode mode) {
  switch (mode) {
    case PushToTalkMode::disabled:
      return "Disabled";
    case PushToTalkMode::fn:
      return "FN Key";
    case PushToTalkMode::control:
      return "Control Key";
    case PushToTalkMode::leftOption:
      return "Left Option Key";
    case PushToTalkMode::rightOption:
      return "Right Option Key";
    case PushToTalkMode::custom:
      return "Custom Shortcut";
    case PushToTalkMode::usbPedal:
      return "USB Pedal";
  }
  return {};
}

}  // namespace quillmere
