#include "models/CTranslate2Model.h"

#include <QIODevice>
#include <QtEndian>
#include <cstring>

namespace quillmere {
namespace {

using Fault = CTranslate2Model::Fault;
using Type = CTranslate2Model::Type;

constexpr quint32 kVersion = 6;
constexpr int kMaximumNameBytes = 512;
constexpr quint32 kMaximumTensors = 100000;

// Reads forward and keeps the first fault; after one, every read gives zeros.
class Reader {
 public:
  explicit Reader(QIODevice& device) : device_(device), size_(device.size()) {}

  void fail(Fault fault) {
    if (!fault_) fault_ = fault;
  }
  bool isGood() const { return !fault_; }
  std::optional<Fault> fault() const { return fault_; }
  qint64 position() const { return position_; }
  qint64 left() const { return size_ - position_; }

  template <typename N>
  N number() {
    N value{};
    read(&value, sizeof value);
    return qFromLittleEndian(value);
  }
  QByteArray text() {
    const int length = number<quint16>();  // with the closing zero
    if (isGood() && (length < 1 || length > kMaximumNameBytes)) fail(Fault::damaged);
    if (!isGood()) return {};
    QByteArray value(length, '\0');
    read(value.data(), length);
    if (isGood() && value.back() != '\0') fail(Fault::damaged);
    value.chop(1);
    return value;
  }
  void skip(qint64 bytes) {
    if (!isFollowedBy(bytes)) return;
    if (!device_.seek(position_ + bytes)) return fail(Fault::unreadable);
    position_ += bytes;
  }

 private:
  void read(void* target, qint64 bytes) {
    if (!isFollowedBy(bytes)) return;
    if (device_.read(static_cast<char*>(target), bytes) != bytes) return fail(Fault::unreadable);
    position_ += bytes;
  }
  bool isFollowedBy(qint64 bytes) {
    if (left() < bytes) fail(Fault::truncated);
    return isGood();
  }

  QIODevice& device_;
  qint64 size_;
  qint64 position_ = 0;
  std::optional<Fault> fault_;
};

std::optional<int> bytesOf(quint8 type) {
  switch (static_cast<Type>(type)) {
    case Type::int8:
      return 1;
    case Type::int16:
    case Type::float16:
      return 2;
    case Type::float32:
    case Type::int32:
      return 4;
  }
  return std::nullopt;
}

CTranslate2Model::Tensor readTensor(Reader& reader) {
  CTranslate2Model::Tensor tensor;
  const int rank = reader.number<quint8>();
  if (rank > 4) reader.fail(Fault::damaged);
  for (int i = 0; i < rank && reader.isGood(); ++i) tensor.shape.push_back(reader.number<quint32>());
  if (reader.isGood() && std::ranges::count(tensor.shape, 0) > 0) reader.fail(Fault::damaged);
  qint64 count = 1;
  for (const qint64 length : tensor.shape) {
    if (!reader.isGood()) break;
    if (count > reader.left() / length) reader.fail(Fault::truncated);  // also keeps it from overflowing
    count *= length;
  }
  const auto type = reader.number<quint8>();
  tensor.bytes = reader.number<quint32>();
  tensor.offset = reader.position();
  const auto width = bytesOf(type);
  if (reader.isGood() && (!width || tensor.bytes != count * *width)) reader.fail(Fault::damaged);
  tensor.type = static_cast<Type>(type);
  reader.skip(tensor.bytes);
  return tensor;
}

}  // namespace

const CTranslate2Model::Tensor* CTranslate2Model::find(const QByteArray& name) const {
  const auto found = tensors.find(name);
  return found == tensors.end() ? nullptr : &found->second;
}

Result<CTranslate2Model, Fault> CTranslate2Model::read(QIODevice& device) {
  if (!device.isReadable() || device.isSequential()) return Failed{Fault::unreadable};
  Reader reader(device);
  const auto version = reader.number<quint32>();
  // Files of any version begin with a small number and the name of the kind of model.
  if (reader.isGood() && (version == 0 || version > 1000)) reader.fail(Fault::foreign);
  const QByteArray kind = reader.text();
  if (!reader.isGood() && reader.fault() != Fault::unreadable) return Failed{Fault::foreign};
  if (kind != "WhisperSpec") reader.fail(Fault::foreign);
  if (version != kVersion) reader.fail(Fault::unknownVersion);
  reader.number<quint32>();  // revision of the kind

  CTranslate2Model model;
  const auto count = reader.number<quint32>();
  if (count > kMaximumTensors) reader.fail(Fault::damaged);
  bool isQuantised = false;
  for (quint32 i = 0; i < count && reader.isGood(); ++i) {
    const QByteArray name = reader.text();
    const Tensor tensor = readTensor(reader);
    isQuantised = isQuantised || name.endsWith("_scale");
    if (reader.isGood() && !model.tensors.emplace(name, tensor).second) reader.fail(Fault::damaged);
  }
  const auto aliases = reader.number<quint32>();
  for (quint32 i = 0; i < aliases && reader.isGood(); ++i) {
    const QByteArray alias = reader.text();
    const QByteArray target = reader.text();
    const Tensor* tensor = model.find(target);
    if (tensor)
      model.tensors.emplace(alias, Tensor(*tensor));
    else
      reader.fail(Fault::damaged);
  }
  if (reader.isGood() && reader.left() != 0) reader.fail(Fault::damaged);
  if (reader.fault()) return Failed{*reader.fault()};
  if (isQuantised) return Failed{Fault::quantised};
  return model;
}

}  // namespace quillmere
