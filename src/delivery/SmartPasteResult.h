#pragma once
#include <optional>

#include "domain/Errors.h"

namespace quillmere {

struct SmartPasteResult {
  enum class Kind {
    success,
    noPermission,
    noFocusedField,
    secureField,
    notFetched,  // the keystroke was sent and nobody asked for the text
    failed
  };
  Kind kind = Kind::success;
  std::optional<AnyError> error;  // of `failed`

  static SmartPasteResult failed(AnyError error) { return {Kind::failed, std::move(error)}; }
  bool operator==(const SmartPasteResult&) const = default;
};

}  // namespace quillmere
