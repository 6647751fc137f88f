#pragma once
#include <QMap>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <optional>

#include "domain/RawValue.h"

namespace quillmere {

// The models of the catalogue, in table order.
enum class WhisperModel {
  tiny,
  tinyEn,
  base,
  baseEn,
  small,
  smallEn,
  medium,
  mediumEn,
  largeV2,
  largeV3,
  largeV3Turbo
};

template <>
struct RawValues<WhisperModel> {
  using E = WhisperModel;
  static constexpr std::array values{std::pair{E::tiny, "tiny"},
                                     std::pair{E::tinyEn, "tiny.en"},
                                     std::pair{E::base, "base"},
                                     std::pair{E::baseEn, "base.en"},
                                     std::pair{E::small, "small"},
                                     std::pair{E::smallEn, "small.en"},
                                     std::pair{E::medium, "medium"},
                                     std::pair{E::mediumEn, "medium.en"},
                                     std::pair{E::largeV2, "large-v2"},
                                     std::pair{E::largeV3, "large-v3"},
                                     std::pair{E::largeV3Turbo, "large-v3_turbo"}};
};

QString fileName(WhisperModel model);          // "ggml-tiny.bin"
QString tableDisplayName(WhisperModel model);  // "Tiny (Multilingual)"
// The user's own name for the model where `overrides` (the setting "modelDisplayNames") has one.
QString displayName(WhisperModel model, const QMap<QString, QString>& overrides);
qint64 sizeInBytes(WhisperModel model);  // of the file
QString modelSizeText(qint64 bytes);     // "78 MB", "1.6 GB": decimal, as the model hub and file managers count
bool isEnglishOnly(WhisperModel model);
bool knowsCantonese(WhisperModel model);
QString expectedSha256(WhisperModel model);  // lower-case hexadecimal
std::optional<WhisperModel> whisperModelForFileName(const QString& fileName);
// "ggml-base.en" -> baseEn, "whisper-large-v3-turbo-custom" -> largeV3Turbo; nothing when no rule hits.
std::optional<WhisperModel> lenientWhisperModel(const QString& text);

// One known or found model. `url` is absent for a model that isn't on the disk.
struct WhisperCppModel {
  QUuid id;
  QString name;
  QString displayName;
  QString filename;
  QString size;
  qint64 sizeInBytes = 0;
  bool isEnglishOnly = false;
  bool knowsCantonese = false;
  std::optional<QUrl> url;
  bool operator==(const WhisperCppModel&) const = default;
};

}  // namespace quillmere
