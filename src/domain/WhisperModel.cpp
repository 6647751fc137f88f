#include "domain/WhisperModel.h"

namespace quillmere {
namespace {

struct Row {
  WhisperModel model;
  const char* fileName;
  const char* displayName;
  qint64 sizeInBytes;
  const char* sha256;
};

using M = WhisperModel;
constexpr std::array rows{
    Row{M::tiny, "ggml-tiny.bin", "Tiny (Multilingual)", 77'691'713,
        "be07e048e1e599ad46341c8d2a135645097a538221678b7acdd1b1919c6e1b21"},
    Row{M::tinyEn, "ggml-tiny.en.bin", "Tiny (English-only)", 77'704'715,
        "921e4cf8686fdd993dcd081a5da5b6c365bfde1162e72b08d75ac75289920b1f"},
    Row{M::base, "ggml-base.bin", "Base (Multilingual)", 147'951'465,
        "60ed5bc3dd14eea856493d334349b405782ddcaf0028d4b5df4088345fba2efe"},
    Row{M::baseEn, "ggml-base.en.bin", "Base (English-only)", 147'964'211,
        "a03779c86df3323075f5e796cb2ce5029f00ec8869eee3fdfb897afe36c6d002"},
    Row{M::small, "ggml-small.bin", "Small (Multilingual)", 487'601'967,
        "1be3a9b2063867b937e64e2ec7483364a79917e157fa98c5d94b5c1fffea987b"},
    Row{M::smallEn, "ggml-small.en.bin", "Small (English-only)", 487'614'201,
        "c6138d6d58ecc8322097e0f987c32f1be8bb0a18532a3f88f734d1bbf9c41e5d"},
    Row{M::medium, "ggml-medium.bin", "Medium (Multilingual)", 1'533'763'059,
        "6c14d5adee5f86394037b4e4e8b59f1673b6cee10e3cf0b11bbdbee79c156208"},
    Row{M::mediumEn, "ggml-medium.en.bin", "Medium (English-only)", 1'533'774'781,
        "cc37e93478338ec7700281a7ac30a10128929eb8f427dda2e865faa8f6da4356"},
    Row{M::largeV2, "ggml-large-v2.bin", "Large v2", 3'094'623'691,
        "9a423fe4d40c82774b6af34115b8b935f34152246eb19e80e376071d3f999487"},
    Row{M::largeV3, "ggml-large-v3.bin", "Large v3", 3'095'033'483,
        "64d182b440b98d5203c4f9bd541544d84c605196c4f7b845dfa11fb23594d1e2"},
    Row{M::largeV3Turbo, "ggml-large-v3-turbo.bin", "Large v3 Turbo", 1'624'555'275,
        "1fc70f774d38eb169993ac391eea357ef47c88757ef72ee5943879b7e8e2bc69"},
};

constexpr bool isInCaseOrder() {
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].model != RawValues<WhisperModel>::values[i].first || static_cast<size_t>(rows[i].model) != i)
      return false;
  return rows.size() == RawValues<WhisperModel>::values.size();
}
static_assert(isInCaseOrder());

const Row& row(WhisperModel model) {
  return rows[static_cast<size_t>(model)];
}

}  // namespace

QString fileName(WhisperModel model) {
  return QString::fromLatin1(row(model).fileName);
}

QString tableDisplayName(WhisperModel model) {
  return QString::fromLatin1(row(model).displayName);
}

QString displayName(WhisperModel model, const QMap<QString, QString>& overrides) {
  const auto found = overrides.constFind(rawValue(model));
  return found == overrides.constEnd() ? tableDisplayName(model) : *found;
}

qint64 sizeInBytes(WhisperModel model) {
  return row(model).sizeInBytes;
}

QString modelSizeText(qint64 bytes) {
  constexpr double megabyte = 1e6;
  constexpr double gigabyte = 1e9;
  const auto size = static_cast<double>(bytes);
  return size >= gigabyte ? QString::number(size / gigabyte, 'f', 1) + QStringLiteral(" GB")
                          : QString::number(size / megabyte, 'f', 0) + QStringLiteral(" MB");
}

bool isEnglishOnly(WhisperModel model) {
  return rawValue(model).endsWith(QLatin1String(".en"));
}

bool knowsCantonese(WhisperModel model) {
  return model == M::largeV3 || model == M::largeV3Turbo;
}

QString expectedSha256(WhisperModel model) {
  return QString::fromLatin1(row(model).sha256);
}

std::optional<WhisperModel> whisperModelForFileName(const QString& name) {
  for (const Row& candidate : rows)
    if (name == QLatin1String(candidate.fileName)) return candidate.model;
  return std::nullopt;
}

std::optional<WhisperModel> lenientWhisperModel(const QString& text) {
  if (const auto exact = fromRawValue<WhisperModel>(text)) return exact;
  const QString lower = text.toLower();
  const auto contains = [&](const char* part) { return lower.contains(QLatin1String(part)); };
  if (contains(".en")) {
    if (contains("tiny")) return M::tinyEn;
    if (contains("base")) return M::baseEn;
    if (contains("small")) return M::smallEn;
    if (contains("medium")) return M::mediumEn;
  }
  if (contains("large-v3_turbo") || contains("large-v3-turbo")) return M::largeV3Turbo;
  if (contains("large-v3")) return M::largeV3;
  if (contains("large-v2") || contains("large_v2")) return M::largeV2;
  if (contains("tiny")) return M::tiny;
  if (contains("base")) return M::base;
  if (contains("small")) return M::small;
  if (contains("medium")) return M::medium;
  if (contains("large")) return M::largeV3;
  return std::nullopt;
}

}  // namespace quillmere
