#include "support/ScriptedWhisperModel.h"

#include <QFile>
#include <QFloat16>
#include <QList>
#include <QtEndian>
#include <cmath>
#include <cstring>
#include <map>
#include <random>
#include <vector>

namespace quillmere {
namespace {

constexpr int kMels = 80;
constexpr int kAudioContext = 1500;
constexpr int kTextContext = 448;
constexpr int kWords = 50257;
constexpr int kFirstWord = 256;  // behind the single bytes

// Ids of the special tokens; the multilingual vocabulary is shifted by one.
struct Tokens {
  explicit Tokens(bool isEnglishOnly) : shift(isEnglishOnly ? 0 : 1) {}
  int shift;
  int endOfText() const { return 50256 + shift; }
  int startOfTranscript() const { return 50257 + shift; }
  int language(int id) const { return startOfTranscript() + 1 + id; }
  int translate() const { return 50357 + shift; }
  int transcribe() const { return 50358 + shift; }
  int time(int fiftieths) const { return 50363 + shift + fiftieths; }
  int count() const { return 51864 + shift; }
};

class Writer {
 public:
  void integer(qint32 value) {
    const qint32 little = qToLittleEndian(value);
    out_.append(reinterpret_cast<const char*>(&little), 4);
  }
  void text(const QByteArray& value) { out_.append(value); }
  void real(float value) { out_.append(reinterpret_cast<const char*>(&value), 4); }

  // `dimensions` innermost first. Values not given are zero.
  void tensor(const QByteArray& name, const std::vector<int>& dimensions, bool isHalf,
              const std::vector<float>& values = {}) {
    integer(static_cast<qint32>(dimensions.size()));
    integer(static_cast<qint32>(name.size()));
    integer(isHalf ? 1 : 0);
    qsizetype count = 1;
    for (const int dimension : dimensions) {
      integer(dimension);
      count *= dimension;
    }
    text(name);
    QByteArray data(count * (isHalf ? 2 : 4), '\0');
    if (isHalf)
      qFloatToFloat16(reinterpret_cast<qfloat16*>(data.data()), values.data(), static_cast<qsizetype>(values.size()));
    else if (!values.empty())
      std::memcpy(data.data(), values.data(), values.size() * 4);
    out_.append(data);
  }
  QByteArray take() { return std::move(out_); }

 private:
  QByteArray out_;
};

QList<QByteArray> wordsOf(const QByteArray& text) {
  QList<QByteArray> words;
  for (const QByteArray& word : text.split(' ')) {
    if (!word.isEmpty()) words.append(' ' + word);
  }
  return words;
}

int languageId(const QByteArray& language) {
  static const QList<QByteArray> known{"en", "zh", "de", "es", "ru", "ko", "fr", "ja",
                                       "pt", "tr", "pl", "ca", "nl", "ar", "sv", "it"};
  const auto index = known.indexOf(language);
  Q_ASSERT(index >= 0);
  return static_cast<int>(index);
}

using Step = std::pair<int, int>;  // a token and the one that follows it

}  // namespace

QByteArray ScriptedWhisperModel::bytes(const Options& options) {
  const Tokens tokens(options.isEnglishOnly);
  QList<QByteArray> words;
  std::vector<Step> steps;
  // The clip starts at 0.00 s for the text and at 0.02 s for the translation, so that the two scripts stay apart.
  const auto script = [&](int start, int opening, const QByteArray& text) {
    int last = start;
    const auto follow = [&](int token) {
      steps.emplace_back(last, token);
      last = token;
    };
    follow(opening);
    const QList<QByteArray> spoken = wordsOf(text);
    for (const QByteArray& word : spoken) {
      words.append(word);
      follow(kFirstWord + static_cast<int>(words.size()) - 1);
    }
    if (!spoken.isEmpty()) follow(tokens.time(opening == tokens.time(0) ? 1500 : 1499));
    follow(tokens.endOfText());
  };
  script(options.isEnglishOnly ? tokens.startOfTranscript() : tokens.transcribe(), tokens.time(0), options.text);
  if (!options.isEnglishOnly) {
    steps.emplace_back(tokens.startOfTranscript(), tokens.language(languageId(options.language)));
    if (options.translation.isEmpty()) {
      steps.emplace_back(tokens.translate(), tokens.time(0));
    } else {
      script(tokens.translate(), tokens.time(1), options.translation);
    }
  }

  const int needed = (static_cast<int>(steps.size()) + 3) / 4;
  const int width = options.width > 0 ? options.width : std::max(32, (needed + 15) / 16 * 16);
  Q_ASSERT(width >= needed && width % options.heads == 0);

  Writer out;
  out.integer(0x67676d6c);
  for (const int value : {tokens.count(), kAudioContext, width, options.heads, options.encoderLayers, kTextContext,
                          width, options.heads, 1, kMels, 1}) {
    out.integer(value);
  }
  out.integer(kMels);
  out.integer(201);
  for (int mel = 0; mel < kMels; ++mel) {
    for (int bin = 0; bin < 201; ++bin) out.real(bin / 2 == mel ? 0.01f : 0.0f);
  }
  out.integer(kWords);
  for (int id = 0; id < kWords; ++id) {
    QByteArray word;
    if (id < kFirstWord) {
      word = QByteArray(1, static_cast<char>(id));
    } else if (id - kFirstWord < words.size()) {
      word = words[id - kFirstWord];
    } else if (id == kWords - 1) {
      word = options.isEnglishOnly ? "<|endoftext|>" : "";
    } else {
      word = '~' + QByteArray::number(id);
    }
    out.integer(static_cast<qint32>(word.size()));
    out.text(word);
  }

  // One random direction a token of the script; all have mean 0 and length sqrt(width), as behind a layer norm.
  std::mt19937 random(7);
  std::normal_distribution<float> normal;
  const auto size = static_cast<std::size_t>(width);
  std::map<int, std::vector<float>> directions;
  for (const auto& [token, next] : steps) {
    for (const int id : {token, next}) {
      std::vector<float>& direction = directions[id];
      if (!direction.empty()) continue;
      direction.resize(size);
      float mean = 0;
      for (float& x : direction) mean += x = normal(random);
      mean /= static_cast<float>(width);
      float square = 0;
      for (float& x : direction) {
        x -= mean;
        square += x * x;
      }
      for (float& x : direction) x *= std::sqrt(static_cast<float>(width) / square);
    }
  }
  // The look-up: unit j fires for the token of step j only, and its output drowns the token with the next one.
  const float gain = 64.0f / static_cast<float>(width);
  std::vector<float> detect(4 * size * size), threshold(4 * size), answer(4 * size * size),
      embedding(static_cast<std::size_t>(tokens.count()) * size);
  for (std::size_t unit = 0; unit < steps.size(); ++unit) {
    const auto& from = directions[steps[unit].first];
    const auto& to = directions[steps[unit].second];
    threshold[unit] = -0.875f * gain * static_cast<float>(width);
    for (std::size_t i = 0; i < size; ++i) {
      detect[unit * size + i] = gain * from[i];
      answer[i * 4 * size + unit] = 12.0f * to[i];
    }
  }
  for (const auto& [token, direction] : directions) {
    std::copy(direction.begin(), direction.end(),
              embedding.begin() + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(token) * size));
  }

  const std::vector<float> ones(size, 1.0f);
  const auto norm = [&](const QByteArray& name) {
    out.tensor(name + ".weight", {width}, false, ones);
    out.tensor(name + ".bias", {width}, false);
  };
  const auto attention = [&](const QByteArray& name) {
    norm(name + "_ln");
    for (const char* part : {"query", "key", "value", "out"}) {
      out.tensor(name + '.' + part + ".weight", {width, width}, true);
      if (std::strcmp(part, "key") != 0) out.tensor(name + '.' + part + ".bias", {width}, false);
    }
  };
  const auto perceptron = [&](const QByteArray& block, const std::vector<float>& first, const std::vector<float>& bias,
                              const std::vector<float>& second) {
    norm(block + "mlp_ln");
    out.tensor(block + "mlp.0.weight", {width, 4 * width}, true, first);
    out.tensor(block + "mlp.0.bias", {4 * width}, false, bias);
    out.tensor(block + "mlp.2.weight", {4 * width, width}, true, second);
    out.tensor(block + "mlp.2.bias", {width}, false);
  };
  // In the order of the published files.
  out.tensor("decoder.positional_embedding", {width, kTextContext}, false);
  out.tensor("encoder.positional_embedding", {width, kAudioContext}, false);
  out.tensor("decoder.token_embedding.weight", {width, tokens.count()}, true, embedding);
  perceptron("decoder.blocks.0.", detect, threshold, answer);
  attention("decoder.blocks.0.attn");
  attention("decoder.blocks.0.cross_attn");
  norm("decoder.ln");
  out.tensor("encoder.conv1.weight", {3, kMels, width}, true);
  out.tensor("encoder.conv1.bias", {1, width}, false);
  out.tensor("encoder.conv2.weight", {3, width, width}, true);
  out.tensor("encoder.conv2.bias", {1, width}, false);
  for (int layer = 0; layer < options.encoderLayers; ++layer) {
    const QByteArray block = "encoder.blocks." + QByteArray::number(layer) + '.';
    perceptron(block, {}, {}, {});
    attention(block + "attn");
  }
  norm("encoder.ln_post");
  return out.take();
}

bool ScriptedWhisperModel::write(const QString& path, const Options& options) {
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) return false;
  const QByteArray content = bytes(options);
  return file.write(content) == content.size() && file.flush();
}

}  // namespace quillmere
