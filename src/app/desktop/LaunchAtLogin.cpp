#include "app/desktop/LaunchAtLogin.h"

#include "storage/SettingsTable.h"

namespace quillmere {
namespace {

constexpr const char* settingKey = "launchAtLogin";

}  // namespace

LaunchAtLogin::LaunchAtLogin(DefaultsStore& defaults, Autostart autostart, const Logging& logging)
    : defaults_(defaults),
      autostart_(std::move(autostart)),
      logger_(logging.logger(QStringLiteral("LaunchAtLogin"))),
      observer_(defaults_.addObserver([this](const QString& key) {
        if (key == QLatin1String(settingKey)) apply();
      })) {
  apply();
}

LaunchAtLogin::~LaunchAtLogin() {
  defaults_.removeObserver(observer_);
}

void LaunchAtLogin::apply() {
  if (!autostart_.setEnabled(flagSetting(defaults_, QString::fromLatin1(settingKey))))
    logger_.warning("The autostart entry could not be changed: %s", autostart_.path());
}

}  // namespace quillmere
