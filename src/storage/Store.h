#pragma once
#include <QList>
#include <QTimeZone>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/Clock.h"
#include "base/Result.h"
#include "base/Subscription.h"
#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "base/log/Logger.h"
#include "domain/Errors.h"
#include "ports/ErrorReporting.h"

namespace quillmere {

class ObjectContext;

// Which kinds of rows a save or another process may have changed.
struct StoreChange {
  bool isFromOtherProcess = false;
  bool modes = false;
  bool transcripts = false;
  bool recordingSessions = false;
  bool vocabulary = false;
  bool usageTracking = false;
  bool operator==(const StoreChange&) const = default;
};

// What the stores of the entities share: the open file with its unit of work, saving, watching, and how failures are
// told. See PersistenceController.h. Main thread only; nothing throws.
class Store {
 public:
  struct Services {
    const Clock& clock;
    Logger log;
    ErrorReporting* reporting = nullptr;
    // Tries again what another process's lock holds up. Without one the next save does.
    Executor* executor = nullptr;
  };
  Store(std::unique_ptr<ObjectContext> context, Services services);
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  bool save();
  bool hasChanges() const;
  bool isSaveRefused() const { return isRefused_; }
  Task<bool> waitUntilSaved(Duration limit);
  bool refreshIfChanged();
  [[nodiscard]] Subscription observeChanges(std::function<void(const StoreChange&)> observer);

  // --- for the owner
  // Before, a call may block for another process's lock up to 10 s; from here on none does longer than 25 ms.
  void beginWork();
  // Writes what waits for another process's lock, blocking for it like at the start.
  void endWork();

  // --- for the stores of the entities
  // Each of the two is ObjectContext's operation of that kind with the end of a save.
  bool change(const std::function<void()>& body, std::function<void()> recheck = {});
  bool changeInTime(std::function<void()> body);
  // Called before each save.
  void setBeforeSave(std::function<void()> function) { beforeSave_ = std::move(function); }
  ObjectContext& context() { return *context_; }
  const Clock& clock() const { return services_.clock; }
  const Logger& log() const { return services_.log; }
  void report(const QString& text, const PlatformError& error);
  void reportFetchFailure(LogFormat<QString> logFormat, const QString& reportText, const PlatformError& error);
  template <typename T>
  std::vector<T> valueOrReport(Result<std::vector<T>, PlatformError> result, LogFormat<QString> logFormat,
                               const char* reportText) {
    if (result) return std::move(result).value();
    reportFetchFailure(logFormat, reportText, result.error());
    return {};
  }

 private:
  struct Observers;
  bool finishSave(const Result<void, PlatformError>& saved);
  void waitForLock(const PlatformError& error);
  void stopWaiting();

  std::unique_ptr<ObjectContext> context_;
  Services services_;
  std::unique_ptr<Observers> observers_;
  std::function<void()> beforeSave_;
  std::optional<Executor::TimerId> retryTimer_;
  int retries_ = 0;
  bool isWaitingForLock_ = false;
  bool isRefused_ = false;
};

}  // namespace quillmere
