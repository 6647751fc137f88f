#pragma once
#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

namespace quillmere {

template <typename E>
bool sortOrderBefore(const std::shared_ptr<E>& a, const std::shared_ptr<E>& b) {
  return a->sortOrder.value_or(0) < b->sortOrder.value_or(0);
}

// One above the highest. Where the 16 bits are used up the entries are numbered anew first, in their present order.
template <typename E>
qint16 nextSortOrder(std::vector<std::shared_ptr<E>> objects) {
  constexpr qint16 highest = std::numeric_limits<qint16>::max();
  if (objects.empty()) return 1;
  std::stable_sort(objects.begin(), objects.end(), &sortOrderBefore<E>);
  const qint16 last = objects.back()->sortOrder.value_or(0);
  if (last < highest) return static_cast<qint16>(last + 1);
  qint16 number = 0;
  for (const auto& object : objects) object->sortOrder = number < highest ? ++number : highest;
  return number < highest ? static_cast<qint16>(number + 1) : highest;
}

// For one that is in the list already.
template <typename E>
qint16 nextSortOrder(std::vector<std::shared_ptr<E>> objects, const std::shared_ptr<E>& ofThis) {
  std::erase(objects, ofThis);
  return nextSortOrder(std::move(objects));
}

}  // namespace quillmere
