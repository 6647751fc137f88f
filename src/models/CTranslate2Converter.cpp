#include "models/CTranslate2Converter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFloat16>
#include <QtEndian>
#include <bit>
#include <cerrno>

#include "base/math/MelFilterBank.h"
#include "base/text/LocalizedText.h"
#include "models/CTranslate2Model.h"
#include "models/WhisperVocabulary.h"

namespace quillmere {
namespace {

using Tensor = CTranslate2Model::Tensor;
using Type = CTranslate2Model::Type;
using Shape = std::vector<qint64>;

constexpr qint64 kPieceBytes = 1 << 20;
constexpr qint64 kMaximumVocabularyBytes = 64 << 20;
constexpr qint32 kMagic = 0x67676d6c;
constexpr qint32 kSixteenBit = 1;
constexpr int kTransformLength = 400;  // of the sound, in samples

PlatformError modelError(int code, const char* key, const QString& name) {
  return {QStringLiteral("models"), code, localizedText(key, name)};
}

PlatformError errorFor(CTranslate2Model::Fault fault, const QString& name) {
  switch (fault) {
    case CTranslate2Model::Fault::unreadable:
      return modelError(EIO, "models.file.error.unreadable", name);
    case CTranslate2Model::Fault::foreign:
      return modelError(EINVAL, "models.import.error.folderForeign", name);
    case CTranslate2Model::Fault::unknownVersion:
      return modelError(EINVAL, "models.import.error.folderVersion", name);
    case CTranslate2Model::Fault::truncated:
      return modelError(EINVAL, "models.file.error.truncated", name);
    case CTranslate2Model::Fault::damaged:
      return modelError(EINVAL, "models.file.error.damaged", name);
    case CTranslate2Model::Fault::quantised:
      return modelError(EINVAL, "models.import.error.quantised", name);
  }
  return {};
}

// Keeps the first error; after one, nothing is written any more.
class Conversion {
 public:
  Conversion(QFile& file, CTranslate2Model model, QString name, const CTranslate2Converter::Sink& sink,
             const std::function<void(double)>& progress)
      : file_(file), model_(std::move(model)), name_(std::move(name)), sink_(sink), progress_(progress) {}

  bool isEnglishOnly() {
    readDimensions();
    return vocabularySize_ < 51865;
  }

  Result<CTranslate2Converter::Outcome, PlatformError> write(const QList<QByteArray>& words) {
    writeHeader(words);
    put("decoder.positional_embedding", "decoder/position_encodings/encodings", {textContext_, width_}, true);
    put("encoder.positional_embedding", "encoder/position_encodings/encodings", {audioContext_, width_}, true);
    put("decoder.token_embedding.weight", "decoder/embeddings/weight", {vocabularySize_, width_}, false);
    for (qint64 i = 0; i < textLayers_; ++i) putBlock("decoder", i, true);
    putNorm("decoder.ln", "decoder/layer_norm");
    putConvolution("encoder.conv1", "encoder/conv1", melBands_);
    putConvolution("encoder.conv2", "encoder/conv2", width_);
    for (qint64 i = 0; i < audioLayers_; ++i) putBlock("encoder", i, false);
    putNorm("encoder.ln_post", "encoder/layer_norm");
    if (error_) return Failed{*error_};
    return isEnded_ ? CTranslate2Converter::Outcome::endedBySink : CTranslate2Converter::Outcome::complete;
  }

  const std::optional<PlatformError>& error() const { return error_; }

 private:
  bool isGood() const { return !error_ && !isEnded_; }
  void fail(int code, const char* key) {
    if (!error_) error_ = modelError(code, key, name_);
  }
  void failDamaged() { fail(EINVAL, "models.file.error.damaged"); }

  void readDimensions() {
    const auto dimension = [&](const char* tensor, std::size_t rank, std::size_t axis) -> qint64 {
      const Tensor* found = model_.find(tensor);
      if (found && found->shape.size() == rank && found->shape[axis] > 0) return found->shape[axis];
      failDamaged();
      return 0;
    };
    vocabularySize_ = dimension("decoder/embeddings/weight", 2, 0);
    width_ = dimension("decoder/embeddings/weight", 2, 1);
    audioContext_ = dimension("encoder/position_encodings/encodings", 2, 0);
    textContext_ = dimension("decoder/position_encodings/encodings", 2, 0);
    melBands_ = dimension("encoder/conv1/weight", 3, 1);
    if (melBands_ != 80 && melBands_ != 128) failDamaged();
    audioHeads_ = readNumber("encoder/num_heads");
    textHeads_ = readNumber("decoder/num_heads");
    if (audioHeads_ < 1 || textHeads_ < 1) failDamaged();
    audioLayers_ = countLayers("encoder");
    textLayers_ = countLayers("decoder");
  }

  qint64 countLayers(const QByteArray& side) const {
    qint64 count = 0;
    while (model_.find(side + "/layer_" + QByteArray::number(count) + "/self_attention/linear_0/weight")) ++count;
    return count;
  }

  qint64 readNumber(const char* name) {
    const Tensor* tensor = model_.find(name);
    QByteArray bytes;
    if (tensor && tensor->bytes <= 4 && file_.seek(tensor->offset)) bytes = file_.read(tensor->bytes);
    if (!bytes.isEmpty() && bytes.size() == tensor->bytes) {
      if (tensor->type == Type::int8) return static_cast<qint8>(bytes[0]);
      if (tensor->type == Type::int16) return qFromLittleEndian<qint16>(bytes.constData());
      if (tensor->type == Type::int32) return qFromLittleEndian<qint32>(bytes.constData());
    }
    failDamaged();
    return 0;
  }

  void emitBytes(const void* data, qint64 bytes) {
    if (isGood() && !sink_(static_cast<const char*>(data), bytes)) isEnded_ = true;
  }
  void emitInteger(qint64 value) {
    const auto little = qToLittleEndian(static_cast<qint32>(value));
    emitBytes(&little, sizeof little);
  }

  void writeHeader(const QList<QByteArray>& words) {
    for (const qint64 value : {qint64(kMagic), vocabularySize_, audioContext_, width_, audioHeads_, audioLayers_,
                               textContext_, width_, textHeads_, textLayers_, melBands_, qint64(kSixteenBit)}) {
      emitInteger(value);
    }
    const std::vector<float> bank = melFilterBank(static_cast<int>(melBands_), kTransformLength);
    emitInteger(melBands_);
    emitInteger(static_cast<qint64>(bank.size()) / melBands_);
    for (const float weight : bank) {
      const float little = qToLittleEndian(weight);
      emitBytes(&little, sizeof little);
    }
    emitInteger(words.size());
    for (const QByteArray& word : words) {
      emitInteger(word.size());
      emitBytes(word.constData(), word.size());
    }
  }

  // Writes `count` rows from `first` on (all without a count) of a tensor that must have the shape `shape`; `isWide`
  // makes them 32-bit. `written` is the shape that the result names where it differs.
  void put(const QByteArray& target, const QByteArray& source, const Shape& shape, bool isWide, qint64 first = 0,
           qint64 count = -1, Shape written = {}) {
    const Tensor* tensor = model_.find(source);
    if (!tensor || tensor->shape != shape) return failDamaged();
    if (tensor->type != Type::float16 && tensor->type != Type::float32)
      return fail(EINVAL, "models.import.error.numberFormat");
    if (!isGood()) return;
    const qint64 rowBytes = tensor->bytes / shape[0];
    if (count < 0) count = shape[0];
    if (written.empty()) {
      written = shape;
      written[0] = count;
    }
    emitInteger(static_cast<qint64>(written.size()));
    emitInteger(target.size());
    emitInteger(isWide ? 0 : kSixteenBit);
    for (auto length = written.rbegin(); length != written.rend(); ++length) emitInteger(*length);
    emitBytes(target.constData(), target.size());
    copy(tensor->type, isWide, tensor->offset + first * rowBytes, count * rowBytes);
  }

  void copy(Type type, bool isWide, qint64 offset, qint64 bytes) {
    if (isGood() && !file_.seek(offset)) fail(EIO, "models.file.error.unreadable");
    QByteArray piece;
    while (bytes > 0 && isGood()) {
      piece = file_.read(std::min(bytes, kPieceBytes));
      // A device may give less than it was asked for, but never half a number of a file.
      if (piece.isEmpty() || piece.size() % 4 != std::min(bytes, kPieceBytes) % 4)
        return fail(EIO, "models.file.error.unreadable");
      bytes -= piece.size();
      bytesRead_ += piece.size();
      if (type == Type::float16 && isWide) {
        emitConverted<qfloat16, float, quint16, quint32>(piece);
      } else if (type == Type::float32 && !isWide) {
        emitConverted<float, qfloat16, quint32, quint16>(piece);
      } else {
        emitBytes(piece.constData(), piece.size());
      }
      if (progress_) progress_(static_cast<double>(bytesRead_) / static_cast<double>(file_.size()));
    }
  }

  template <typename From, typename To, typename FromBits, typename ToBits>
  void emitConverted(const QByteArray& piece) {
    const auto count = piece.size() / static_cast<qsizetype>(sizeof(From));
    QByteArray result(count * static_cast<qsizetype>(sizeof(To)), Qt::Uninitialized);
    for (qsizetype i = 0; i < count; ++i) {
      const auto bits = qFromLittleEndian<FromBits>(piece.constData() + i * static_cast<qsizetype>(sizeof(From)));
      const To value(std::bit_cast<From>(bits));
      qToLittleEndian(std::bit_cast<ToBits>(value), result.data() + i * static_cast<qsizetype>(sizeof(To)));
    }
    emitBytes(result.constData(), result.size());
  }

  void putNorm(const QByteArray& target, const QByteArray& source) {
    put(target + ".weight", source + "/gamma", {width_}, true);
    put(target + ".bias", source + "/beta", {width_}, true);
  }
  void putLinear(const QByteArray& target, const QByteArray& source, qint64 outputs, qint64 inputs) {
    put(target + ".weight", source + "/weight", {outputs, inputs}, false);
    put(target + ".bias", source + "/bias", {outputs}, true);
  }
  void putConvolution(const QByteArray& target, const QByteArray& source, qint64 inputs) {
    put(target + ".weight", source + "/weight", {width_, inputs, 3}, false);
    put(target + ".bias", source + "/bias", {width_}, true, 0, -1, {width_, 1});
  }
  // Self attention keeps query, key and value in one matrix, cross attention keeps the query apart. The key's bias,
  // always zero, has no place in the result.
  void putAttention(const QByteArray& target, const QByteArray& source, bool isCross) {
    const QByteArray query = source + "/linear_0";
    const QByteArray keyValue = source + (isCross ? "/linear_1" : "/linear_0");
    const qint64 queryRows = isCross ? width_ : 3 * width_;
    const qint64 keyValueRows = isCross ? 2 * width_ : 3 * width_;
    const qint64 key = isCross ? 0 : width_;
    put(target + ".query.weight", query + "/weight", {queryRows, width_}, false, 0, width_);
    put(target + ".query.bias", query + "/bias", {queryRows}, true, 0, width_);
    put(target + ".key.weight", keyValue + "/weight", {keyValueRows, width_}, false, key, width_);
    put(target + ".value.weight", keyValue + "/weight", {keyValueRows, width_}, false, key + width_, width_);
    put(target + ".value.bias", keyValue + "/bias", {keyValueRows}, true, key + width_, width_);
    putLinear(target + ".out", source + (isCross ? "/linear_2" : "/linear_1"), width_, width_);
  }
  void putBlock(const QByteArray& side, qint64 layer, bool isDecoder) {
    const QByteArray target = side + ".blocks." + QByteArray::number(layer);
    const QByteArray source = side + "/layer_" + QByteArray::number(layer);
    putNorm(target + ".mlp_ln", source + "/ffn/layer_norm");
    putLinear(target + ".mlp.0", source + "/ffn/linear_0", 4 * width_, width_);
    putLinear(target + ".mlp.2", source + "/ffn/linear_1", width_, 4 * width_);
    putNorm(target + ".attn_ln", source + "/self_attention/layer_norm");
    putAttention(target + ".attn", source + "/self_attention", false);
    if (!isDecoder) return;
    putNorm(target + ".cross_attn_ln", source + "/attention/layer_norm");
    putAttention(target + ".cross_attn", source + "/attention", true);
  }

  QFile& file_;
  CTranslate2Model model_;
  QString name_;
  const CTranslate2Converter::Sink& sink_;
  const std::function<void(double)>& progress_;
  qint64 vocabularySize_ = 0, width_ = 0, audioContext_ = 0, textContext_ = 0, melBands_ = 0;
  qint64 audioHeads_ = 0, textHeads_ = 0, audioLayers_ = 0, textLayers_ = 0;
  qint64 bytesRead_ = 0;
  std::optional<PlatformError> error_;
  bool isEnded_ = false;
};

// The words of the first vocabulary file there is.
Result<QList<QByteArray>, PlatformError> readVocabulary(const QDir& folder, bool isEnglishOnly) {
  using Reader = std::optional<QList<QByteArray>> (*)(const QByteArray&, bool);
  const std::pair<const char*, Reader> kinds[] = {{"tokenizer.json", &WhisperVocabulary::fromTokenizerJson},
                                                  {"vocabulary.json", &WhisperVocabulary::fromVocabularyJson},
                                                  {"vocabulary.txt", &WhisperVocabulary::fromVocabularyText}};
  for (const auto& [name, parse] : kinds) {
    QFile file(folder.filePath(QString::fromLatin1(name)));
    if (!file.exists()) continue;
    const QString shown = folder.dirName() + QLatin1Char('/') + QString::fromLatin1(name);
    if (!file.open(QIODevice::ReadOnly)) return Failed{modelError(EACCES, "models.file.error.unreadable", shown)};
    if (file.size() <= kMaximumVocabularyBytes) {
      if (auto words = parse(file.readAll(), isEnglishOnly)) return *std::move(words);
    }
    return Failed{modelError(EINVAL, "models.import.error.vocabularyDamaged", shown)};
  }
  return Failed{modelError(ENOENT, "models.import.error.vocabularyMissing", folder.dirName())};
}

}  // namespace

Result<CTranslate2Converter::Outcome, PlatformError> CTranslate2Converter::convert(
    const QString& folder, const Sink& sink, const std::function<void(double)>& progress) {
  const QDir directory(folder);
  QFile file(directory.filePath(QStringLiteral("model.bin")));
  const QString name = directory.dirName() + QStringLiteral("/model.bin");
  if (!file.exists()) return Failed{modelError(ENOENT, "models.import.error.folderForeign", directory.dirName())};
  if (!file.open(QIODevice::ReadOnly)) return Failed{modelError(EACCES, "models.file.error.unreadable", name)};
  auto model = CTranslate2Model::read(file);
  if (!model) return Failed{errorFor(model.error(), name)};
  Conversion conversion(file, std::move(model).value(), name, sink, progress);
  const bool isEnglishOnly = conversion.isEnglishOnly();
  if (conversion.error()) return Failed{*conversion.error()};
  TRY(const auto words, readVocabulary(directory, isEnglishOnly));
  return conversion.write(words);
}

}  // namespace quillmere
