#pragma once
#include <QString>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include "base/Result.h"
#include "domain/ClipboardItemData.h"
#include "domain/Errors.h"
#include "platform/x11/SelectionReader.h"
#include "platform/x11/SelectionServer.h"

namespace quillmere {

// The thread that owns and reads the clipboard and the selection. Calls come from the main thread; those that change
// something wait until it is done, which takes a few round trips also while a slow owner is being read. Callbacks run
// on this thread.
class X11SelectionThread {
 public:
  enum class Selection { clipboard, primary };
  struct Event {
    enum class Kind {
      fetched,  // by somebody who isn't a clipboard manager
      lost      // other programs have the clipboard and the selection
    };
    Kind kind = Kind::fetched;
    quint64 expectation = 0;  // as expectFetch() or the last offer gave it
  };

  static Result<std::unique_ptr<X11SelectionThread>, PlatformError> start(const QString& displayName,
                                                                          std::function<void(Event)> onEvent);
  ~X11SelectionThread();

  // The number of what is to be fetched from now on; 0 when the selection can't be had.
  quint64 offerText(Selection selection, const QString& text, bool isConcealed);
  quint64 offerItem(Selection selection, const ClipboardItemData& item);
  quint64 clear(Selection selection);
  quint64 expectFetch();

  // `done` is called once; with nothing when the thread ends first.
  void readItems(Selection selection, const std::function<void(ClipboardItems)>& done);
  void readText(Selection selection, const std::function<void(std::optional<QString>)>& done);

  bool owns(Selection selection) const { return owned_[index(selection)]; }
  quint64 changeCount() const { return changeCount_; }

 private:
  using Clock = std::chrono::steady_clock;
  // How the value of a target was typed by the owner it was read from.
  struct Form {
    QByteArray type;
    uint8_t format = 8;
  };
  struct Call {
    std::function<quint64()> work;
    quint64 result = 0;
    bool isDone = false;
  };
  struct Job {
    std::function<void()> work;
    std::function<void()> giveUp;
  };

  X11SelectionThread(xcb_connection_t* connection, int screenNumber, std::function<void(Event)> onEvent);
  static size_t index(Selection selection) { return selection == Selection::clipboard ? 0 : 1; }

  void run();
  bool pump(Clock::time_point deadline, const std::function<bool()>& condition);
  void handle(const xcb_generic_event_t& event);
  void tellIfLost();
  void runCalls();
  std::optional<Job> nextJob();
  bool hasJob();
  void wake();
  void die();

  quint64 call(std::function<quint64()> work);
  void enqueue(Job job);

  quint64 offer(Selection selection, SelectionOffer offer);
  void addTarget(SelectionOffer& offer, const char* target, const char* type, const QByteArray& bytes, bool isText);
  void textServed(xcb_window_t requestor);
  ClipboardItems itemsNow(Selection selection);
  std::optional<QString> textNow(Selection selection);
  ClipboardItems itemsFrom(const std::vector<SelectionTarget>& targets);
  void handOver();
  xcb_atom_t atomOf(Selection selection);
  xcb_timestamp_t serverTime();
  quint32 clientOf(xcb_window_t window) const;
  quint32 activeClient();

  xcb_connection_t* const connection_;
  xcb_window_t root_ = 0;
  xcb_window_t window_ = 0;
  const std::function<void(Event)> onEvent_;

  std::atomic<bool> owned_[2]{false, false};
  std::atomic<quint64> changeCount_{0};

  // --- the thread's own
  XcbAtoms atoms_;
  std::unique_ptr<SelectionServer> server_;
  std::unique_ptr<SelectionReader> reader_;
  int wakeFd_ = -1;
  uint8_t xfixesEvent_ = 0;
  quint64 expectation_ = 0;
  bool isExpected_ = false;     // a keystroke was announced since the last offer
  std::set<quint32> managers_;  // clients that fetched texts unasked
  QHash<QString, Form> forms_;
  std::optional<xcb_timestamp_t> stamp_;
  bool isInCall_ = false;
  bool isHandingOver_ = false;

  std::mutex mutex_;
  std::condition_variable callDone_;
  std::deque<std::shared_ptr<Call>> calls_;  // guarded by mutex_
  std::deque<Job> jobs_;                     // guarded by mutex_
  bool isStopping_ = false;                  // guarded by mutex_
  bool isDead_ = false;                      // guarded by mutex_
  std::thread thread_;
};

}  // namespace quillmere
