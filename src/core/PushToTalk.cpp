#include "core/PushToTalk.h"

#include "core/AppState.h"
#include "core/DictationControl.h"
#include "core/ShortcutNames.h"
#include "ports/ErrorReporting.h"
#include "ports/GlobalShortcuts.h"
#include "storage/SettingsManager.h"
#include "triggers/BareModifierKeyMonitor.h"

namespace quillmere {
namespace {

const QString pushToTalkShortcut = QString::fromLatin1(shortcutNames::pushToTalk);

QString pedalText(const QString& deviceId) {
  return deviceId.isEmpty() ? QStringLiteral("any") : deviceId;
}

}  // namespace

PushToTalk::PushToTalk(Services services, const Logging& logging)
    : services_(std::move(services)), logger_(logging.logger(QStringLiteral("PushToTalk"))) {}

bool PushToTalk::isConcernedBy(const QString& settingKey) {
  return settingKey == QLatin1String("pushToTalkMode") || settingKey == QLatin1String("pushToTalkDoublePressEnabled") ||
         settingKey == QLatin1String("selectedPedalDeviceId");
}

std::optional<ModifierKey> PushToTalk::modifierOf(PushToTalkMode mode) {
  return fromRawValue<ModifierKey>(rawValue(mode));  // they go by the names of their keys
}

void PushToTalk::configure() {
  assertCurrent(services_.executor);
  if (services_.settings == nullptr) return;
  const PushToTalkMode mode = services_.settings->pushToTalkMode();
  logger_.info("Configuring Push to Talk for mode: %s", rawValue(mode));
  ++configuration_;
  services_.monitor.stop();
  if (pedal_.stop) pedal_.stop();
  if (services_.shortcuts != nullptr) services_.shortcuts->setHandlers(pushToTalkShortcut, {});
  services_.monitor.setDoublePressEnabled(services_.settings->pushToTalkDoublePressEnabled());

  if (const auto key = modifierOf(mode)) startBareModifier(mode, *key);
  if (mode == PushToTalkMode::disabled) logger_.info("📴 Push to Talk is disabled");
  if (mode == PushToTalkMode::custom) startCustomShortcut();
  if (mode == PushToTalkMode::usbPedal) startPedal();
}

void PushToTalk::startBareModifier(PushToTalkMode mode, ModifierKey key) {
  if (!services_.isTrustedForAccessibility || !services_.isTrustedForAccessibility()) {
    logger_.warning("🚫 Bare modifier mode selected but Accessibility permission not granted");
    reportMissingAccessibility();
    if (services_.watchForAccessibility) services_.watchForAccessibility();
    return;
  }
  hasLoggedMissingAccessibility_ = false;
  const QString name = rawValue(mode);
  services_.monitor.setOnModifierDown(later([this, name] { modifierDown(name); }));
  services_.monitor.setOnModifierUp(later([this, name] { modifierUp(name); }));
  services_.monitor.setOnInterferenceDetected(later([this] { interference(); }));
  later([this, name, key, configuration = configuration_] {
    if (configuration != configuration_) return;
    services_.monitor.start(key);
    if (!services_.monitor.isMonitoring()) return;  // the monitor has said why
    logger_.info("✅ Bare modifier monitor started for %s", name);
  })();
}

void PushToTalk::reportMissingAccessibility() {
  if (hasLoggedMissingAccessibility_) return;
  if (services_.errorReporting == nullptr || !services_.errorReporting->isEnabled()) return;
  hasLoggedMissingAccessibility_ = true;
  ReportOptions options;
  options.message = QStringLiteral("Push to Talk blocked: Accessibility permission missing");
  services_.errorReporting->captureError(
      PlatformError{QStringLiteral("com.quillmere.permissions"), 1001,
                    QStringLiteral("Accessibility permission not granted for Push to Talk")},
      options);
}

void PushToTalk::startCustomShortcut() {
  logger_.info("⌨️ Push to Talk set to custom shortcut mode");
  if (services_.shortcuts == nullptr) return;
  services_.shortcuts->setHandlers(pushToTalkShortcut,
                                   {later([this] { customPress(); }), later([this] { customRelease(); })});
}

void PushToTalk::startPedal() {
  logger_.info("⌨️ Push to Talk set to USB pedal mode");
  if (!pedal_.start) {
    logger_.warning("USB pedals can't be watched here");
    return;
  }
  const QString deviceId = services_.settings->selectedPedalDeviceId();
  const auto wanted = deviceId.isEmpty() ? std::optional<QString>() : deviceId;
  pedal_.start(wanted, later([this, deviceId] { pedalDown(deviceId); }),
               later([this, deviceId] { pedalUp(deviceId); }));
  logger_.info("✅ USB pedal monitor started for device: %{public}s", pedalText(deviceId));
}

void PushToTalk::modifierDown(const QString& mode) {
  if (isHeld()) {
    logger_.info("🚫 Bare modifier pressed but toggle shortcut is held - ignoring");
    return;
  }
  if (services_.dictation.isRecordingNow()) {
    logger_.info("🚫 Bare modifier pressed but already recording - resetting monitor");
    services_.monitor.resetToIdle();
    return;
  }
  leaveBreadcrumb(QStringLiteral("PTT onModifierDown callback - starting recording"),
                  {{QStringLiteral("mode"), mode}, {QStringLiteral("isRecording"), false}});
  logger_.info("⌨️ Bare modifier %s start signal received - starting recording", mode);
  services_.dictation.holdBegan();
}

void PushToTalk::modifierUp(const QString& mode) {
  leaveBreadcrumb(QStringLiteral("PTT onModifierUp callback - stopping recording"),
                  {{QStringLiteral("mode"), mode},
                   {QStringLiteral("recordingDuration"), services_.dictation.liveRecordingDuration()}});
  logger_.info("⌨️ Bare modifier %s stop signal received", mode);
  services_.dictation.holdEnded();
}

void PushToTalk::interference() {
  if (isHeld()) {
    logger_.info("🚫 Bare modifier interference ignored - toggle shortcut active");
    return;
  }
  logger_.info("⚠️ Other key pressed while modifier held - cancelling recording");
  services_.dictation.interference();
}

void PushToTalk::customPress() {
  if (isHeld()) {
    logger_.info("🚫 Push to Talk pressed while toggle shortcut held - ignoring");
    return;
  }
  if (services_.dictation.isRecordingNow()) {
    logger_.info("🚫 Push to Talk pressed but already recording - ignoring");
    return;
  }
  logger_.info("⌨️ Push to Talk (custom) pressed - starting recording");
  services_.dictation.holdBegan();
}

void PushToTalk::customRelease() {
  logger_.info("⌨️ Push to Talk (custom) released");
  services_.dictation.holdEnded();
}

void PushToTalk::pedalDown(const QString& deviceId) {
  if (isHeld() || services_.dictation.isRecordingNow()) return;
  leaveBreadcrumb(QStringLiteral("USB pedal onPedalDown callback - starting recording"),
                  {{QStringLiteral("mode"), rawValue(PushToTalkMode::usbPedal)},
                   {QStringLiteral("isRecording"), false},
                   {QStringLiteral("deviceId"), pedalText(deviceId)}});
  services_.dictation.holdBegan();
}

void PushToTalk::pedalUp(const QString& deviceId) {
  leaveBreadcrumb(QStringLiteral("USB pedal onPedalUp callback - stopping recording"),
                  {{QStringLiteral("mode"), rawValue(PushToTalkMode::usbPedal)},
                   {QStringLiteral("recordingDuration"), services_.dictation.liveRecordingDuration()},
                   {QStringLiteral("deviceId"), pedalText(deviceId)}});
  services_.dictation.holdEnded();
}

bool PushToTalk::isHeld() const {
  return services_.appState != nullptr && services_.appState->data().isToggleRecordingShortcutHeld;
}

void PushToTalk::leaveBreadcrumb(const QString& message, const QVariantMap& data) const {
  if (services_.errorReporting == nullptr || !services_.errorReporting->isEnabled()) return;
  services_.errorReporting->addBreadcrumb({message, QStringLiteral("ptt.callback"), ReportLevel::info, data});
}

std::function<void()> PushToTalk::later(std::function<void()> handler) {
  return lifetime_.later(services_.executor, std::move(handler));
}

}  // namespace quillmere
