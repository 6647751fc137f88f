#pragma once
#include <map>

#include "base/async/Async.h"
#include "ports/Keychain.h"

namespace quillmere {

// Secrets in memory.
class FakeKeychain final : public Keychain {
 public:
  enum class State { open, locked, absent, silent };
  enum class User { unlocks, refuses, isAway };
  State state = State::open;
  User user = User::refuses;
  int prompts = 0;
  struct Entry {
    QString secret, label;
  };
  std::map<std::pair<QString, QString>, Entry> entries;

  Task<Result<QString, KeychainError>> read(KeychainItem item, KeychainAccess access) override {
    if (auto error = co_await access_(access)) co_return Failed{*error};
    const auto found = entries.find({item.service, item.account});
    if (found == entries.end()) co_return Failed{KeychainError{KeychainError::Kind::missing, {}}};
    co_return found->second.secret;
  }
  Task<Result<void, KeychainError>> write(KeychainItem item, QString secret, QString label,
                                          KeychainAccess access) override {
    if (auto error = co_await access_(access)) co_return Failed{*error};
    entries[{item.service, item.account}] = {secret, label};
    co_return Result<void, KeychainError>{};
  }
  Task<Result<void, KeychainError>> remove(KeychainItem item, KeychainAccess access) override {
    if (auto error = co_await access_(access)) co_return Failed{*error};
    if (entries.erase({item.service, item.account}) == 0)
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
    if (access.mayPrompt) {
      ++prompts;
      if (user == User::isAway) co_await sleepFor(access.limit);
      if (user == User::unlocks) state = State::open;
    }
    if (state == State::open) co_return std::nullopt;
    co_return KeychainError{Kind::locked, {}};
  }
};

}  // namespace quillmere
