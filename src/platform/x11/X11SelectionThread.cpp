#include "platform/x11/X11SelectionThread.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <csignal>

#include "platform/x11/XcbConnection.h"

namespace quillmere {
namespace {

constexpr std::chrono::milliseconds stampLimit{500};
constexpr std::chrono::milliseconds handOverLimit{1000};
constexpr const char* concealedHint = "x-kde-passwordManagerHint";

Failed<PlatformError> failed(const char* description) {
  return Failed{PlatformError{QStringLiteral("x11"), 0, QString::fromLatin1(description)}};
}

QString textOf(const QByteArray& target, const QByteArray& bytes) {
  return target == "STRING" ? QString::fromLatin1(bytes) : QString::fromUtf8(bytes);
}

}  // namespace

Result<std::unique_ptr<X11SelectionThread>, PlatformError> X11SelectionThread::start(
    const QString& displayName, std::function<void(Event)> onEvent) {
  // Gives the clear sentences when there is no display. Open until the second one is: a server may reset itself once
  // nobody is connected.
  TRY(const auto probe, XcbConnection::open(displayName));
  const QByteArray name = displayName.isEmpty() ? qgetenv("DISPLAY") : displayName.toUtf8();
  int screenNumber = 0;
  xcb_connection_t* const connection = xcb_connect(name.constData(), &screenNumber);
  if (xcb_connection_has_error(connection) != 0) {
    xcb_disconnect(connection);
    return failed("The X display can't be reached.");
  }
  return std::unique_ptr<X11SelectionThread>(new X11SelectionThread(connection, screenNumber, std::move(onEvent)));
}

X11SelectionThread::X11SelectionThread(xcb_connection_t* connection, int screenNumber,
                                       std::function<void(Event)> onEvent)
    : connection_(connection), onEvent_(std::move(onEvent)), atoms_(connection) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
  for (int i = 0; i < screenNumber && screens.rem > 1; ++i) xcb_screen_next(&screens);
  root_ = screens.data->root;
  window_ = xcb_generate_id(connection_);
  const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_create_window(connection_, 0, window_, root_, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                    screens.data->root_visual, XCB_CW_EVENT_MASK, &mask);
  const xcb_query_extension_reply_t* const xfixes = xcb_get_extension_data(connection_, &xcb_xfixes_id);
  if (xfixes && xfixes->present) {
    xfixesEvent_ = xfixes->first_event;
    const auto cookie = xcb_xfixes_query_version(connection_, 5, 0);
    XcbPointer<xcb_xfixes_query_version_reply_t>(xcb_xfixes_query_version_reply(connection_, cookie, nullptr));
    xcb_xfixes_select_selection_input(connection_, window_, atoms_.atom("CLIPBOARD"),
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
  }
  server_ = std::make_unique<SelectionServer>(
      connection_, window_, atoms_,
      [this](xcb_atom_t selection, const SelectionOffer& offer, const SelectionTarget& target, xcb_window_t requestor) {
        const SelectionOffer* const current = server_->offered(selection);
        if (current && current->number == offer.number && target.isText) textServed(requestor);
      });
  reader_ = std::make_unique<SelectionReader>(
      connection_, window_, atoms_,
      [this](Clock::time_point deadline, const std::function<bool()>& condition) { return pump(deadline, condition); });
  xcb_flush(connection_);
  wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  thread_ = std::thread([this] { run(); });
}

X11SelectionThread::~X11SelectionThread() {
  {
    const std::lock_guard lock(mutex_);
    isStopping_ = true;
  }
  wake();
  thread_.join();
  close(wakeFd_);
  xcb_disconnect(connection_);
}

// --- the main thread

quint64 X11SelectionThread::offerText(Selection selection, const QString& text, bool isConcealed) {
  return call([this, selection, text, isConcealed] {
    SelectionOffer offer;
    offer.isConcealed = isConcealed;
    const QByteArray utf8 = text.toUtf8();
    addTarget(offer, "text/plain;charset=utf-8", "text/plain;charset=utf-8", utf8, true);
    addTarget(offer, "UTF8_STRING", "UTF8_STRING", utf8, true);
    addTarget(offer, "text/plain", "text/plain", utf8, true);
    addTarget(offer, "TEXT", "UTF8_STRING", utf8, true);
    addTarget(offer, "STRING", "STRING", text.toLatin1(), true);
    if (isConcealed) addTarget(offer, concealedHint, concealedHint, "secret", false);
    return this->offer(selection, std::move(offer));
  });
}

quint64 X11SelectionThread::offerItem(Selection selection, const ClipboardItemData& item) {
  return call([this, selection, item] {
    SelectionOffer offer;
    for (const QString& type : item.types) {
      if (!item.data.contains(type)) continue;
      const QByteArray target = type.toUtf8();
      const auto form = forms_.constFind(type);
      addTarget(offer, target, form == forms_.constEnd() ? target : form->type, item.data.value(type), true);
      if (form != forms_.constEnd()) offer.targets.back().value.format = form->format;
      if (type == QLatin1String(concealedHint)) {
        offer.isConcealed = true;
        offer.targets.back().isText = false;
      }
    }
    return this->offer(selection, std::move(offer));
  });
}

quint64 X11SelectionThread::clear(Selection selection) {
  return call([this, selection] {
    server_->clear(atomOf(selection), serverTime());
    owned_[index(selection)] = false;
    if (selection == Selection::clipboard) ++changeCount_;
    isExpected_ = false;
    return ++expectation_;
  });
}

quint64 X11SelectionThread::expectFetch() {
  return call([this] {
    isExpected_ = true;
    ++expectation_;
    tellIfLost();
    return expectation_;
  });
}

void X11SelectionThread::readItems(Selection selection, const std::function<void(ClipboardItems)>& done) {
  enqueue({[this, selection, done] { done(itemsNow(selection)); }, [done] { done({}); }});
}

void X11SelectionThread::readText(Selection selection, const std::function<void(std::optional<QString>)>& done) {
  enqueue({[this, selection, done] { done(textNow(selection)); }, [done] { done(std::nullopt); }});
}

quint64 X11SelectionThread::call(std::function<quint64()> work) {
  const auto pending = std::make_shared<Call>();
  pending->work = std::move(work);
  std::unique_lock lock(mutex_);
  if (isDead_) return 0;
  calls_.push_back(pending);
  wake();
  callDone_.wait(lock, [&] { return pending->isDone || isDead_; });
  return pending->result;
}

void X11SelectionThread::enqueue(Job job) {
  {
    const std::lock_guard lock(mutex_);
    if (!isDead_) {
      jobs_.push_back(std::move(job));
      wake();
      return;
    }
  }
  job.giveUp();
}

void X11SelectionThread::wake() {
  const uint64_t one = 1;
  // Full means that a wake-up is on its way already.
  [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof one);
}

// --- the thread

void X11SelectionThread::run() {
  pthread_setname_np(pthread_self(), "x11-clipboard");
  // A write to a server that is gone.
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  while (pump(Clock::time_point::max(), [this] { return hasJob(); }))
    while (auto job = nextJob()) job->work();
  if (xcb_connection_has_error(connection_) == 0) handOver();
  die();
}

void X11SelectionThread::die() {
  std::deque<Job> left;
  {
    const std::lock_guard lock(mutex_);
    isDead_ = true;
    owned_[0] = owned_[1] = false;
    left.swap(jobs_);
  }
  callDone_.notify_all();
  for (const auto& job : left) job.giveUp();
  onEvent_({Event::Kind::lost, expectation_});
}

bool X11SelectionThread::pump(Clock::time_point deadline, const std::function<bool()>& condition) {
  constexpr int longestPollMs = 1000;
  for (;;) {
    if (!isInCall_) runCalls();
    while (const XcbPointer<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) handle(*event);
    if (condition()) return true;
    if (xcb_connection_has_error(connection_) != 0) return false;
    {
      const std::lock_guard lock(mutex_);
      if (isStopping_ && !isHandingOver_) return false;
    }
    const auto now = Clock::now();
    if (now >= deadline) return false;
    server_->forgetStale(now);
    int waitMs = server_->isTransferring() ? longestPollMs : -1;
    if (deadline != Clock::time_point::max()) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - now).count();
      waitMs = waitMs < 0 ? int(left) : int(std::min<qint64>(left, waitMs));
    }
    xcb_flush(connection_);
    // Flushing may have read.
    if (const XcbPointer<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_)}) {
      handle(*event);
      continue;
    }
    pollfd descriptors[] = {{xcb_get_file_descriptor(connection_), POLLIN, 0}, {wakeFd_, POLLIN, 0}};
    poll(descriptors, isInCall_ ? 1 : 2, waitMs);
    if (!isInCall_ && (descriptors[1].revents & POLLIN)) {
      uint64_t count = 0;
      [[maybe_unused]] const ssize_t got = read(wakeFd_, &count, sizeof count);
    }
  }
}

void X11SelectionThread::handle(const xcb_generic_event_t& event) {
  if (event.response_type == 0) return;  // a requestor that is gone
  const uint8_t type = event.response_type & 0x7f;
  if (xfixesEvent_ != 0 && type == xfixesEvent_ + XCB_XFIXES_SELECTION_NOTIFY) {
    const auto& notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
    if (notify.owner != window_) ++changeCount_;
    return;
  }
  if (type == XCB_PROPERTY_NOTIFY) {
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.window == window_ && change.atom == atoms_.atom("QUILLMERE_TIME")) {
      stamp_ = change.time;
      return;
    }
  }
  // Its number may go to another program now.
  if (type == XCB_DESTROY_NOTIFY)
    managers_.erase(clientOf(reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window));
  const bool isServed = server_->handle(event, [this](xcb_atom_t selection) {
    owned_[selection == atoms_.atom("CLIPBOARD") ? 0 : 1] = false;
    tellIfLost();
  });
  if (!isServed) reader_->handle(event);
}

void X11SelectionThread::tellIfLost() {
  if (!owned_[0] && !owned_[1]) onEvent_({Event::Kind::lost, expectation_});
}

void X11SelectionThread::runCalls() {
  for (;;) {
    std::shared_ptr<Call> next;
    {
      const std::lock_guard lock(mutex_);
      if (calls_.empty()) return;
      next = calls_.front();
      calls_.pop_front();
    }
    isInCall_ = true;
    const quint64 result = next->work();
    isInCall_ = false;
    xcb_flush(connection_);
    {
      const std::lock_guard lock(mutex_);
      next->result = result;
      next->isDone = true;
    }
    callDone_.notify_all();
  }
}

bool X11SelectionThread::hasJob() {
  const std::lock_guard lock(mutex_);
  return !jobs_.empty();
}

std::optional<X11SelectionThread::Job> X11SelectionThread::nextJob() {
  const std::lock_guard lock(mutex_);
  if (jobs_.empty()) return std::nullopt;
  Job job = std::move(jobs_.front());
  jobs_.pop_front();
  return job;
}

quint64 X11SelectionThread::offer(Selection selection, SelectionOffer offer) {
  offer.since = serverTime();
  offer.number = ++expectation_;
  isExpected_ = false;
  const bool isOurs = server_->offer(atomOf(selection), std::move(offer));
  owned_[index(selection)] = isOurs;
  if (!isOurs) return 0;
  if (selection == Selection::clipboard) ++changeCount_;
  return expectation_;
}

void X11SelectionThread::addTarget(SelectionOffer& offer, const char* target, const char* type, const QByteArray& bytes,
                                   bool isText) {
  offer.targets.push_back({atoms_.atom(target), {atoms_.atom(type), 8, bytes}, isText});
}

void X11SelectionThread::textServed(xcb_window_t requestor) {
  const quint32 client = clientOf(requestor);
  if (client != activeClient()) {
    if (!isExpected_ && server_->watchEnd(requestor)) managers_.insert(client);
    if (managers_.count(client) > 0) return;
  }
  onEvent_({Event::Kind::fetched, expectation_});
}

ClipboardItems X11SelectionThread::itemsNow(Selection selection) {
  if (const SelectionOffer* const own = server_->offered(atomOf(selection))) return itemsFrom(own->targets);
  const auto targets = reader_->readAll(atomOf(selection));
  for (const auto& one : targets)
    forms_.insert(QString::fromUtf8(atoms_.name(one.target)), {atoms_.name(one.value.type), one.value.format});
  return itemsFrom(targets);
}

std::optional<QString> X11SelectionThread::textNow(Selection selection) {
  const std::vector<QByteArray> names{"UTF8_STRING", "text/plain;charset=utf-8", "text/plain", "STRING"};
  if (const SelectionOffer* const own = server_->offered(atomOf(selection))) {
    for (const QByteArray& name : names)
      for (const auto& one : own->targets)
        if (one.target == atoms_.atom(name)) return textOf(name, one.value.bytes);
    return std::nullopt;
  }
  std::vector<xcb_atom_t> wanted;
  for (const QByteArray& name : names) wanted.push_back(atoms_.atom(name));
  const auto found = reader_->readFirst(atomOf(selection), wanted);
  if (!found) return std::nullopt;
  return textOf(atoms_.name(found->target), found->value.bytes);
}

ClipboardItems X11SelectionThread::itemsFrom(const std::vector<SelectionTarget>& targets) {
  ClipboardItemData item;
  for (const auto& one : targets) {
    const QString type = QString::fromUtf8(atoms_.name(one.target));
    item.types.append(type);
    item.data.insert(type, one.value.bytes);
  }
  if (item.types.isEmpty()) return {};
  return {item};
}

// What would go with this process, if nobody keeps it. A text that was hidden from managers goes.
void X11SelectionThread::handOver() {
  const SelectionOffer* const own = server_->offered(atoms_.atom("CLIPBOARD"));
  if (!own || own->isConcealed) return;
  isHandingOver_ = true;
  const xcb_atom_t manager = atoms_.atom("CLIPBOARD_MANAGER");
  const auto cookie = xcb_get_selection_owner(connection_, manager);
  const XcbPointer<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(connection_, cookie, nullptr));
  if (!owner || owner->owner == XCB_NONE) return;
  std::vector<xcb_atom_t> targets;
  for (const auto& one : own->targets) targets.push_back(one.target);
  reader_->request(manager, atoms_.atom("SAVE_TARGETS"), handOverLimit, targets);
}

xcb_atom_t X11SelectionThread::atomOf(Selection selection) {
  return selection == Selection::clipboard ? atoms_.atom("CLIPBOARD") : xcb_atom_t(XCB_ATOM_PRIMARY);
}

xcb_timestamp_t X11SelectionThread::serverTime() {
  stamp_.reset();
  xcb_change_property(connection_, XCB_PROP_MODE_APPEND, window_, atoms_.atom("QUILLMERE_TIME"), XCB_ATOM_STRING, 8, 0,
                      "");
  pump(Clock::now() + stampLimit, [this] { return stamp_.has_value(); });
  return stamp_.value_or(XCB_CURRENT_TIME);
}

quint32 X11SelectionThread::clientOf(xcb_window_t window) const {
  return window & ~xcb_get_setup(connection_)->resource_id_mask;
}

quint32 X11SelectionThread::activeClient() {
  const auto cookie = xcb_get_property(connection_, 0, root_, atoms_.atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 0, 1);
  const auto focusCookie = xcb_get_input_focus(connection_);
  const XcbPointer<xcb_get_property_reply_t> active(xcb_get_property_reply(connection_, cookie, nullptr));
  const XcbPointer<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(connection_, focusCookie, nullptr));
  xcb_window_t window = XCB_NONE;
  if (active && xcb_get_property_value_length(active.get()) == 4)
    window = *static_cast<const xcb_window_t*>(xcb_get_property_value(active.get()));
  if (window == XCB_NONE && focus) window = focus->focus;
  return clientOf(window);
}

}  // namespace quillmere
