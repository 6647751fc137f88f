#pragma once
#include <libsecret/secret.h>

#include <atomic>
#include <map>
#include <vector>

#include "base/async/Async.h"
#include "platform/secretservice/GlibPointer.h"
#include "ports/Keychain.h"

namespace quillmere {

// Whether the user may be asked for one call, and whether that is going on.
struct KeychainPrompt {
  const bool isAllowed;
  std::atomic<bool> isOpen = false;
};

// The secret service as tasks of a GlibExecutor. All of it on that executor's thread.
class SecretServiceCaller {
 public:
  explicit SecretServiceCaller(Executor& executor) : scope_(executor) {}

  using Prompt = std::shared_ptr<KeychainPrompt>;
  Task<Result<QString, KeychainError>> read(KeychainItem item, Prompt prompt);
  Task<Result<void, KeychainError>> write(KeychainItem item, QString secret, QString label, Prompt prompt);
  Task<Result<void, KeychainError>> remove(KeychainItem item, Prompt prompt);

  // Runs one of these under a number, by which it is cancelled.
  void begin(quint64 number, Task<void> task);
  void cancel(quint64 number) { running_[number].cancel(); }
  // How many calls were begun whose end has not come. Outlives this object.
  const std::shared_ptr<int>& calls() const { return calls_; }

 private:
  using Service = GlibPointer<SecretService>;
  using Items = std::vector<GlibPointer<SecretItem>>;
  using Ended = GlibPointer<GAsyncResult>;
  using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;

  enum class OnCancel { end, leave };
  // Begins a call of GIO's kind and waits for its end. A cancel ends the call; one that prompts is left to the user,
  // because libsecret and the services do not take a prompt back well.
  Task<Ended> call(Start start, OnCancel onCancel = OnCancel::end);
  Task<Result<Service, KeychainError>> service();
  // The items of these attributes, unlocked; never none.
  Task<Result<Items, KeychainError>> find(Service service, KeychainItem item, Prompt prompt);
  Task<Result<void, KeychainError>> unlock(Service service, GlibPointer<GDBusProxy> object, Prompt prompt);
  Task<Result<GlibPointer<SecretCollection>, KeychainError>> defaultCollection(Service service);

  const std::shared_ptr<int> calls_ = std::make_shared<int>();
  GlibPointer<GDBusConnection> bus_;
  Service service_;
  QByteArray owner_;  // of the service's name when it was opened
  std::map<quint64, TaskHandle<>> running_;
  TaskScope scope_;
};

// The error of a kind; the detail is for `failed`.
KeychainError keychainError(KeychainError::Kind kind, const QString& detail = {});

}  // namespace quillmere
