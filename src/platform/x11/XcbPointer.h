#pragma once
#include <cstdlib>
#include <memory>

namespace quillmere {

struct XcbFree {
  void operator()(void* memory) const { std::free(memory); }
};
// What xcb hands out for the caller to free: replies, errors, events.
template <typename T>
using XcbPointer = std::unique_ptr<T, XcbFree>;

}  // namespace quillmere
