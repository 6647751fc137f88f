#include "app/windows/TrayIcon.h"

#include <QActionGroup>

#include "app/windows/IconPainter.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

// '&' marks a key in a menu; names of modes mean what they say.
QString menuText(QString text) {
  return text.replace(u'&', QStringLiteral("&&"));
}

}  // namespace

TrayIcon::TrayIcon(AppStateViewModel& app, Theme& theme, Intents intents)
    : app_(app), theme_(theme), intents_(std::move(intents)) {
  recordAction_ = menu_.addAction(QString(), this, [this] { app_.toggleRecording(); });
  cancelAction_ = menu_.addAction(localizedText("tray.cancel"), this, [this] { app_.cancelRecording(); });
  modeMenu_ = menu_.addMenu(QString());
  copyAction_ = menu_.addAction(localizedText("tray.copyLast"), this, [this] { app_.copyLastText(); });
  retryAction_ = menu_.addAction(localizedText("tray.retryLast"), this, [this] { app_.retryLast(); });
  if (intents_.transcribeFiles)
    menu_.addAction(localizedText("history.transcribeFile"), this, [this] { intents_.transcribeFiles(); });
  menu_.addSeparator();
  menu_.addAction(localizedText("tray.open"), this, [this] {
    if (intents_.openWindow) intents_.openWindow();
  });
  menu_.addAction(localizedText("tray.quit"), this, [this] {
    if (intents_.quit) intents_.quit();
  });
  icon_.setContextMenu(&menu_);
  connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
    if (reason == QSystemTrayIcon::MiddleClick)
      app_.toggleRecording();
    else if (reason != QSystemTrayIcon::Context && intents_.openWindow)
      intents_.openWindow();
  });
  connect(&app_, &AppStateViewModel::stateChanged, this, &TrayIcon::refresh);
  connect(&app_, &AppStateViewModel::lastChanged, this, &TrayIcon::refresh);
  connect(&app_, &AppStateViewModel::modesChanged, this, &TrayIcon::readModes);
  connect(&theme_, &Theme::changed, this, &TrayIcon::refresh);
  readModes();
  refresh();
}

TrayIcon::~TrayIcon() = default;

QIcon TrayIcon::icon(AppStateViewModel::TrayState state, const ThemeColors& colors) {
  // Panels may be light or dark whatever the windows are: a rim of the other lightness keeps the icon visible.
  QColor halo = colors.ground;
  halo.setAlphaF(0.55F);
  switch (state) {
    case AppStateViewModel::TrayState::recording:
      return IconPainter::quillIcon(colors.recording, false, halo);
    case AppStateViewModel::TrayState::working:
      return IconPainter::quillIcon(colors.accent, false, halo);
    case AppStateViewModel::TrayState::unable:
      return IconPainter::quillIcon(colors.dim, true, halo);
    case AppStateViewModel::TrayState::ready:
      break;
  }
  return IconPainter::quillIcon(colors.text, false, halo);
}

void TrayIcon::refresh() {
  const auto state = app_.trayState();
  const auto look = std::tuple(state, theme_.colors().text.rgb(), theme_.colors().accent.rgb());
  if (look != look_) {
    look_ = look;
    icon_.setIcon(icon(state, theme_.colors()));
  }
  const QString toolTip = localizedText("tray.tooltip", app_.statusText());
  if (toolTip != icon_.toolTip()) icon_.setToolTip(toolTip);
  const bool isRecording = state == AppStateViewModel::TrayState::recording;
  recordAction_->setText(localizedText(isRecording ? "tray.stop" : "tray.record"));
  cancelAction_->setVisible(isRecording || state == AppStateViewModel::TrayState::working);
  copyAction_->setEnabled(app_.hasLastText());
  retryAction_->setVisible(app_.canRetryLast());
  modeMenu_->setTitle(menuText(localizedText("tray.mode", app_.modeName())));
}

void TrayIcon::readModes() {
  modeMenu_->clear();
  qDeleteAll(modeMenu_->findChildren<QActionGroup*>());
  auto* const group = new QActionGroup(modeMenu_);
  for (const QVariant& entry : app_.modes()) {
    const QVariantMap mode = entry.toMap();
    QAction* const action = modeMenu_->addAction(menuText(mode.value(QStringLiteral("name")).toString()));
    action->setCheckable(true);
    action->setChecked(mode.value(QStringLiteral("isSelected")).toBool());
    action->setActionGroup(group);
    connect(action, &QAction::triggered, this,
            [this, id = mode.value(QStringLiteral("id")).toString()] { app_.selectMode(id); });
  }
  modeMenu_->menuAction()->setVisible(!modeMenu_->isEmpty());
}

}  // namespace quillmere
