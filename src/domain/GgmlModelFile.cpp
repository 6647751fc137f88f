#include "domain/GgmlModelFile.h"

#include <QIODevice>
#include <QtEndian>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "base/text/LocalizedText.h"

namespace quillmere {
namespace {

using Kind = GgmlModelFault::Kind;

constexpr quint32 kMagic = 0x67676d6c;
constexpr int kMaximumWordBytes = 1024;

// Numbers of the library for types of tensors.
struct TensorType {
  int id;
  int blockLength;
  int blockBytes;
};
constexpr TensorType kFloat32{0, 1, 4};
constexpr TensorType kFloat16{1, 1, 2};

// The type of the big matrices in a file of this type.
std::optional<TensorType> matrixType(int fileType) {
  switch (fileType) {
    case 0:
      return kFloat32;
    case 1:
      return kFloat16;
    case 2:
      return TensorType{2, 32, 18};
    case 3:
      return TensorType{3, 32, 20};
    case 7:
      return TensorType{8, 32, 34};
    case 8:
      return TensorType{6, 32, 22};
    case 9:
      return TensorType{7, 32, 24};
    case 10:
      return TensorType{10, 256, 84};
    case 11:
      return TensorType{11, 256, 110};
    case 12:
      return TensorType{12, 256, 144};
    case 13:
      return TensorType{13, 256, 176};
    case 14:
      return TensorType{14, 256, 210};
    default:
      return std::nullopt;
  }
}

struct ExpectedTensor {
  TensorType type;
  std::array<qint64, 3> shape;  // innermost first
  bool seen = false;

  qint64 bytes() const { return shape[0] / type.blockLength * type.blockBytes * shape[1] * shape[2]; }
};

using ExpectedTensors = std::map<std::string, ExpectedTensor>;

ExpectedTensors expectedTensors(const GgmlModelFile& file, TensorType matrix) {
  ExpectedTensors all;
  const TensorType convolution = matrix.id == kFloat32.id ? kFloat32 : kFloat16;
  const qint64 width = file.width;
  const auto add = [&](const std::string& name, TensorType type, qint64 inner, qint64 middle = 1, qint64 outer = 1) {
    all[name] = {type, {inner, middle, outer}};
  };
  const auto norm = [&](const std::string& name) {
    add(name + ".weight", kFloat32, width);
    add(name + ".bias", kFloat32, width);
  };
  const auto attention = [&](const std::string& name) {
    norm(name + "_ln");
    for (const char* part : {".query", ".key", ".value", ".out"}) {
      add(name + part + ".weight", matrix, width, width);
      if (std::strcmp(part, ".key") != 0) add(name + part + ".bias", kFloat32, width);
    }
  };
  const auto block = [&](const std::string& name, bool isDecoder) {
    attention(name + ".attn");
    if (isDecoder) attention(name + ".cross_attn");
    norm(name + ".mlp_ln");
    add(name + ".mlp.0.weight", matrix, width, 4 * width);
    add(name + ".mlp.0.bias", kFloat32, 4 * width);
    add(name + ".mlp.2.weight", matrix, 4 * width, width);
    add(name + ".mlp.2.bias", kFloat32, width);
  };
  add("encoder.positional_embedding", kFloat32, width, file.audioContext);
  add("encoder.conv1.weight", convolution, 3, file.melBands, width);
  add("encoder.conv1.bias", kFloat32, 1, width);
  add("encoder.conv2.weight", convolution, 3, width, width);
  add("encoder.conv2.bias", kFloat32, 1, width);
  norm("encoder.ln_post");
  for (int i = 0; i < file.audioLayers; ++i) block("encoder.blocks." + std::to_string(i), false);
  add("decoder.positional_embedding", kFloat32, width, file.textContext);
  add("decoder.token_embedding.weight", matrix, width, file.vocabularySize);
  norm("decoder.ln");
  for (int i = 0; i < file.textLayers; ++i) block("decoder.blocks." + std::to_string(i), true);
  return all;
}

// Reads forward and keeps the first fault; after one, every read gives zeros.
class Walker {
 public:
  explicit Walker(QIODevice& device) : device_(device), size_(device.size()) {}

  void fail(Kind kind, const QString& detail) {
    if (!fault_) fault_ = GgmlModelFault{kind, detail};
  }
  void require(bool holds, const char* detail) {
    if (!holds) fail(Kind::damaged, QString::fromLatin1(detail));
  }
  bool isGood() const { return !fault_; }
  const std::optional<GgmlModelFault>& fault() const { return fault_; }
  qint64 left() const { return size_ - position_; }

  void read(void* target, qint64 bytes) {
    std::memset(target, 0, static_cast<std::size_t>(bytes));
    if (!isFollowedBy(bytes)) return;
    if (device_.read(static_cast<char*>(target), bytes) != bytes) return fail(Kind::unreadable, device_.errorString());
    position_ += bytes;
  }
  void skip(qint64 bytes) {
    if (!isFollowedBy(bytes)) return;
    // A seek throws the device's buffer away, which for 50,000 words costs more than reading the model.
    std::array<char, 256> dropped;
    if (bytes <= static_cast<qint64>(dropped.size()) && isGood()) return read(dropped.data(), bytes);
    if (!device_.seek(position_ + bytes)) return fail(Kind::unreadable, device_.errorString());
    position_ += bytes;
  }
  qint32 integer() {
    qint32 value = 0;
    read(&value, sizeof value);
    return qFromLittleEndian(value);
  }

 private:
  bool isFollowedBy(qint64 bytes) {
    if (left() < bytes) fail(Kind::truncated, QStringLiteral("ends after %1 bytes").arg(size_));
    return isGood();
  }

  QIODevice& device_;
  qint64 size_;
  qint64 position_ = 0;
  std::optional<GgmlModelFault> fault_;
};

void readMagic(Walker& walker) {
  if (walker.left() == 0) return walker.fail(Kind::empty, QStringLiteral("no bytes"));
  if (walker.left() < 4 || static_cast<quint32>(walker.integer()) != kMagic) {
    walker.fail(Kind::foreign, QStringLiteral("no ggml magic number"));
  }
}

GgmlModelFile readDimensions(Walker& walker) {
  GgmlModelFile file;
  int textWidth = 0;
  for (int* field :
       {&file.vocabularySize, &file.audioContext, &file.width, &file.audioHeads, &file.audioLayers, &file.textContext,
        &textWidth, &file.textHeads, &file.textLayers, &file.melBands, &file.fileType}) {
    *field = walker.integer();
  }
  // Voice activity and Parakeet models share the magic number; their first fields are far from these.
  if (file.vocabularySize < 51864 || file.vocabularySize > 60000 || file.audioContext != 1500) {
    walker.fail(
        Kind::foreign,
        QStringLiteral("vocabulary of %1, audio context of %2").arg(file.vocabularySize).arg(file.audioContext));
  }
  walker.require(file.width >= 16 && file.width <= 4096 && textWidth == file.width, "width of the states");
  for (const int heads : {file.audioHeads, file.textHeads}) {
    walker.require(heads >= 1 && heads <= 128 && file.width % heads == 0 && file.width / heads % 8 == 0,
                   "number of heads");
  }
  for (const int layers : {file.audioLayers, file.textLayers})
    walker.require(layers >= 1 && layers <= 64, "number of layers");
  walker.require(file.textContext == 448, "text context");
  walker.require(file.melBands == 80 || file.melBands == 128, "number of mel bands");
  // The thousands are the version of the quantisation.
  walker.require(file.fileType >= 0 && file.fileType < 3000, "file type");
  file.fileType %= 1000;
  return file;
}

void readMelBank(Walker& walker, int melBands) {
  constexpr int bins = 201;
  walker.require(walker.integer() == melBands && walker.integer() == bins, "mel bank");
  if (!walker.isGood()) return;
  std::vector<float> bank(static_cast<std::size_t>(melBands) * bins);
  walker.read(bank.data(), static_cast<qint64>(bank.size() * sizeof(float)));
  for (const float weight : bank) walker.require(std::isfinite(qFromLittleEndian(weight)), "mel bank");
}

int readWords(Walker& walker, int vocabularySize) {
  const int count = walker.integer();
  walker.require(count > 0 && count <= vocabularySize, "number of words");
  for (int i = 0; i < count && walker.isGood(); ++i) {
    const int length = walker.integer();
    walker.require(length >= 0 && length <= kMaximumWordBytes, "length of a word");
    walker.skip(length);
  }
  return count;
}

int readTensors(Walker& walker, ExpectedTensors expected) {
  int count = 0;
  std::string name;
  while (walker.isGood() && walker.left() > 0) {
    const int dimensions = walker.integer();
    const int nameLength = walker.integer();
    const int type = walker.integer();
    walker.require(dimensions >= 1 && dimensions <= 3 && nameLength > 0 && nameLength < 64, "table of tensors");
    if (!walker.isGood()) break;
    std::array<qint64, 3> shape{1, 1, 1};
    for (int i = 0; i < dimensions; ++i) shape[static_cast<std::size_t>(i)] = walker.integer();
    name.resize(static_cast<std::size_t>(nameLength));
    walker.read(name.data(), nameLength);
    if (!walker.isGood()) break;
    const auto found = expected.find(name);
    if (found == expected.end() || found->second.seen) {
      walker.fail(Kind::damaged, QStringLiteral("unknown or repeated tensor"));
      break;
    }
    ExpectedTensor& tensor = found->second;
    if (type != tensor.type.id || shape != tensor.shape || shape[0] % tensor.type.blockLength != 0) {
      walker.fail(Kind::damaged, QStringLiteral("type or shape of tensor %1").arg(QString::fromStdString(name)));
    }
    walker.skip(tensor.bytes());
    tensor.seen = true;
    ++count;
  }
  // A file cut between two tensors walks to its end, too.
  if (count > 0 && count != static_cast<int>(expected.size())) {
    walker.fail(Kind::truncated, QStringLiteral("%1 of %2 tensors").arg(count).arg(expected.size()));
  }
  return count;
}

}  // namespace

Result<GgmlModelFile, GgmlModelFault> inspectGgmlModelFile(QIODevice& device, GgmlModelChecks checks) {
  if (!device.isReadable() || device.isSequential())
    return Failed{GgmlModelFault{Kind::unreadable, device.errorString()}};
  Walker walker(device);
  readMagic(walker);
  GgmlModelFile file = readDimensions(walker);
  const auto type = matrixType(file.fileType);
  walker.require(type.has_value(), "file type");
  readMelBank(walker, file.melBands);
  file.words = readWords(walker, file.vocabularySize);
  if (walker.isGood()) {
    file.tensors = readTensors(walker, expectedTensors(file, *type));
    if (file.tensors == 0 && checks == GgmlModelChecks::whole)
      walker.fail(Kind::truncated, QStringLiteral("no tensors"));
  }
  if (walker.fault()) return Failed{*walker.fault()};
  return file;
}

QString localizedDescription(const GgmlModelFault& fault, const QString& fileName) {
  switch (fault.kind) {
    case Kind::unreadable:
      return localizedText("models.file.error.unreadable", fileName);
    case Kind::foreign:
      return localizedText("models.file.error.foreign", fileName);
    case Kind::truncated:
      return localizedText("models.file.error.truncated", fileName);
    case Kind::damaged:
      return localizedText("models.file.error.damaged", fileName);
    case Kind::empty:
      return localizedText("models.file.error.empty", fileName);
  }
  return {};
}

}  // namespace quillmere
