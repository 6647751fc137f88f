#pragma once
#include <QObject>
#include <QQuickWindow>
#include <QVariantList>
#include <memory>

#include "app/windows/DesktopQml.h"
#include "core/AppState.h"
#include "ports/DefaultsStore.h"

namespace quillmere {

// A page of the main window.
struct DesktopPage {
  QString key;       // "history"
  QString titleKey;  // of the text tables
  QString icon;      // of IconPainter
  QString fileName;  // of the QML file, without ".qml"
  bool isAtBottom = false;
};

// The main window: made when it is first shown, remembers its place and page. Known to QML as Navigation. Main thread;
// everything outlives it.
class MainWindow final : public QObject {
  Q_OBJECT
  Q_PROPERTY(QVariantList pages READ pages NOTIFY pagesChanged)
  Q_PROPERTY(QString page READ page WRITE setPage NOTIFY pageChanged)
  Q_PROPERTY(QUrl pageUrl READ pageUrl NOTIFY pageChanged)
 public:
  MainWindow(DesktopQml& qml, AppState& appState, DefaultsStore& defaults);
  ~MainWindow() override;

  // Pages in the order in which they are added; those at the bottom stand apart. The first one opens at first.
  void addPage(const DesktopPage& page);

  QVariantList pages() const;
  QString page() const { return page_; }
  QUrl pageUrl() const;
  void setPage(const QString& key);
  bool hasPage(const QString& key) const { return find(key) != nullptr; }

  // Brings the window to the front, with the keyboard: the user has asked for it. An unknown page is ignored.
  void show(const QString& pageKey = {});
  Q_INVOKABLE void hide();
  bool isVisible() const { return window_ && window_->isVisible(); }
  bool isActive() const { return window_ && window_->isActive(); }
  // Hides a window that has the keyboard, shows it otherwise; whether it is shown then.
  bool toggle();
  QQuickWindow* window();

 Q_SIGNALS:
  void pagesChanged();
  void pageChanged();
  void shown();

 private:
  const DesktopPage* find(const QString& key) const;
  void savePlace();
  void restorePlace();

  DesktopQml& qml_;
  AppState& appState_;
  DefaultsStore& defaults_;
  std::vector<DesktopPage> pages_;
  QString page_;
  std::unique_ptr<QQuickWindow> window_;
};

}  // namespace quillmere
