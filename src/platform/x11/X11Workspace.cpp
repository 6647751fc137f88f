#include "platform/x11/X11Workspace.h"

#include <signal.h>
#include <xcb/res.h>

#include <QList>
#include <algorithm>
#include <cstring>

namespace quillmere {
namespace {

constexpr uint32_t longestProperty = 16 * 1024;  // in units of four bytes
constexpr uint32_t sourceIsPager = 2;            // a program that the user commands: no focus-stealing prevention
constexpr uint32_t onAllDesktops = 0xffffffff;

std::vector<uint32_t> numbers(const QByteArray& bytes) {
  std::vector<uint32_t> all(size_t(bytes.size()) / sizeof(uint32_t));
  if (!all.empty()) std::memcpy(all.data(), bytes.constData(), all.size() * sizeof(uint32_t));
  return all;
}

// Keys that change a text or the place in it.
bool isTyping(xkb_keysym_t symbol) {
  if (symbol >= XKB_KEY_Home && symbol <= XKB_KEY_End) return true;           // and the arrows
  if (symbol >= XKB_KEY_KP_Home && symbol <= XKB_KEY_KP_Delete) return true;  // the same without Num Lock
  if (symbol >= XKB_KEY_dead_grave && symbol <= XKB_KEY_dead_longsolidusoverlay) return true;
  switch (symbol) {
    case XKB_KEY_BackSpace:
    case XKB_KEY_Delete:
    case XKB_KEY_KP_Enter:
    case XKB_KEY_Multi_key:
    case XKB_KEY_Return:
    case XKB_KEY_Tab:
      return true;
    default:
      break;
  }
  const uint32_t character = xkb_keysym_to_utf32(symbol);
  return character >= 0x20 && character != 0x1b && character != 0x7f;
}

}  // namespace

Result<std::unique_ptr<X11Workspace>, PlatformError> X11Workspace::open(Identify identify, qint64 thisProcessId,
                                                                        std::function<void()> hideOwnWindows,
                                                                        const QString& displayName) {
  TRY(auto connection, XcbConnection::open(displayName));
  return std::unique_ptr<X11Workspace>(
      new X11Workspace(std::move(connection), std::move(identify), thisProcessId, std::move(hideOwnWindows)));
}

X11Workspace::X11Workspace(std::unique_ptr<XcbConnection> connection, Identify identify, qint64 thisProcessId,
                           std::function<void()> hideOwnWindows)
    : connection_(std::move(connection)),
      identify_(std::move(identify)),
      thisProcessId_(thisProcessId),
      hideOwnWindows_(std::move(hideOwnWindows)) {
  xcb_connection_t* const raw = connection_->raw();
  const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  ownWindow_ = xcb_generate_id(raw);
  xcb_create_window(raw, 0, ownWindow_, connection_->root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                    connection_->screen().root_visual, XCB_CW_EVENT_MASK, &mask);
  xcb_change_window_attributes(raw, connection_->root(), XCB_CW_EVENT_MASK, &mask);
  if (connection_->extension(xcb_res_id)) {
    const XcbPointer<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(raw, xcb_res_query_version(raw, 1, 2), nullptr));
    knowsClients_ = version && (version->server_major > 1 || version->server_minor >= 2);
  }
  // In a sandbox the numbers that the server sees are others.
  if (const qint64 own = knowsClients_ ? processIdOf(ownWindow_) : 0) thisProcessId_ = own;
  events_ = connection_->observeEvents([this](const xcb_generic_event_t& event) { handle(event); });
  knownWindows_ = clientWindows();
  for (const xcb_window_t window : knownWindows_)
    if (isApplicationWindow(window)) knownProcesses_.insert(processIdOf(window));
  rememberActiveWindow();
}

X11Workspace::~X11Workspace() = default;

std::optional<RunningApplication> X11Workspace::frontmostApplication() const {
  const xcb_window_t window = activeWindow();
  if (window == XCB_NONE) return std::nullopt;
  return applicationOf(window);
}

std::optional<RunningApplication> X11Workspace::find(const RunningApplication& application) const {
  const xcb_window_t window = windowOf(application);
  if (window == XCB_NONE) return std::nullopt;
  return applicationOf(window);
}

bool X11Workspace::activate(const RunningApplication& application) {
  const xcb_window_t window = windowOf(application);
  if (window == XCB_NONE) return false;
  const xcb_timestamp_t time = serverTime();
  showDesktopOf(window, time);
  askWindowManager(window, "_NET_ACTIVE_WINDOW", {sourceIsPager, time, activeWindow()});
  if (!hasWindowManager()) {
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_->raw(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_set_input_focus(connection_->raw(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
  }
  connection_->flush();
  return connection_->isOpen();
}

// Some window managers would bring the window to this desktop instead.
void X11Workspace::showDesktopOf(xcb_window_t window, xcb_timestamp_t time) {
  const auto own = numbers(property(window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL));
  const auto current = numbers(property(connection_->root(), "_NET_CURRENT_DESKTOP", XCB_ATOM_CARDINAL));
  if (own.empty() || current.empty() || own.front() == onAllDesktops || own.front() == current.front()) return;
  askWindowManager(connection_->root(), "_NET_CURRENT_DESKTOP", {own.front(), time});
}

void X11Workspace::askWindowManager(xcb_window_t window, const char* message, const std::vector<uint32_t>& values) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = connection_->atom(message);
  std::copy(values.begin(), values.end(), event.data.data32);
  xcb_send_event(connection_->raw(), 0, connection_->root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&event));
}

void X11Workspace::hideThisApplication() {
  if (hideOwnWindows_) hideOwnWindows_();
}

template <typename F>
Subscription X11Workspace::add(const Observers<F>& observers, F observer) {
  const quint64 id = ++lastObserver_;
  observers->emplace(id, std::make_shared<F>(std::move(observer)));
  return Subscription([all = std::weak_ptr(observers), id] {
    if (const auto present = all.lock()) present->erase(id);
  });
}

// An observer may end any subscription.
template <typename F, typename... Arguments>
void X11Workspace::tell(const Observers<F>& observers, const Arguments&... arguments) {
  const auto all = *observers;
  for (const auto& [id, observer] : all)
    if (observers->contains(id)) (*observer)(arguments...);
}

Subscription X11Workspace::observeFrontmost(std::function<void()> observer) {
  return add(frontmostObservers_, std::move(observer));
}

Subscription X11Workspace::observeLaunches(std::function<void(const RunningApplication&)> observer) {
  return add(launchObservers_, std::move(observer));
}

Subscription X11Workspace::observeTyping(std::function<void(const RunningApplication&)> observer) {
  if (typingObservers_->empty() && !watchKeys()) return {};
  const quint64 id = ++lastObserver_;
  typingObservers_->emplace(id, std::make_shared<ApplicationObserver>(std::move(observer)));
  return Subscription([this, all = std::weak_ptr(typingObservers_), id] {
    const auto present = all.lock();
    if (!present) return;
    present->erase(id);
    if (present->empty() && connection_->isOpen()) rawKeys_->select(false);
  });
}

bool X11Workspace::watchKeys() {
  if (!rawKeys_) rawKeys_ = RawKeyEvents::on(*connection_);
  if (!keyboard_) {
    auto keyboard = XkbKeyboard::open(*connection_);
    if (keyboard) keyboard_ = std::move(keyboard).value();
  }
  return rawKeys_ && keyboard_ && rawKeys_->select(true);
}

void X11Workspace::keyPressed(xcb_keycode_t code) {
  if (!isTyping(keyboard_->plainSymbol(code))) return;
  xcb_connection_t* const raw = connection_->raw();
  const XcbPointer<xcb_query_pointer_reply_t> state(
      xcb_query_pointer_reply(raw, xcb_query_pointer(raw, connection_->root()), nullptr));
  const XkbKeyboard::Masks masks = keyboard_->masks();
  if (!state || (state->mask & (XCB_MOD_MASK_CONTROL | masks.alt | masks.super)) != 0) return;
  if (const auto front = frontmostApplication()) tell(typingObservers_, *front);
}

bool X11Workspace::forceTerminate(qint64 processId) {
  if (processId <= 1 || processId == thisProcessId_) return false;
  return ::kill(pid_t(processId), SIGKILL) == 0;
}

void X11Workspace::handle(const xcb_generic_event_t& event) {
  if (!typingObservers_->empty()) {
    const auto key = rawKeys_->key(event);
    if (key && key->isPress) return keyPressed(key->code);
  }
  if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) return;
  const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
  if (change.window == ownWindow_) {
    lastTime_ = change.time;
    return;
  }
  if (change.window != connection_->root()) return;
  if (change.atom == connection_->atom("_NET_ACTIVE_WINDOW")) return activeWindowChanged();
  // Both lists tell of a new window, not at the same moment.
  if (change.atom == connection_->atom("_NET_CLIENT_LIST") ||
      change.atom == connection_->atom("_NET_CLIENT_LIST_STACKING"))
    return clientListChanged();
}

void X11Workspace::activeWindowChanged() {
  const xcb_window_t before = lastFrontmost_;
  rememberActiveWindow();
  if (lastFrontmost_ == before) return;
  tell(frontmostObservers_);
}

void X11Workspace::rememberActiveWindow() {
  lastFrontmost_ = activeWindow();
  if (lastFrontmost_ == XCB_NONE) return;
  if (const qint64 processId = processIdOf(lastFrontmost_)) lastActiveWindow_[processId] = lastFrontmost_;
}

void X11Workspace::clientListChanged() {
  knownWindows_ = clientWindows();
  std::set<qint64> processes;
  std::vector<RunningApplication> launched;
  for (const xcb_window_t window : knownWindows_) {
    if (!isApplicationWindow(window)) continue;
    const qint64 processId = processIdOf(window);
    if (processId == 0) continue;
    processes.insert(processId);
    if (knownProcesses_.contains(processId) || processId == thisProcessId_) continue;
    knownProcesses_.insert(processId);
    if (const auto application = applicationOf(window)) launched.push_back(*application);
  }
  std::erase_if(knownProcesses_, [&](qint64 processId) { return !processes.contains(processId); });
  std::erase_if(lastActiveWindow_, [&](const auto& one) {
    return std::find(knownWindows_.begin(), knownWindows_.end(), one.second) == knownWindows_.end();
  });
  for (const auto& application : launched) tell(launchObservers_, application);
}

bool X11Workspace::hasWindowManager() const {
  const auto windows = numbers(property(connection_->root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW));
  if (windows.empty()) return false;
  // The property outlives a window manager that crashed; its window doesn't.
  const auto own = numbers(property(windows.front(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW));
  return !own.empty() && own.front() == windows.front();
}

xcb_window_t X11Workspace::activeWindow() const {
  if (hasWindowManager()) {
    const auto windows = numbers(property(connection_->root(), "_NET_ACTIVE_WINDOW", XCB_ATOM_WINDOW));
    return windows.empty() ? XCB_NONE : windows.front();
  }
  // The focus may sit on an inner window.
  const auto cookie = xcb_get_input_focus(connection_->raw());
  const XcbPointer<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(connection_->raw(), cookie, nullptr));
  xcb_window_t window = focus ? focus->focus : xcb_window_t(XCB_NONE);
  while (window > 1 && window != connection_->root()) {
    if (!property(window, "WM_CLASS", XCB_ATOM_STRING).isEmpty()) return window;
    const auto treeCookie = xcb_query_tree(connection_->raw(), window);
    const XcbPointer<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(connection_->raw(), treeCookie, nullptr));
    if (!tree) break;
    window = tree->parent;
  }
  return XCB_NONE;
}

std::vector<xcb_window_t> X11Workspace::clientWindows() const {
  if (hasWindowManager()) {
    auto stacked = numbers(property(connection_->root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW));
    if (!stacked.empty()) return stacked;
    return numbers(property(connection_->root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW));
  }
  const auto cookie = xcb_query_tree(connection_->raw(), connection_->root());
  const XcbPointer<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(connection_->raw(), cookie, nullptr));
  if (!tree) return {};
  const xcb_window_t* const first = xcb_query_tree_children(tree.get());
  std::vector<xcb_window_t> windows(first, first + xcb_query_tree_children_length(tree.get()));
  std::erase_if(windows,
                [this](xcb_window_t window) { return property(window, "WM_CLASS", XCB_ATOM_STRING).isEmpty(); });
  return windows;
}

xcb_window_t X11Workspace::windowOf(const RunningApplication& application) const {
  if (application.windowId == 0) return lastWindowOf(application.processId);
  const xcb_window_t window = xcb_window_t(application.windowId);
  const auto windows = clientWindows();
  // The lists come a moment after the window.
  if (std::find(windows.begin(), windows.end(), window) == windows.end() && window != activeWindow()) return XCB_NONE;
  // The server gives the number of a closed window to a new one.
  const auto now = applicationOf(window);
  return now && now->processId == application.processId && now->bundleId == application.bundleId ? window : XCB_NONE;
}

xcb_window_t X11Workspace::lastWindowOf(qint64 processId) const {
  if (processId <= 0) return XCB_NONE;
  // The lists come a moment after the window.
  const xcb_window_t active = activeWindow();
  if (active != XCB_NONE && processIdOf(active) == processId) return active;
  const auto windows = clientWindows();
  const auto remembered = lastActiveWindow_.find(processId);
  if (remembered != lastActiveWindow_.end() &&
      std::find(windows.begin(), windows.end(), remembered->second) != windows.end())
    return remembered->second;
  for (auto window = windows.rbegin(); window != windows.rend(); ++window)
    if (isApplicationWindow(*window) && processIdOf(*window) == processId) return *window;
  return XCB_NONE;
}

// A program in a sandbox tells its number there, one of old age none: the server knows better.
qint64 X11Workspace::processIdOf(xcb_window_t window) const {
  if (knowsClients_) {
    const xcb_res_client_id_spec_t wanted{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto cookie = xcb_res_query_client_ids(connection_->raw(), 1, &wanted);
    const XcbPointer<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(connection_->raw(), cookie, nullptr));
    if (reply) {
      for (auto id = xcb_res_query_client_ids_ids_iterator(reply.get()); id.rem > 0; xcb_res_client_id_value_next(&id))
        if (xcb_res_client_id_value_value_length(id.data) > 0) return *xcb_res_client_id_value_value(id.data);
    }
  }
  const auto ids = numbers(property(window, "_NET_WM_PID", XCB_ATOM_CARDINAL));
  return ids.empty() ? 0 : qint64(ids.front());
}

QString X11Workspace::titleOf(xcb_window_t window) const {
  const QByteArray title = property(window, "_NET_WM_NAME", connection_->atom("UTF8_STRING"));
  if (!title.isEmpty()) return QString::fromUtf8(title);
  return QString::fromLocal8Bit(property(window, "WM_NAME", XCB_GET_PROPERTY_TYPE_ANY));
}

std::optional<RunningApplication> X11Workspace::applicationOf(xcb_window_t window) const {
  // Two texts, each with its zero: instance, class.
  const QList<QByteArray> names = property(window, "WM_CLASS", XCB_ATOM_STRING).split('\0');
  const QString instance = QString::fromLocal8Bit(names.value(0));
  const QString windowClass = QString::fromLocal8Bit(names.value(1));
  RunningApplication application;
  application.processId = processIdOf(window);
  application.bundleId = identify_ ? identify_(windowClass, instance) : windowClass.toLower();
  application.localizedName = windowClass.isEmpty() ? instance : windowClass;
  application.windowTitle = titleOf(window);
  application.windowId = window;
  application.isThisApplication = application.processId == thisProcessId_ && thisProcessId_ != 0;
  if (application.processId == 0 && application.localizedName.isEmpty() && application.windowTitle.isEmpty())
    return std::nullopt;
  return application;
}

bool X11Workspace::isApplicationWindow(xcb_window_t window) const {
  const auto types = numbers(property(window, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM));
  return std::none_of(types.begin(), types.end(), [this](xcb_atom_t type) {
    return type == connection_->atom("_NET_WM_WINDOW_TYPE_DOCK") ||
           type == connection_->atom("_NET_WM_WINDOW_TYPE_DESKTOP") ||
           type == connection_->atom("_NET_WM_WINDOW_TYPE_NOTIFICATION");
  });
}

// The server tells its time with every change of a property.
xcb_timestamp_t X11Workspace::serverTime() {
  lastTime_ = XCB_CURRENT_TIME;
  xcb_change_property(connection_->raw(), XCB_PROP_MODE_APPEND, ownWindow_, connection_->atom("QUILLMERE_TIME"),
                      XCB_ATOM_STRING, 8, 0, "");
  connection_->synchronize();
  connection_->dispatchNow();
  return lastTime_;
}

QByteArray X11Workspace::property(xcb_window_t window, const QByteArray& name, xcb_atom_t type) const {
  const auto cookie =
      xcb_get_property(connection_->raw(), 0, window, connection_->atom(name), type, 0, longestProperty);
  const XcbPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection_->raw(), cookie, nullptr));
  if (!reply) return {};
  return QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                    xcb_get_property_value_length(reply.get()));
}

}  // namespace quillmere
