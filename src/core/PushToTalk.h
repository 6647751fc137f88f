#pragma once
#include <QString>
#include <functional>
#include <optional>

#include "base/async/Executor.h"
#include "base/async/Lifetime.h"
#include "base/log/Logger.h"
#include "domain/ModifierKey.h"
#include "storage/SettingTypes.h"

namespace quillmere {

class AppState;
class BareModifierKeyMonitor;
class DictationControl;
class ErrorReporting;
class GlobalShortcuts;
class SettingsManager;

// A foot pedal as push-to-talk drives it.
struct PedalMonitoring {
  // Without an identifier any pedal counts.
  std::function<void(std::optional<QString> deviceId, std::function<void()> onDown, std::function<void()> onUp)> start;
  std::function<void()> stop;
};

// Ties the key that is held to talk to the dictation: one mode at a time, by the settings. A release
// ends what its press began, however soon it comes. Signals are handled in a later turn of the executor. Main thread.
class PushToTalk {
 public:
  // All outlive this object; the pointers may be null.
  struct Services {
    Executor& executor;
    DictationControl& dictation;
    BareModifierKeyMonitor& monitor;
    GlobalShortcuts* shortcuts = nullptr;
    SettingsManager* settings = nullptr;
    AppState* appState = nullptr;
    ErrorReporting* errorReporting = nullptr;
    std::function<bool()> isTrustedForAccessibility = {};
    std::function<void()> watchForAccessibility = {};  // whoever hears of the permission calls configure()
  };
  PushToTalk(Services services, const Logging& logging);

  // Stops whatever runs and sets up the mode of the settings. Without settings nothing happens.
  void configure();
  void setPedalMonitoring(PedalMonitoring pedal) { pedal_ = std::move(pedal); }
  // Whether a change of this setting asks for configure().
  static bool isConcernedBy(const QString& settingKey);
  // The bare modifier key that the mode watches; such a mode needs the accessibility bus.
  static std::optional<ModifierKey> modifierOf(PushToTalkMode mode);

 private:
  void startBareModifier(PushToTalkMode mode, ModifierKey key);
  void startCustomShortcut();
  void startPedal();
  void reportMissingAccessibility();

  void modifierDown(const QString& mode);
  void modifierUp(const QString& mode);
  void interference();
  void customPress();
  void customRelease();
  void pedalDown(const QString& deviceId);
  void pedalUp(const QString& deviceId);

  bool isHeld() const;
  void leaveBreadcrumb(const QString& message, const QVariantMap& data) const;
  std::function<void()> later(std::function<void()> handler);

  Services services_;
  Logger logger_;
  PedalMonitoring pedal_;
  bool hasLoggedMissingAccessibility_ = false;
  int configuration_ = 0;  // grows with every configure(); what was begun before no longer counts
  Lifetime lifetime_;
};

}  // namespace quillmere
