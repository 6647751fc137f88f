#include "platform/secretservice/SecretServiceKeychain.h"

#include "platform/secretservice/SecretServiceCaller.h"

namespace quillmere {
namespace {

template <typename T>
using Answer = Result<T, KeychainError>;

template <typename T>
Task<void> tell(Task<Answer<T>> task, Executor& main, Completion<Answer<T>> told) {
  Answer<T> answer = co_await std::move(task);
  main.post([told, answer = std::move(answer)]() mutable { told.resolve(std::move(answer)); });
}

}  // namespace

SecretServiceKeychain::SecretServiceKeychain() {
  executor_.post([this] { caller_ = std::make_unique<SecretServiceCaller>(executor_); });
}

SecretServiceKeychain::~SecretServiceKeychain() {
  std::shared_ptr<int> calls;
  const auto end = [&] {
    calls = caller_->calls();
    caller_.reset();
  };
  executor_.stop(end, [&] { return *calls > 0; });
}

template <typename T>
Task<Answer<T>> SecretServiceKeychain::ask(Make<T> make, KeychainAccess access) {
  Executor* const main = &co_await currentExecutor();
  Completion<Answer<T>> told;
  const std::shared_ptr<KeychainPrompt> prompt(new KeychainPrompt{access.mayPrompt});
  const quint64 number = ++lastNumber_;
  executor_.post([this, make = std::move(make), main, told, prompt, number] {
    caller_->begin(number, tell(make(*caller_, prompt), *main, told));
  });
  const std::function<void()> giveUp = [this, number] { executor_.post([this, number] { caller_->cancel(number); }); };
  auto answer = co_await withTimeout(access.limit, told.wait(giveUp));
  if (answer) co_return std::move(*answer);
  co_return Failed{keychainError(prompt->isOpen ? KeychainError::Kind::locked : KeychainError::Kind::timedOut)};
}

Task<Answer<QString>> SecretServiceKeychain::read(KeychainItem item, KeychainAccess access) {
  const Make<QString> make = [=](SecretServiceCaller& caller, auto prompt) { return caller.read(item, prompt); };
  return ask(make, access);
}

Task<Answer<void>> SecretServiceKeychain::write(KeychainItem item, QString secret, QString label,
                                                KeychainAccess access) {
  const Make<void> make = [=](SecretServiceCaller& caller, auto prompt) {
    return caller.write(item, secret, label, prompt);
  };
  return ask(make, access);
}

Task<Answer<void>> SecretServiceKeychain::remove(KeychainItem item, KeychainAccess access) {
  const Make<void> make = [=](SecretServiceCaller& caller, auto prompt) { return caller.remove(item, prompt); };
  return ask(make, access);
}

}  // namespace quillmere
