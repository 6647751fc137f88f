#include "platform/x11/XcbConnection.h"

#include <QAbstractEventDispatcher>
#include <QThread>
#include <csignal>

namespace quillmere {
namespace {

// xcb writes with writev(), which raises SIGPIPE when the server is gone.
void ignoreBrokenPipes() {
  struct sigaction present {};
  if (sigaction(SIGPIPE, nullptr, &present) == 0 && !(present.sa_flags & SA_SIGINFO) && present.sa_handler == SIG_DFL)
    signal(SIGPIPE, SIG_IGN);
}

Failed<PlatformError> failed(int code, QString description) {
  return Failed{PlatformError{QStringLiteral("x11"), code, std::move(description)}};
}

}  // namespace

Result<std::unique_ptr<XcbConnection>, PlatformError> XcbConnection::open(const QString& displayName) {
  const QByteArray name = displayName.isEmpty() ? qgetenv("DISPLAY") : displayName.toUtf8();
  if (name.isEmpty()) return failed(0, QStringLiteral("There is no X display: the variable DISPLAY is not set."));
  ignoreBrokenPipes();
  int screenNumber = 0;
  xcb_connection_t* const connection = xcb_connect(name.constData(), &screenNumber);
  const int error = xcb_connection_has_error(connection);
  if (error != 0) {
    xcb_disconnect(connection);
    const QString display = QString::fromUtf8(name);
    if (error == XCB_CONN_CLOSED_PARSE_ERR)
      return failed(error, QStringLiteral("\"%1\" is not the name of an X display.").arg(display));
    if (error == XCB_CONN_CLOSED_INVALID_SCREEN)
      return failed(error, QStringLiteral("The X display \"%1\" has no such screen.").arg(display));
    return failed(error, QStringLiteral("The X display \"%1\" can't be reached.").arg(display));
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (int i = 0; i < screenNumber && screens.rem > 1; ++i) xcb_screen_next(&screens);
  return std::unique_ptr<XcbConnection>(new XcbConnection(connection, screens.data));
}

XcbConnection::XcbConnection(xcb_connection_t* connection, xcb_screen_t* screen)
    : connection_(connection),
      screen_(screen),
      atoms_(connection),
      notifier_(xcb_get_file_descriptor(connection), QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, &context_, [this] { read(); });
  if (auto* dispatcher = QAbstractEventDispatcher::instance(QThread::currentThread())) {
    QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &context_, [this] {
      flush();
      collectQueued();
      if (!pending_.empty()) dispatchSoon();
    });
  }
}

XcbConnection::~XcbConnection() {
  notifier_.setEnabled(false);
  xcb_disconnect(connection_);
}

std::optional<XcbConnection::Extension> XcbConnection::extension(xcb_extension_t& extension) const {
  const xcb_query_extension_reply_t* data = xcb_get_extension_data(connection_, &extension);
  if (!data || !data->present) return std::nullopt;
  return Extension{data->major_opcode, data->first_event, data->first_error};
}

Subscription XcbConnection::observeEvents(Observer observer) {
  const quint64 id = ++lastObserver_;
  observers_->emplace(id, std::make_shared<Observer>(std::move(observer)));
  return Subscription([observers = std::weak_ptr(observers_), id] {
    if (const auto all = observers.lock()) all->erase(id);
  });
}

void XcbConnection::flush() {
  if (isClosed_) return;
  xcb_flush(connection_);
  if (xcb_connection_has_error(connection_) != 0) noticeClosed();
}

void XcbConnection::dispatchNow() {
  flush();
  while (auto* event = isClosed_ ? nullptr : xcb_poll_for_event(connection_)) pending_.emplace_back(event);
  deliverPending();
}

XcbPointer<xcb_generic_error_t> XcbConnection::errorOf(xcb_void_cookie_t request) {
  return XcbPointer<xcb_generic_error_t>(xcb_request_check(connection_, request));
}

void XcbConnection::synchronize() {
  const auto cookie = xcb_get_input_focus(connection_);
  XcbPointer<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply(connection_, cookie, nullptr));
}

void XcbConnection::read() {
  if (isClosed_) return;
  while (auto* event = xcb_poll_for_event(connection_)) pending_.emplace_back(event);
  if (xcb_connection_has_error(connection_) != 0) noticeClosed();
  deliverPending();
}

void XcbConnection::collectQueued() {
  if (isClosed_) return;
  while (auto* event = xcb_poll_for_queued_event(connection_)) pending_.emplace_back(event);
}

void XcbConnection::dispatchSoon() {
  if (std::exchange(isDispatchPosted_, true)) return;
  QMetaObject::invokeMethod(
      &context_,
      [this] {
        isDispatchPosted_ = false;
        deliverPending();
      },
      Qt::QueuedConnection);
}

void XcbConnection::deliverPending() {
  while (!pending_.empty()) {
    const auto event = std::move(pending_.front());
    pending_.pop_front();
    if (event->response_type == 0) continue;
    // Observers may come and go meanwhile.
    const Observers present = *observers_;
    for (const auto& [id, observer] : present)
      if (observers_->contains(id)) (*observer)(*event);
  }
}

void XcbConnection::noticeClosed() {
  if (std::exchange(isClosed_, true)) return;
  notifier_.setEnabled(false);
  QMetaObject::invokeMethod(
      &context_,
      [this] {
        if (const auto onClosed = std::exchange(onClosed_, nullptr)) onClosed();
      },
      Qt::QueuedConnection);
}

}  // namespace quillmere
