#pragma once
#include <malloc.h>

#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QUILLMERE_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QUILLMERE_SANITIZED 1
#endif

#ifdef QUILLMERE_SANITIZED
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace quillmere {

// Bytes of the heap in use by this process.
inline size_t allocatedBytes() {
#ifdef QUILLMERE_SANITIZED
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

}  // namespace quillmere
