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
