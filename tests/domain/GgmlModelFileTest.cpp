#include "domain/GgmlModelFile.h"

#include <gtest/gtest.h>
#include <QBuffer>

#include <random>

#include "support/ScriptedWhisperModel.h"

namespace quillmere {
namespace {

using Kind = GgmlModelFault::Kind;

Result<GgmlModelFile, GgmlModelFault> inspect(QByteArray content, GgmlModelChecks checks = GgmlModelChecks::whole) {
  QBuffer buffer(&content);
  buffer.open(QIODevice::ReadOnly);
  return inspectGgmlModelFile(buffer, checks);
}

Kind faultOf(const QByteArray& content) {
  const auto result = inspect(content);
  EXPECT_FALSE(result);
  return result ? Kind::unreadable : result.error().kind;
}

QByteArray withInteger(QByteArray content, qsizetype offset, qint32 value) {
  return content.replace(offset, 4, QByteArray(reinterpret_cast<const char*>(&value), 4));
}

class GgmlModelFileTest : public testing::Test {
 protected:
  const QByteArray whole_ = ScriptedWhisperModel::bytes({});
  // Behind the header, the mel bank and the vocabulary.
  const qsizetype tensors_ = whole_.indexOf("decoder.positional_embedding") - 5 * 4;
};

TEST_F(GgmlModelFileTest, RefusesEveryTruncation) {
  std::mt19937 random(1);
  const qsizetype vocabulary = 56 + 80 * 201 * 4, end = whole_.size();
  std::vector<qsizetype> lengths{1, 3, 4, 5, 47, 48, 56, 60, vocabulary, end - 1, end - 2};
  for (const int more : {-1, 0, 1, 13}) lengths.push_back(tensors_ + more);
  // Right behind each tensor, where a walk to the end of the file notices nothing.
  for (qsizetype at = tensors_; (at = whole_.indexOf("weight", at + 1)) > 0;) {
    lengths.push_back(whole_.lastIndexOf(QByteArray::fromHex("000000"), at));
    lengths.push_back(at);
  }
  for (int i = 0; i < 200; ++i) lengths.push_back(static_cast<qsizetype>(random() % static_cast<unsigned>(end)));
  for (const qsizetype length : lengths) EXPECT_FALSE(inspect(whole_.left(length))) << length;

  EXPECT_EQ(faultOf({}), Kind::empty);
  EXPECT_EQ(faultOf(whole_.left(2)), Kind::foreign);
}

TEST_F(GgmlModelFileTest, TakesAFileWithoutTensorsOnlyWhenAsked) {
  const auto file = inspect(whole_);
  ASSERT_TRUE(file) << qPrintable(file.error().detail);
  EXPECT_TRUE(file->isMultilingual());
  EXPECT_EQ(file->tensors, 8 + 3 + 24 + 15);
  const QByteArray content = whole_.left(tensors_);
  EXPECT_EQ(faultOf(content), Kind::truncated);
  EXPECT_TRUE(inspect(content, GgmlModelChecks::allowVocabularyOnly));
  EXPECT_FALSE(inspect(content.left(content.size() - 1), GgmlModelChecks::allowVocabularyOnly));
}

TEST_F(GgmlModelFileTest, TellsForeignFromDamagedFiles) {
  const struct {
    const char* what;
    QByteArray content;
    Kind kind;
  } cases[] = {
      {"text", "This is not a model, but a letter to my aunt.", Kind::foreign},
      {"newer container", QByteArray("GGUF\3\0\0\0", 8) + QByteArray(100, '\0'), Kind::foreign},
      {"a voice activity model", withInteger(withInteger(whole_, 4, 16), 8, 5), Kind::foreign},
      {"huge width", withInteger(whole_, 12, 0x7fffffff), Kind::damaged},
      {"widths differ", withInteger(whole_, 28, 64), Kind::damaged},
      {"negative heads", withInteger(whole_, 32, -1), Kind::damaged},
      {"odd heads", withInteger(whole_, 16, 3), Kind::damaged},
      {"many layers", withInteger(whole_, 20, 1 << 30), Kind::damaged},
      {"one layer too many", withInteger(whole_, 20, 2), Kind::truncated},
      {"unknown file type", withInteger(whole_, 44, 5), Kind::damaged},
      {"other file type", withInteger(whole_, 44, 0), Kind::damaged},
      {"other mel bank", withInteger(whole_, 48, 128), Kind::damaged},
      {"infinite mel weight", withInteger(whole_, 56, 0x7f800000), Kind::damaged},
      {"endless word", withInteger(whole_, 60 + 80 * 201 * 4, 0x7fffffff), Kind::damaged},
      {"negative dimension", withInteger(whole_, tensors_ + 12, -32), Kind::damaged},
      {"other type", withInteger(whole_, tensors_ + 8, 1), Kind::damaged},
      {"renamed tensor", QByteArray(whole_).replace("encoder.ln_post.bias", "encoder.ln_post.bios"), Kind::damaged},
      {"twice the same", QByteArray(whole_).replace("0.attn.query.bias", "0.attn.value.bias"), Kind::damaged},
      {"more behind the end", whole_ + QByteArray(1, '\0'), Kind::truncated},
  };
  for (const auto& [what, content, kind] : cases) EXPECT_EQ(faultOf(content), kind) << what;
}

}  // namespace
}  // namespace quillmere
