#include "files/FileLimits.h"

#include <array>

#include "base/text/Graphemes.h"
#include "domain/ModeTypes.h"

namespace quillmere {
namespace {

struct ProviderRule {
  CloudProvider provider;
  const char* label;
  qint64 limitBytes;
  QStringList extensions;
};

const std::array<ProviderRule, 8>& rules() {
  static const QStringList wide{"mp3", "mp4", "m4a", "wav", "flac", "ogg", "webm", "aac", "opus", "wma", "amr"};
  static const QStringList whisperApi{"mp3", "mp4", "mpeg", "mpga", "m4a", "wav", "webm"};
  static const QStringList common{"mp3", "mp4", "m4a", "wav", "flac", "ogg", "webm"};
  static const std::array<ProviderRule, 8> table{{
      {CloudProvider::quillmere, "Quillmere Cloud", 2147483648, wide},
      {CloudProvider::openai, "OpenAI", 26214400, whisperApi},
      {CloudProvider::groq, "Groq", 26214400, whisperApi},
      {CloudProvider::fireworks, "Fireworks AI", 1073741824, whisperApi},
      {CloudProvider::deepgram, "Deepgram", 2147483648, wide},
      {CloudProvider::assemblyAI, "AssemblyAI", 2362232012, common},
      {CloudProvider::elevenLabs, "ElevenLabs", 3221225472, common},
      {CloudProvider::mistral, "Mistral", 104857600, common},
  }};
  return table;
}

constexpr qint64 unknownProviderLimitBytes = 26214400;
constexpr int maxFileNameBytes = 255;

bool isCloud(const Mode& mode) {
  return mode.model && mode.model->toLower() == QLatin1String("cloud");
}

const ProviderRule* ruleFor(const Mode& mode) {
  const auto provider = fromRawValue<CloudProvider>(mode.cloudProvider.value_or(QString()));
  if (!provider) return nullptr;
  for (const ProviderRule& rule : rules())
    if (rule.provider == *provider) return &rule;
  return nullptr;
}

}  // namespace

std::optional<FileTranscriptionError> refusalBySize(qint64 fileSizeBytes, const Mode* mode) {
  if (!mode || !isCloud(*mode)) return std::nullopt;
  const ProviderRule* rule = ruleFor(*mode);
  const qint64 limit = rule ? rule->limitBytes : unknownProviderLimitBytes;
  if (fileSizeBytes <= limit) return std::nullopt;
  const QString label = rule ? QString::fromLatin1(rule->label) : QStringLiteral("Cloud Provider");
  return FileTranscriptionError{FileTranscriptionError::FileTooLarge{fileSizeBytes, limit, label}};
}

FormatCheck checkFormat(const QString& extension, const Mode* mode) {
  FormatCheck check;
  check.format = extension.toLower();
  if (!mode) return check;
  if (!isCloud(*mode)) {
    check.verdict = FormatCheck::Verdict::skippedLocal;
    return check;
  }
  const ProviderRule* rule = ruleFor(*mode);
  if (!rule) return check;
  check.providerName = QString::fromLatin1(rule->label);
  check.supportedFormats = rule->extensions;
  check.supportedFormats.sort();
  check.verdict =
      rule->extensions.contains(check.format) ? FormatCheck::Verdict::supported : FormatCheck::Verdict::unsupported;
  return check;
}

QString importedFileName(qint64 secondsSinceEpoch, const QString& originalBaseName, const QString& extension) {
  QString base = originalBaseName;
  base.remove(QChar(QChar::ReplacementCharacter));
  base.remove(QChar(u'/')).remove(QChar(u'\0'));
  QString tail = extension;
  tail.remove(QChar(QChar::ReplacementCharacter));
  if (!tail.isEmpty()) tail.prepend(u'.');
  const QString head = QStringLiteral("imported_%1_").arg(secondsSinceEpoch);
  // Room for "_trimmed" and a change of extension after the name.
  const int room = maxFileNameBytes - int(head.toUtf8().size()) - int(tail.toUtf8().size()) - 16;
  while (!base.isEmpty() && base.toUtf8().size() > room) base = leftGraphemes(base, graphemeCount(base) - 1);
  return head + base + tail;
}

}  // namespace quillmere
