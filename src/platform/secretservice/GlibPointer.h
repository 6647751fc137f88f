#pragma once
#include <glib-object.h>

#include <memory>
#include <utility>

namespace quillmere {

// A reference to a GObject.
template <typename T>
class GlibPointer {
 public:
  GlibPointer() = default;
  // Takes over a reference that the caller owns.
  static GlibPointer taking(T* object) {
    GlibPointer pointer;
    pointer.object_ = object;
    return pointer;
  }
  static GlibPointer sharing(T* object) { return taking(object ? static_cast<T*>(g_object_ref(object)) : nullptr); }
  GlibPointer(const GlibPointer& other) : GlibPointer(sharing(other.object_)) {}
  GlibPointer(GlibPointer&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  GlibPointer& operator=(GlibPointer other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~GlibPointer() {
    if (object_) g_object_unref(object_);
  }
  T* get() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  T* object_ = nullptr;
};

}  // namespace quillmere
