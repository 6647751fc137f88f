#pragma once
#include <QAccessible>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickItem>

#include "desktop/DesktopFixture.h"

// A window as it is worked without a mouse, and as a screen reader finds it.
namespace quillmere {

inline void collect(QQuickItem* item, QList<QQuickItem*>& items) {
  if (!item->isVisible()) return;
  items << item;
  for (QQuickItem* child : item->childItems()) collect(child, items);
}

inline QList<QQuickItem*> itemsOf(QQuickWindow* window) {
  QList<QQuickItem*> items;
  collect(window->contentItem(), items);
  return items;
}

inline QString accessibleName(QQuickItem* item) {
  QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(item);
  return interface ? interface->text(QAccessible::Name) : QString();
}

// The first item that is said to a screen reader with this beginning.
inline QQuickItem* itemNamed(QQuickWindow* window, const QString& start) {
  for (QQuickItem* item : itemsOf(window))
    if (accessibleName(item).startsWith(start)) return item;
  return nullptr;
}

// A key in the main window, and what comes of it.
inline void press(DesktopFixture& f, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
                  const QString& text = {}) {
  for (const auto type : {QEvent::ShortcutOverride, QEvent::KeyPress, QEvent::KeyRelease}) {
    QKeyEvent event(type, key, modifiers, text);
    QCoreApplication::sendEvent(f.interface->mainWindow().window(), &event);
  }
  f.settle();
}

inline void type(DesktopFixture& f, const QString& text) {
  for (const QChar c : text) press(f, Qt::Key_unknown, Qt::NoModifier, QString(c));
}

// The main window with the keyboard; null where it can't be had.
inline QQuickWindow* activeWindow(DesktopFixture& f, const QString& page = {}) {
  f.interface->showWindow(page);
  QQuickWindow* const window = f.interface->mainWindow().window();
  if (!window) return nullptr;
  window->requestActivate();
  const bool isActive = f.settleUntil([&] { return window->isActive(); });
  f.settle();
  return isActive ? window : nullptr;
}

// The control that has the keyboard, as a screen reader says it; empty while nothing has it that can be seen.
inline QString focused(DesktopFixture& f) {
  const QQuickItem* const item = f.interface->mainWindow().window()->activeFocusItem();
  return item && item->isVisible() && item->isEnabled() ? accessibleName(const_cast<QQuickItem*>(item)) : QString();
}

// Goes on with Tab until the control of that name has the keyboard.
inline bool tabTo(DesktopFixture& f, const QString& name) {
  for (int i = 0; i < 60; ++i, press(f, Qt::Key_Tab))
    if (focused(f) == name) return true;
  return false;
}

}  // namespace quillmere
