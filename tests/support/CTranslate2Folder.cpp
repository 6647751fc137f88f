#include "support/CTranslate2Folder.h"

#include <QFloat16>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstring>
#include <map>
#include <vector>

#include "support/Files.h"

namespace quillmere {
namespace {

struct Tensor {
  std::vector<quint32> shape;  // outermost first
  bool isWide = false;
  QByteArray data;
};

struct Contents {
  std::vector<qint32> header;
  QList<QByteArray> words;
  std::map<QByteArray, Tensor> tensors;
};

Contents parse(const QByteArray& model) {
  Contents contents;
  qsizetype at = 0;
  const auto integer = [&] {
    qint32 value;
    std::memcpy(&value, model.constData() + at, 4);
    at += 4;
    return value;
  };
  for (int i = 0; i < 12; ++i) contents.header.push_back(integer());
  const int bands = integer();
  at += qsizetype{4} * bands * integer();
  const int words = integer();
  for (int i = 0; i < words; ++i) {
    const int length = integer();
    contents.words.append(model.mid(at, length));
    at += length;
  }
  while (at < model.size()) {
    Tensor tensor;
    const int rank = integer();
    const int nameLength = integer();
    tensor.isWide = integer() == 0;
    qsizetype bytes = tensor.isWide ? 4 : 2;
    for (int i = 0; i < rank; ++i) {
      tensor.shape.insert(tensor.shape.begin(), static_cast<quint32>(integer()));
      bytes *= static_cast<qsizetype>(tensor.shape.front());
    }
    const QByteArray name = model.mid(at, nameLength);
    at += nameLength;
    tensor.data = model.mid(at, bytes);
    at += bytes;
    contents.tensors[name] = tensor;
  }
  return contents;
}

QByteArray narrowed(const QByteArray& wide) {
  QByteArray result(wide.size() / 2, '\0');
  qFloatToFloat16(reinterpret_cast<qfloat16*>(result.data()), reinterpret_cast<const float*>(wide.constData()),
                  wide.size() / 4);
  return result;
}

QByteArray widened(const QByteArray& narrow) {
  QByteArray result(narrow.size() * 2, '\0');
  qFloatFromFloat16(reinterpret_cast<float*>(result.data()), reinterpret_cast<const qfloat16*>(narrow.constData()),
                    narrow.size() / 2);
  return result;
}

class ModelWriter {
 public:
  explicit ModelWriter(const CTranslate2Folder::Options& options) : options_(options) {}

  template <typename N>
  static void append(QByteArray& out, N value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  static void appendText(QByteArray& out, const QByteArray& text) {
    append(out, static_cast<quint16>(text.size() + 1));
    out.append(text.constData(), text.size() + 1);
  }

  void add(const QByteArray& name, const std::vector<quint32>& shape, quint8 type, const QByteArray& data) {
    appendText(table_, name);
    append(table_, static_cast<quint8>(shape.size()));
    for (const quint32 length : shape) append(table_, length);
    append(table_, type);
    append(table_, static_cast<quint32>(data.size()));
    table_.append(data);
    ++count_;
  }
  // Tensors one below the other; what is missing (the key's bias) is zero.
  void stack(const QByteArray& name, const std::vector<const Tensor*>& parts, const std::vector<quint32>& partShape) {
    std::vector<quint32> shape = partShape;
    shape[0] *= static_cast<quint32>(parts.size());
    QByteArray data;
    qsizetype numbers = 1;
    for (const quint32 length : partShape) numbers *= length;
    for (const Tensor* part : parts) {
      const QByteArray own = part ? part->data : QByteArray(numbers * 2, '\0');
      const bool isWide = part && part->isWide;
      data += isWide == options_.hasWideWeights ? own : (isWide ? narrowed(own) : widened(own));
    }
    add(name, shape, options_.hasWideWeights ? 0 : 4, data);
  }

  QByteArray take() const {
    QByteArray out;
    append(out, quint32{6});
    appendText(out, "WhisperSpec");
    append(out, quint32{3});
    append(out, count_);
    out += table_;
    append(out, quint32{1});
    appendText(out, "decoder/projection/weight");
    appendText(out, "decoder/embeddings/weight");
    return out;
  }

 private:
  CTranslate2Folder::Options options_;
  QByteArray table_;
  quint32 count_ = 0;
};

}  // namespace

QByteArray CTranslate2Folder::modelBytes(const QByteArray& ggmlModel, const Options& options) {
  const Contents contents = parse(ggmlModel);
  ModelWriter out(options);
  const auto tensor = [&](const QByteArray& name) { return &contents.tensors.at(name); };
  const auto copy = [&](const QByteArray& target, const QByteArray& source) {
    auto shape = tensor(source)->shape;
    if (source.contains("conv") && source.endsWith("bias")) shape.pop_back();
    out.stack(target, {tensor(source)}, shape);
  };
  const auto norm = [&](const QByteArray& target, const QByteArray& source) {
    copy(target + "/gamma", source + ".weight");
    copy(target + "/beta", source + ".bias");
  };
  const auto linear = [&](const QByteArray& target, const QByteArray& source) {
    copy(target + "/weight", source + ".weight");
    copy(target + "/bias", source + ".bias");
  };
  const auto fused = [&](const QByteArray& target, const QByteArray& source, const QList<QByteArray>& parts) {
    std::vector<const Tensor*> weights, biases;
    for (const QByteArray& part : parts) {
      weights.push_back(tensor(source + part + ".weight"));
      biases.push_back(part == ".key" ? nullptr : tensor(source + part + ".bias"));
    }
    out.stack(target + "/weight", weights, weights.front()->shape);
    out.stack(target + "/bias", biases, {weights.front()->shape[0]});
  };
  const auto side = [&](const QByteArray& name, int heads, int layers) {
    out.add(name + "/num_heads", {}, 2, QByteArray(1, static_cast<char>(heads)) + '\0');
    copy(name + "/position_encodings/encodings", name + ".positional_embedding");
    for (int i = 0; i < layers; ++i) {
      const QByteArray target = name + "/layer_" + QByteArray::number(i);
      const QByteArray source = name + ".blocks." + QByteArray::number(i);
      norm(target + "/self_attention/layer_norm", source + ".attn_ln");
      fused(target + "/self_attention/linear_0", source + ".attn", {".query", ".key", ".value"});
      linear(target + "/self_attention/linear_1", source + ".attn.out");
      if (name == "decoder") {
        norm(target + "/attention/layer_norm", source + ".cross_attn_ln");
        linear(target + "/attention/linear_0", source + ".cross_attn.query");
        fused(target + "/attention/linear_1", source + ".cross_attn", {".key", ".value"});
        linear(target + "/attention/linear_2", source + ".cross_attn.out");
      }
      norm(target + "/ffn/layer_norm", source + ".mlp_ln");
      linear(target + "/ffn/linear_0", source + ".mlp.0");
      linear(target + "/ffn/linear_1", source + ".mlp.2");
    }
  };
  side("encoder", contents.header[4], contents.header[5]);
  norm("encoder/layer_norm", "encoder.ln_post");
  linear("encoder/conv1", "encoder.conv1");
  linear("encoder/conv2", "encoder.conv2");
  side("decoder", contents.header[8], contents.header[9]);
  norm("decoder/layer_norm", "decoder.ln");
  copy("decoder/embeddings/weight", "decoder.token_embedding.weight");
  return out.take();
}

QByteArray CTranslate2Folder::vocabularyBytes(const QByteArray& ggmlModel, Vocabulary kind) {
  // Bytes that can't be printed are written as the characters from U+0100 on.
  QList<QChar> characters(256);
  char16_t next = 0x100;
  for (int byte = 0; byte < 256; ++byte) {
    const bool isPrintable = (byte > 32 && byte < 127) || (byte > 160 && byte != 173);
    characters[byte] = QChar(isPrintable ? static_cast<char16_t>(byte) : next++);
  }
  QStringList words;
  for (const QByteArray& word : parse(ggmlModel).words) {
    QString text;
    for (const char byte : word) text += characters[static_cast<unsigned char>(byte)];
    words.append(text);
  }
  if (kind == Vocabulary::vocabularyText) return words.join(u'\n').toUtf8() + "\n<|startoftranscript|>\n";
  if (kind == Vocabulary::vocabularyJson) return QJsonDocument(QJsonArray::fromStringList(words)).toJson();
  QJsonObject numbers;
  for (qsizetype i = 0; i < words.size(); ++i) numbers.insert(words[i], static_cast<int>(i));
  return QJsonDocument(QJsonObject{{"model", QJsonObject{{"type", "BPE"}, {"vocab", numbers}}}}).toJson();
}

void CTranslate2Folder::write(const QString& folder, const QByteArray& ggmlModel, const Options& options) {
  const char* const names[] = {"/tokenizer.json", "/vocabulary.json", "/vocabulary.txt"};
  writeFile(folder + "/model.bin", modelBytes(ggmlModel, options));
  writeFile(folder + names[int(options.vocabulary)], vocabularyBytes(ggmlModel, options.vocabulary));
}

}  // namespace quillmere
