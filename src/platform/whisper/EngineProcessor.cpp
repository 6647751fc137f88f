#include "platform/whisper/EngineProcessor.h"

#include <QStringList>

#include "base/text/LocalizedText.h"

#if defined(__x86_64__) && defined(QUILLMERE_WHISPER_GRAPH_HOOK)
#include <cpuid.h>
#endif

namespace quillmere {

EngineProcessor EngineProcessor::current() {
#if defined(__x86_64__) && defined(QUILLMERE_WHISPER_GRAPH_HOOK)
  __builtin_cpu_init();
  EngineProcessor processor;
  processor.sse42 = __builtin_cpu_supports("sse4.2");
  processor.avx = __builtin_cpu_supports("avx");
  processor.avx2 = __builtin_cpu_supports("avx2");
  processor.fma = __builtin_cpu_supports("fma");
  processor.bmi2 = __builtin_cpu_supports("bmi2");
  // Not every compiler's builtin knows this one. Its registers are those of AVX.
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  processor.f16c = processor.avx && __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_F16C) != 0;
  return processor;
#else
  return {true, true, true, true, true, true};
#endif
}

std::optional<QString> EngineProcessor::unsupported() const {
  QStringList missing;
  const auto need = [&](bool isThere, const char* name) {
    if (!isThere) missing.append(QString::fromLatin1(name));
  };
  need(sse42, "SSE 4.2");
  need(avx, "AVX");
  need(avx2, "AVX2");
  need(fma, "FMA");
  need(f16c, "F16C");
  need(bmi2, "BMI2");
  if (missing.isEmpty()) return std::nullopt;
  return localizedText("speech.processor.unsupported", missing.join(QStringLiteral(", ")));
}

}  // namespace quillmere
