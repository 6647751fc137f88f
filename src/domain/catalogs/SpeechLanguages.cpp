#include "domain/catalogs/SpeechLanguages.h"

#include <algorithm>

#include "domain/ModeData.h"
#include "domain/catalogs/LanguageData.h"

namespace quillmere {
namespace {

QString plainCode(const QString& code) {
  return normalizeLanguageCode(code).section(u'-', 0, 0);
}

bool isPlainSpeechLanguage(const QString& plain) {
  return plain == QLatin1String("auto") ||
         std::ranges::any_of(LanguageData::baseLanguages(), [&](const auto& known) { return known.code == plain; });
}

}  // namespace

bool isSpeechLanguage(const QString& code) {
  return isPlainSpeechLanguage(plainCode(code));
}

bool knowsLanguage(const WhisperCppModel& model, const QString& code) {
  const QString plain = plainCode(code);
  if (plain == QLatin1String("auto")) return true;
  if (model.isEnglishOnly) return plain == QLatin1String("en");
  if (plain == QLatin1String("yue")) return model.knowsCantonese;
  return isPlainSpeechLanguage(plain);
}

}  // namespace quillmere
