#pragma once
#include <map>

#include "base/async/Async.h"
#include "ports/Keychain.h"

namespace quillmere {

// Secrets in memory.
class FakeKeychain final : public Keychain {
 public:
  enum class State { open, locked, absent, silent };
  enum class User { refuses, isAway };
  State state = State::open;
  User user = User::refuses;
  std::map<std::pair<QString, QString>, QString> secrets;

  Task<Result<QString, KeychainError>> read(KeychainItem item, KeychainAccess access) override {
    if (auto error = co_await access_(access)) co_return Failed{*error};
    const auto found = secrets.find({item.service, item.account});
    if (found == secrets.end()) co_return Failed{KeychainError{KeychainError::Kind::missing, {}}};
    co_return found->second;
  }
  Task<Result<void, KeychainError>> write(KeychainItem item, QString secret, QString, KeychainAccess access) override {
    if (auto error = co_await access_(access)) co_return Failed{*error};
    secrets[{item.service, item.account}] = secret;
    co_return Result<void, KeychainError>{};
  }
  Task<Result<void, KeychainError>> remove(KeychainItem item, KeychainAccess access) override {
    if (auto error = co_await access_(access)) co_return Failed{*error};
    if (secrets.erase({item.service, item.account}) == 0)
      co_return Failed{KeychainError{KeychainError::Kind::missing, {}}};
    co_return Result<void, KeychainError>{};
  }

 private:
  Task<std::optional<KeychainError>> access_(KeychainAccess access) {
    using Kind = KeychainError::Kind;
    co_await yieldNow();
    if (state == State::absent) co_return KeychainError{Kind::absent, {}};
    if (state == State::silent) {
      co_await sleepFor(access.limit);
      co_return KeychainError{Kind::timedOut, {}};
    }
    if (state == State::open) co_return std::nullopt;
    if (access.mayPrompt && user == User::isAway) co_await sleepFor(access.limit);
    co_return KeychainError{Kind::locked, {}};
  }
};

}  // namespace quillmere
