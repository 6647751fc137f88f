#pragma once
#include <QString>
#include <array>
#include <optional>
#include <utility>

namespace quillmere {

// An enumeration with stored texts specialises this with `static constexpr std::array values{std::pair{E::a, "raw"},
// ...}` in case order; what older versions stored may stand in `formerValues` beside it and is still understood.
template <typename E>
struct RawValues;

template <typename E>
QString rawValue(E value) {
  for (const auto& [candidate, raw] : RawValues<E>::values)
    if (candidate == value) return QString::fromLatin1(raw);
  return {};
}

// The case with this stored text; nothing for an unknown text.
template <typename E>
std::optional<E> fromRawValue(const QString& raw) {
  for (const auto& [candidate, text] : RawValues<E>::values)
    if (raw == QLatin1String(text)) return candidate;
  if constexpr (requires { RawValues<E>::formerValues; })
    for (const auto& [candidate, text] : RawValues<E>::formerValues)
      if (raw == QLatin1String(text)) return candidate;
  return std::nullopt;
}

// All cases, in case order.
template <typename E>
auto allCases() {
  std::array<E, RawValues<E>::values.size()> cases{};
  for (size_t i = 0; i < cases.size(); ++i) cases[i] = RawValues<E>::values[i].first;
  return cases;
}

}  // namespace quillmere
