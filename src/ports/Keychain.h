#pragma once
#include <QString>
#include <chrono>

#include "base/Result.h"
#include "base/async/Executor.h"
#include "base/async/Task.h"
#include "domain/Errors.h"

namespace quillmere {

// What a secret is found by.
struct KeychainItem {
  QString service;
  QString account;
  bool operator==(const KeychainItem&) const = default;
};

struct KeychainError {
  enum class Kind {
    absent,    // the desktop session has no keychain
    locked,    // it is locked (or none was made yet) and the user was not asked, refused or did not answer
    missing,   // no such item
    timedOut,  // it does not answer
    failed     // anything else; the description tells
  };
  Kind kind = Kind::failed;
  QString description;  // a clear sentence, never a secret
  bool operator==(const KeychainError&) const = default;
};

struct KeychainAccess {
  bool mayPrompt = false;  // the desktop may ask the user to unlock the keychain
  Duration limit = std::chrono::seconds(5);
};

// The user's secrets, kept by the desktop. Main thread; never blocks it. Each call ends within its limit; a cancel
// gives up at once. What was asked for may still happen then; a prompt stays open until the user answers it.
class Keychain {
 public:
  virtual ~Keychain() = default;
  virtual Task<Result<QString, KeychainError>> read(KeychainItem item, KeychainAccess access = {}) = 0;
  // Adds the secret or replaces it. The label is what the user sees in the keychain's own window.
  virtual Task<Result<void, KeychainError>> write(KeychainItem item, QString secret, QString label,
                                                  KeychainAccess access = {}) = 0;
  virtual Task<Result<void, KeychainError>> remove(KeychainItem item, KeychainAccess access = {}) = 0;
};

}  // namespace quillmere
