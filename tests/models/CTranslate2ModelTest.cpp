#include "models/CTranslate2Model.h"

#include <gtest/gtest.h>
#include <QBuffer>

#include <random>

namespace quillmere {
namespace {

using Fault = CTranslate2Model::Fault;

template <typename N>
QByteArray number(N value) {
  return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}
QByteArray text(const QByteArray& value) {
  return number(static_cast<quint16>(value.size() + 1)) + value + '\0';
}
QByteArray header(quint32 tensors) {
  return number(quint32{6}) + text("WhisperSpec") + number(quint32{3}) + number(tensors);
}

// "weight": 2 x 3 sixteen-bit numbers; "heads": one 16-bit integer; "same": a second name of the first.
QByteArray small() {
  return header(2) + text("weight") + '\2' + number(quint32{2}) + number(quint32{3}) + '\4' + number(quint32{12}) +
         "abcdefghijkl" + text("heads") + '\0' + '\2' + number(quint32{2}) + number(qint16{6}) + number(quint32{1}) +
         text("same") + text("weight");
}

Result<CTranslate2Model, Fault> read(QByteArray content) {
  QBuffer buffer(&content);
  buffer.open(QIODevice::ReadOnly);
  return CTranslate2Model::read(buffer);
}

TEST(CTranslate2ModelTest, RefusesEveryTruncationAndWhatFollowsTheEnd) {
  for (qsizetype length = 0; length < small().size(); ++length) EXPECT_FALSE(read(small().left(length))) << length;
  EXPECT_FALSE(read(small() + '\0'));
}

TEST(CTranslate2ModelTest, EveryFlippedBitGivesATableInsideTheFileOrARefusal) {
  for (qsizetype i = 0; i < small().size() * 8; ++i) {
    QByteArray damaged = small();
    damaged[i / 8] = static_cast<char>(damaged[i / 8] ^ (1 << (i % 8)));
    const auto model = read(damaged);
    if (!model) continue;
    for (const auto& [name, tensor] : model->tensors) {
      EXPECT_GE(tensor.offset, 0);
      EXPECT_LE(tensor.offset + tensor.bytes, damaged.size()) << i;
    }
  }
}

TEST(CTranslate2ModelTest, TellsTheFaultsApart) {
  const QByteArray rest = text("x") + '\1' + number(quint32{4}) + '\1' + number(quint32{4}) + "wxyz";
  const auto shaped = [&](quint8 rank, const QByteArray& lengths, quint8 type, quint32 bytes) {
    return header(1) + text("x") + number(rank) + lengths + number(type) + number(bytes) + QByteArray(64, 'x');
  };
  const QByteArray huge = number(quint32{0xffffffff});
  const struct {
    const char* what;
    QByteArray content;
    Fault fault;
  } cases[] = {
      {"nothing", {}, Fault::foreign},
      {"text", "The quick brown fox jumps over the lazy dog", Fault::foreign},
      {"other kind of model", number(quint32{6}) + text("TransformerSpec") + number(quint32{3}) + number(quint32{0}),
       Fault::foreign},
      {"older version", number(quint32{5}) + text("WhisperSpec") + number(quint32{3}), Fault::unknownVersion},
      {"newer version", number(quint32{7}) + text("WhisperSpec") + number(quint32{3}), Fault::unknownVersion},
      {"8-bit weights",
       header(2) + rest + text("x_scale") + '\0' + '\0' + number(quint32{4}) + "1234" + number(quint32{0}),
       Fault::quantised},
      {"name without an end", header(1) + number(quint16{3}) + "xyz" + QByteArray(64, '\0'), Fault::damaged},
      {"empty name record", header(1) + number(quint16{0}) + QByteArray(64, '\0'), Fault::damaged},
      {"the same name twice", header(2) + rest + rest + number(quint32{0}), Fault::damaged},
      {"second name of nothing", header(1) + rest + number(quint32{1}) + text("y") + text("z"), Fault::damaged},
      {"unknown type", shaped(1, number(quint32{4}), 9, 4), Fault::damaged},
      {"size is not the shape's", shaped(1, number(quint32{4}), 4, 4), Fault::damaged},
      {"product overflows", shaped(4, huge + huge + huge + huge, 1, 1), Fault::truncated},
      {"rank of 255", shaped(255, {}, 1, 1), Fault::damaged},
      {"four billion tensors", header(0xffffffff), Fault::damaged},
  };
  for (const auto& [what, content, fault] : cases) {
    const auto model = read(content);
    ASSERT_FALSE(model) << what;
    EXPECT_EQ(model.error(), fault) << what;
  }
}

}  // namespace
}  // namespace quillmere
