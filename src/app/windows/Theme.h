#pragma once
#include <QObject>

#include "app/windows/DesktopAppearance.h"
#include "app/windows/ThemeColors.h"

namespace quillmere {

// Colours, type and measures of the interface for QML, under the name Theme. Changes with the desktop's appearance.
class Theme final : public QObject {
  Q_OBJECT
  Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
  Q_PROPERTY(QColor ground READ ground NOTIFY changed)
  Q_PROPERTY(QColor surface READ surface NOTIFY changed)
  Q_PROPERTY(QColor sunken READ sunken NOTIFY changed)
  Q_PROPERTY(QColor line READ line NOTIFY changed)
  Q_PROPERTY(QColor text READ text NOTIFY changed)
  Q_PROPERTY(QColor dim READ dim NOTIFY changed)
  Q_PROPERTY(QColor accent READ accent NOTIFY changed)
  Q_PROPERTY(QColor softAccent READ softAccent NOTIFY changed)
  Q_PROPERTY(QColor onAccent READ onAccent NOTIFY changed)
  Q_PROPERTY(QColor recording READ recording NOTIFY changed)
  Q_PROPERTY(QColor warning READ warning NOTIFY changed)
  Q_PROPERTY(QColor success READ success NOTIFY changed)
  // The pill and the toasts, dark in both schemes.
  Q_PROPERTY(QColor overlayGround READ overlayGround CONSTANT)
  Q_PROPERTY(QColor overlayLine READ overlayLine CONSTANT)
  Q_PROPERTY(QColor overlayText READ overlayText CONSTANT)
  Q_PROPERTY(QColor overlayDim READ overlayDim CONSTANT)
  Q_PROPERTY(QColor overlayAccent READ overlayAccent CONSTANT)
  Q_PROPERTY(QColor overlayRecording READ overlayRecording CONSTANT)
  Q_PROPERTY(QColor overlayWarning READ overlayWarning CONSTANT)
  Q_PROPERTY(QColor overlaySuccess READ overlaySuccess CONSTANT)
  // Type: pixels, larger where the desktop asks for larger text.
  Q_PROPERTY(int small READ small NOTIFY changed)
  Q_PROPERTY(int body READ body NOTIFY changed)
  Q_PROPERTY(int strong READ strong NOTIFY changed)
  Q_PROPERTY(int title READ title NOTIFY changed)
  Q_PROPERTY(int display READ display NOTIFY changed)
  // On the pill, whose height is fixed, and on toasts, which grow.
  Q_PROPERTY(int pillText READ pillText NOTIFY changed)
  Q_PROPERTY(int toastText READ toastText NOTIFY changed)
  Q_PROPERTY(QString monoFamily READ monoFamily CONSTANT)
  // Motion in milliseconds; 0 where the desktop asks for none.
  Q_PROPERTY(int answer READ answer NOTIFY changed)
  Q_PROPERTY(int move READ move NOTIFY changed)
  Q_PROPERTY(bool hasAnimations READ hasAnimations NOTIFY changed)
  // Corners.
  Q_PROPERTY(int controlRadius READ controlRadius CONSTANT)
  Q_PROPERTY(int cardRadius READ cardRadius CONSTANT)
  Q_PROPERTY(int pillRadius READ pillRadius CONSTANT)
 public:
  explicit Theme(DesktopAppearance& appearance, QObject* parent = nullptr);

  const ThemeColors& colors() const { return colors_; }
  bool isDark() const { return appearance_.values().isDark; }
  QColor ground() const { return colors_.ground; }
  QColor surface() const { return colors_.surface; }
  QColor sunken() const { return colors_.sunken; }
  QColor line() const { return colors_.line; }
  QColor text() const { return colors_.text; }
  QColor dim() const { return colors_.dim; }
  QColor accent() const { return colors_.accent; }
  QColor softAccent() const { return colors_.softAccent; }
  QColor onAccent() const { return colors_.onAccent; }
  QColor recording() const { return colors_.recording; }
  QColor warning() const { return colors_.warning; }
  QColor success() const { return colors_.success; }
  QColor overlayGround() const { return overlay_.ground; }
  QColor overlayLine() const { return overlay_.line; }
  QColor overlayText() const { return overlay_.text; }
  QColor overlayDim() const { return overlay_.dim; }
  QColor overlayAccent() const { return overlay_.accent; }
  QColor overlayRecording() const { return overlay_.recording; }
  QColor overlayWarning() const { return overlay_.warning; }
  QColor overlaySuccess() const { return overlay_.success; }
  int small() const { return scaled(11); }
  int body() const { return scaled(13); }
  int strong() const { return scaled(15); }
  int title() const { return scaled(20); }
  int display() const { return scaled(28); }
  int pillText() const { return qMin(toastText(), 15); }
  int toastText() const { return scaled(12); }
  QString monoFamily() const { return QStringLiteral("monospace"); }
  int answer() const { return hasAnimations() ? 120 : 0; }
  int move() const { return hasAnimations() ? 200 : 0; }
  bool hasAnimations() const { return appearance_.values().hasAnimations; }
  int controlRadius() const { return 6; }
  int cardRadius() const { return 10; }
  int pillRadius() const { return 20; }

 Q_SIGNALS:
  void changed();

 private:
  int scaled(int pixels) const { return qRound(pixels * appearance_.values().textScale); }
  void update();

  DesktopAppearance& appearance_;
  ThemeColors colors_;
  const ThemeColors overlay_ = ThemeColors::overlay();
};

}  // namespace quillmere
