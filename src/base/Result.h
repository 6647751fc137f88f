#pragma once
#include <cassert>
#include <optional>
#include <utility>
#include <variant>

namespace quillmere {

// A value or an error. Everything that can fail for a reason outside the program returns one; exceptions mean bugs.
template <typename E>
struct Failed {
  E error;
};

template <typename E>
Failed(E) -> Failed<E>;

template <typename T, typename E>
class [[nodiscard]] Result {
 public:
  Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}  // NOLINT: implicit on purpose
  template <typename F>
  Result(Failed<F> failed) : content_(std::in_place_index<1>, E(std::move(failed.error))) {}  // NOLINT

  bool hasValue() const { return content_.index() == 0; }
  explicit operator bool() const { return hasValue(); }

  T& value() & { return (assert(hasValue()), std::get<0>(content_)); }
  const T& value() const& { return (assert(hasValue()), std::get<0>(content_)); }
  T&& value() && { return (assert(hasValue()), std::get<0>(std::move(content_))); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }
  T&& operator*() && { return std::move(*this).value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  T valueOr(T other) const& { return hasValue() ? std::get<0>(content_) : std::move(other); }
  T valueOr(T other) && { return hasValue() ? std::get<0>(std::move(content_)) : std::move(other); }

  E& error() & { return (assert(!hasValue()), std::get<1>(content_)); }
  const E& error() const& { return (assert(!hasValue()), std::get<1>(content_)); }
  E&& error() && { return (assert(!hasValue()), std::get<1>(std::move(content_))); }

 private:
  std::variant<T, E> content_;
};

template <typename E>
class [[nodiscard]] Result<void, E> {
 public:
  Result() = default;
  template <typename F>
  Result(Failed<F> failed) : error_(E(std::move(failed.error))) {}  // NOLINT

  bool hasValue() const { return !error_.has_value(); }
  explicit operator bool() const { return hasValue(); }
  E& error() & { return (assert(error_.has_value()), *error_); }
  const E& error() const& { return (assert(error_.has_value()), *error_); }
  E&& error() && { return (assert(error_.has_value()), *std::move(error_)); }

 private:
  std::optional<E> error_;
};

}  // namespace quillmere

// Takes the value out of a Result, or leaves the function with its error:
//   TRY(const auto file, LocalFile::open(path));           in a function
//   CO_TRY(const auto key, co_await keychain.read(name));  in a coroutine
//   TRY_OK(writer.close());  CO_TRY_OK(...);               where there is no value, or none that is needed
#define QUILLMERE_TRY_NAME2(line) tried##line
#define QUILLMERE_TRY_NAME(line) QUILLMERE_TRY_NAME2(line)
#define QUILLMERE_TRY(tried, leave, declaration, ...)              \
  auto tried = __VA_ARGS__;                                        \
  if (!tried) leave ::quillmere::Failed{std::move(tried).error()}; \
  declaration = *std::move(tried)
#define QUILLMERE_TRY_OK(tried, leave, ...)                         \
  if (auto tried = __VA_ARGS__; !tried) leave ::quillmere::Failed { \
      std::move(tried).error()                                      \
    }
#define TRY(declaration, ...) QUILLMERE_TRY(QUILLMERE_TRY_NAME(__LINE__), return, declaration, __VA_ARGS__)
#define CO_TRY(declaration, ...) QUILLMERE_TRY(QUILLMERE_TRY_NAME(__LINE__), co_return, declaration, __VA_ARGS__)
#define TRY_OK(...) QUILLMERE_TRY_OK(QUILLMERE_TRY_NAME(__LINE__), return, __VA_ARGS__)
#define CO_TRY_OK(...) QUILLMERE_TRY_OK(QUILLMERE_TRY_NAME(__LINE__), co_return, __VA_ARGS__)
