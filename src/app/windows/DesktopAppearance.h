#pragma once
#include <QColor>
#include <QDBusVariant>
#include <QObject>
#include <optional>

namespace quillmere {

// How the user wants programs to look, as the desktop tells it: the settings portal where there is one, else the
// palette. Asks without waiting; changed() comes when an answer or a change does. Main thread, needs a QGuiApplication.
class DesktopAppearance final : public QObject {
  Q_OBJECT
 public:
  struct Values {
    bool isDark = false;
    bool isHighContrast = false;
    bool hasAnimations = true;
    double textScale = 1.0;  // 0.5 to 3
    std::optional<QColor> accent;
    bool operator==(const Values&) const = default;
  };

  // `usesPortal` false: the palette only (no message bus is touched).
  explicit DesktopAppearance(bool usesPortal, QObject* parent = nullptr);

  const Values& values() const { return values_; }
  // One answer of the portal, as it stands in ReadAll and in SettingChanged.
  void take(const QString& space, const QString& key, const QVariant& value);

 Q_SIGNALS:
  void changed();

 private Q_SLOTS:
  void onSettingChanged(const QString& space, const QString& key, const QDBusVariant& value);

 private:
  void readPalette();
  void readPortal();
  bool eventFilter(QObject* watched, QEvent* event) override;
  void set(const Values& values);

  Values values_;
  bool hasScheme_ = false;  // the portal has a preference
};

}  // namespace quillmere
