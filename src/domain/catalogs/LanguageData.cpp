#include "domain/catalogs/LanguageData.h"

#include "domain/ModeData.h"

namespace quillmere {
namespace {

struct Row {
  const char* code;
  const char* name;
};

constexpr Row baseRows[]{
    {"en", "English"},
    {"ja", "Japanese"},
    {"es", "Spanish"},
    {"zh", "Chinese"},
    {"zh-TW", "Chinese (Traditional)"},
    {"nl", "Dutch"},
    {"hi", "Hindi"},
    {"ru", "Russian"},
    {"ko", "Korean"},
    {"it", "Italian"},
    {"uk", "Ukrainian"},
    {"pl", "Polish"},
    {"pt", "Portuguese"},
    {"el", "Greek"},
    {"cs", "Czech"},
    {"sv", "Swedish"},
    {"no", "Norwegian"},
    {"da", "Danish"},
    {"id", "Indonesian"},
    {"af", "Afrikaans"},
    {"sq", "Albanian"},
    {"am", "Amharic"},
    {"ar", "Arabic"},
    {"hy", "Armenian"},
    {"as", "Assamese"},
    {"az", "Azerbaijani"},
    {"ba", "Bashkir"},
    {"eu", "Basque"},
    {"be", "Belarusian"},
    {"bn", "Bengali"},
    {"bs", "Bosnian"},
    {"br", "Breton"},
    {"bg", "Bulgarian"},
    {"yue", "Cantonese"},
    {"ca", "Catalan"},
    {"hr", "Croatian"},
    {"et", "Estonian"},
    {"fo", "Faroese"},
    {"fi", "Finnish"},
    {"fr", "French"},
    {"gl", "Galician"},
    {"ka", "Georgian"},
    {"de", "German"},
    {"gu", "Gujarati"},
    {"ht", "Haitian"},
    {"ha", "Hausa"},
    {"haw", "Hawaiian"},
    {"he", "Hebrew"},
    {"hu", "Hungarian"},
    {"is", "Icelandic"},
    {"jw", "Javanese"},
    {"kn", "Kannada"},
    {"kk", "Kazakh"},
    {"km", "Khmer"},
    {"lo", "Lao"},
    {"la", "Latin"},
    {"lv", "Latvian"},
    {"ln", "Lingala"},
    {"lt", "Lithuanian"},
    {"lb", "Luxembourgish"},
    {"mk", "Macedonian"},
    {"mg", "Malagasy"},
    {"ms", "Malay"},
    {"ml", "Malayalam"},
    {"mt", "Maltese"},
    {"mi", "Maori"},
    {"mr", "Marathi"},
    {"mn", "Mongolian"},
    {"my", "Myanmar"},
    {"ne", "Nepali"},
    {"nn", "Nynorsk"},
    {"oc", "Occitan"},
    {"ps", "Pashto"},
    {"fa", "Persian"},
    {"pa", "Punjabi"},
    {"ro", "Romanian"},
    {"sa", "Sanskrit"},
    {"sr", "Serbian"},
    {"sn", "Shona"},
    {"sd", "Sindhi"},
    {"si", "Sinhala"},
    {"sk", "Slovak"},
    {"sl", "Slovenian"},
    {"so", "Somali"},
    {"su", "Sundanese"},
    {"sw", "Swahili"},
    {"tl", "Tagalog"},
    {"tg", "Tajik"},
    {"ta", "Tamil"},
    {"tt", "Tatar"},
    {"te", "Telugu"},
    {"th", "Thai"},
    {"bo", "Tibetan"},
    {"tr", "Turkish"},
    {"tk", "Turkmen"},
    {"ur", "Urdu"},
    {"uz", "Uzbek"},
    {"vi", "Vietnamese"},
    {"cy", "Welsh"},
    {"yi", "Yiddish"},
    {"yo", "Yoruba"},
};

constexpr Row furtherRows[]{
    {"auto", "Automatic"},
    {"en-US", "English (United States)"},
    {"en-GB", "English (United Kingdom)"},
    {"en-AU", "English (Australia)"},
    {"en-IN", "English (India)"},
    {"en-NZ", "English (New Zealand)"},
    {"en-CA", "English (Canada)"},
    {"en-IE", "English (Ireland)"},
    {"es-419", "Spanish (Latin America)"},
    {"es-LATAM", "Spanish (LatAm)"},
    {"pt-BR", "Portuguese (Brazil)"},
    {"pt-PT", "Portuguese (Portugal)"},
    {"fr-CA", "French (Canada)"},
    {"da-DK", "Danish (Denmark)"},
    {"sv-SE", "Swedish (Sweden)"},
    {"nl-BE", "Dutch (Belgium)"},
    {"de-CH", "German (Switzerland)"},
    {"ko-KR", "Korean (South Korea)"},
    {"th-TH", "Thai (Thailand)"},
    {"zh-CN", "Chinese (Simplified, China)"},
    {"zh-Hans", "Chinese (Simplified)"},
    {"zh-Hant", "Chinese (Traditional)"},
    {"zh-HK", "Chinese (Hong Kong)"},
    {"hi-Latn", "Hindi (Latin)"},
    {"taq", "Tamasheq"},
};

using LanguageInfo = LanguageData::LanguageInfo;

LanguageInfo info(const Row& row) {
  return {QString::fromLatin1(row.code), QString::fromLatin1(row.name)};
}

std::vector<LanguageInfo> makeBaseLanguages() {
  std::vector<LanguageInfo> languages;
  for (const Row& row : baseRows) languages.push_back(info(row));
  return languages;
}

std::vector<LanguageInfo> makeAllLanguages() {
  std::vector<LanguageInfo> languages = makeBaseLanguages();
  for (const Row& row : furtherRows) languages.push_back(info(row));
  const auto isAutomatic = [](const LanguageInfo& language) { return language.code == QLatin1String("auto"); };
  const auto rest = std::stable_partition(languages.begin(), languages.end(), isAutomatic);
  std::stable_sort(rest, languages.end(), [](const auto& a, const auto& b) { return a.displayName < b.displayName; });
  return languages;
}

// Every normalised code and its lower-case form, to the name.
QHash<QString, QString> makeAliases() {
  QHash<QString, QString> names;
  for (const LanguageInfo& language : LanguageData::allLanguages()) {
    const QString normalized = normalizeLanguageCode(language.code);
    names.insert(normalized, language.displayName);
    names.insert(normalized.toLower(), language.displayName);
  }
  return names;
}

}  // namespace

const std::vector<LanguageInfo>& LanguageData::baseLanguages() {
  static const std::vector<LanguageInfo> languages = makeBaseLanguages();
  return languages;
}

const std::vector<LanguageInfo>& LanguageData::allLanguages() {
  static const std::vector<LanguageInfo> languages = makeAllLanguages();
  return languages;
}

std::optional<QString> LanguageData::displayName(const QString& code) {
  static const QHash<QString, QString> names = makeAliases();
  const QString normalized = normalizeLanguageCode(code);
  auto found = names.constFind(normalized);
  if (found == names.constEnd()) found = names.constFind(normalized.toLower());
  if (found == names.constEnd()) return std::nullopt;
  return *found;
}

}  // namespace quillmere
