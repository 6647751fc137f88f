#include "app/windows/MainWindow.h"

#include <QGuiApplication>
#include <QScreen>

#include "app/windows/IconPainter.h"
#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

const QString placeKey = QStringLiteral("mainWindowPlace");
const QString pageKeySetting = QStringLiteral("mainWindowPage");

// Where a page has one, its section of the application state.
std::optional<NavigationItem> sectionOf(const QString& page) {
  if (page.isEmpty()) return std::nullopt;
  return fromRawValue<NavigationItem>(page.left(1).toUpper() + page.mid(1));
}

}  // namespace

MainWindow::MainWindow(DesktopQml& qml, AppState& appState, DefaultsStore& defaults)
    : qml_(qml), appState_(appState), defaults_(defaults) {
  qml_.provide(QStringLiteral("Navigation"), this);
}

MainWindow::~MainWindow() {
  if (isVisible()) savePlace();
  window_.reset();
  qml_.provide(QStringLiteral("Navigation"), nullptr);
}

void MainWindow::addPage(const DesktopPage& page) {
  pages_.push_back(page);
  // The page of last time, as soon as it is there.
  const QString last = defaults_.value(pageKeySetting).toString();
  if (page_.isEmpty() || page.key == last) {
    page_ = page.key;
    Q_EMIT pageChanged();
  }
  Q_EMIT pagesChanged();
}

QVariantList MainWindow::pages() const {
  QVariantList list;
  for (const DesktopPage& page : pages_)
    list << QVariantMap{{QStringLiteral("key"), page.key},
                        {QStringLiteral("title"), localizedText(page.titleKey)},
                        {QStringLiteral("icon"), page.icon},
                        {QStringLiteral("isAtBottom"), page.isAtBottom}};
  return list;
}

const DesktopPage* MainWindow::find(const QString& key) const {
  for (const DesktopPage& page : pages_)
    if (page.key == key) return &page;
  return nullptr;
}

QUrl MainWindow::pageUrl() const {
  const DesktopPage* const page = find(page_);
  return page ? DesktopQml::fileUrl(page->fileName) : QUrl();
}

void MainWindow::setPage(const QString& key) {
  if (key == page_ || !hasPage(key)) return;
  page_ = key;
  defaults_.setValue(pageKeySetting, key);
  if (const auto section = sectionOf(key)) appState_.selectNavigationItem(*section);
  Q_EMIT pageChanged();
}

QQuickWindow* MainWindow::window() {
  if (window_) return window_.get();
  window_ = qml_.createWindow(QStringLiteral("MainWindow"));
  if (!window_) return nullptr;
  const auto setIcon = [this] {
    window_->setIcon(IconPainter::quillIcon(qml_.theme().accent(), false, qml_.theme().ground()));
  };
  setIcon();
  connect(&qml_.theme(), &Theme::changed, window_.get(), setIcon);
  connect(window_.get(), &QWindow::visibleChanged, this, [this](bool isShown) {
    if (!isShown) savePlace();
  });
  restorePlace();
  return window_.get();
}

void MainWindow::show(const QString& pageKey) {
  setPage(pageKey);
  if (!window()) return;
  if (window_->windowStates() & Qt::WindowMinimized)
    window_->setWindowStates(window_->windowStates() & ~Qt::WindowMinimized);
  window_->show();
  window_->raise();
  window_->requestActivate();
  Q_EMIT shown();
}

void MainWindow::hide() {
  if (!window_) return;
  savePlace();
  window_->hide();
}

bool MainWindow::toggle() {
  if (isVisible() && isActive()) {
    hide();
    return false;
  }
  show();
  return true;
}

void MainWindow::savePlace() {
  if (!window_ || (window_->windowStates() & (Qt::WindowMaximized | Qt::WindowFullScreen | Qt::WindowMinimized)))
    return;
  const QRect place = window_->geometry();
  const QString text =
      QStringLiteral("%1 %2 %3 %4").arg(place.x()).arg(place.y()).arg(place.width()).arg(place.height());
  if (text != defaults_.value(placeKey).toString()) defaults_.setValue(placeKey, text);
}

void MainWindow::restorePlace() {
  const QStringList parts = defaults_.value(placeKey).toString().split(u' ', Qt::SkipEmptyParts);
  if (parts.size() != 4) return;
  std::array<int, 4> numbers{};
  for (int i = 0; i < 4; ++i) {
    bool isNumber = false;
    numbers[size_t(i)] = parts[i].toInt(&isNumber);
    if (!isNumber) return;
  }
  const QRect place(numbers[0], numbers[1], std::max(numbers[2], window_->minimumWidth()),
                    std::max(numbers[3], window_->minimumHeight()));
  // On a screen that is there: enough of it to be seen and taken.
  for (const QScreen* screen : QGuiApplication::screens()) {
    const QRect visible = screen->availableGeometry().intersected(place);
    if (visible.width() >= 200 && visible.height() >= 100 && screen->availableGeometry().top() <= place.top()) {
      window_->setGeometry(place);
      return;
    }
  }
  window_->resize(place.size());
}

}  // namespace quillmere
