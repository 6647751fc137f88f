#pragma once
#include <QString>
#include <optional>

namespace quillmere {

// What the engine's code asks of an x86-64 processor.
struct EngineProcessor {
  bool sse42 = false;
  bool avx = false;
  bool avx2 = false;
  bool fma = false;
  bool f16c = false;
  bool bmi2 = false;

  // This machine's. On other architectures everything is there.
  static EngineProcessor current();
  // The sentence for the user that names what is missing; none when nothing is.
  std::optional<QString> unsupported() const;
};

}  // namespace quillmere
