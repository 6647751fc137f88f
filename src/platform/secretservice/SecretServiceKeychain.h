#pragma once
#include <functional>
#include <memory>

#include "platform/secretservice/GlibExecutor.h"
#include "ports/Keychain.h"

namespace quillmere {

class SecretServiceCaller;
struct KeychainPrompt;

// The desktop's keychain through libsecret, on the session bus that the environment names at the first call.
class SecretServiceKeychain final : public Keychain {
 public:
  SecretServiceKeychain();
  ~SecretServiceKeychain() override;

  Task<Result<QString, KeychainError>> read(KeychainItem item, KeychainAccess access) override;
  Task<Result<void, KeychainError>> write(KeychainItem item, QString secret, QString label,
                                          KeychainAccess access) override;
  Task<Result<void, KeychainError>> remove(KeychainItem item, KeychainAccess access) override;

 private:
  // Runs the task that `make` gives on the other thread.
  template <typename T>
  using Make = std::function<Task<Result<T, KeychainError>>(SecretServiceCaller&, std::shared_ptr<KeychainPrompt>)>;
  template <typename T>
  Task<Result<T, KeychainError>> ask(Make<T> make, KeychainAccess access);

  quint64 lastNumber_ = 0;
  GlibExecutor executor_;
  std::unique_ptr<SecretServiceCaller> caller_;  // touched on that thread only
};

}  // namespace quillmere
