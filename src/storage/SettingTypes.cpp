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
    case PushToTalkMode::leftControl:
      return "Left Ctrl";
    case PushToTalkMode::rightControl:
      return "Right Ctrl";
    case PushToTalkMode::leftAlt:
      return "Left Alt";
    case PushToTalkMode::rightAlt:
      return "Right Alt";
    case PushToTalkMode::leftShift:
      return "Left Shift";
    case PushToTalkMode::rightShift:
      return "Right Shift";
    case PushToTalkMode::leftSuper:
      return "Left Super";
    case PushToTalkMode::rightSuper:
      return "Right Super";
    case PushToTalkMode::capsLock:
      return "Caps Lock";
    case PushToTalkMode::menu:
      return "Menu";
    case PushToTalkMode::pause:
      return "Pause";
    case PushToTalkMode::scrollLock:
      return "Scroll Lock";
    case PushToTalkMode::fn:
      return "Fn";
    case PushToTalkMode::control:
      return "Ctrl";
    case PushToTalkMode::custom:
      return "Custom Shortcut";
    case PushToTalkMode::usbPedal:
      return "USB Pedal";
  }
  return {};
}

}  // namespace quillmere
