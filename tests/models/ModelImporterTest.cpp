#include "models/ModelImporter.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QtEndian>

#include <csignal>
#include <cstring>

#include "base/async/TaskScope.h"
#include "base/math/MelFilterBank.h"
#include "support/CTranslate2Folder.h"
#include "support/Files.h"
#include "support/RunTask.h"
#include "support/ScriptedWhisperModel.h"

namespace quillmere {
namespace {

using Vocabulary = CTranslate2Folder::Vocabulary;
using ImportResult = Result<ImportedModel, PlatformError>;

QByteArray sha256(const QByteArray& content) {
  return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

// A scripted model with a computed mel bank, as a converted folder has it.
QByteArray modelSaying(const QByteArray& text) {
  ScriptedWhisperModel::Options options;
  options.text = text;
  QByteArray content = ScriptedWhisperModel::bytes(options);
  const std::vector<float> bank = melFilterBank(80, 400);
  return content.replace(
      56, static_cast<qsizetype>(bank.size() * 4),
      QByteArray(reinterpret_cast<const char*>(bank.data()), static_cast<qsizetype>(bank.size() * 4)));
}

const QByteArray& model() {
  static const QByteArray content = modelSaying("One two three.");
  return content;
}

class ModelImporterTest : public testing::Test {
 protected:
  QString path(const QString& name) const { return folder_.filePath(name); }
  QString write(const QString& name, const QByteArray& content) { return writeFile(path(name), content); }
  QString writeFolder(const QString& name, const CTranslate2Folder::Options& options,
                      const QByteArray& content = model()) {
    CTranslate2Folder::write(path(name), content, options);
    return path(name);
  }
  ImportResult import(const QString& source, const std::optional<QString>& name = {}) {
    ModelImporter importer(models_, pool_, {}, checksums_);
    return runTask(executor_,
                   importer.importModel(source, name, [this](double fraction) { progress_.push_back(fraction); }));
  }
  QStringList files() const {
    QStringList found;
    QDirIterator all(models_, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) found.append(QDir(models_).relativeFilePath(all.next()));
    found.sort();
    return found;
  }
  void expectRefusal(const char* what, const QString& source, const char* key,
                     const std::optional<QString>& name = {}) {
    const QStringList before = files();
    const auto result = import(source, name);
    ASSERT_FALSE(result) << what;
    EXPECT_EQ(result.error().description, QString::fromLatin1(key)) << what;
    EXPECT_EQ(files(), before) << what;
  }

  QTemporaryDir folder_;
  QString models_ = folder_.filePath("models");
  QMap<QString, QString> checksums_;
  std::vector<double> progress_;
  ManualExecutor executor_;
  WorkerPool pool_{1};
};

TEST_F(ModelImporterTest, AConvertedFolderIsTheFileItWasMadeFrom) {
  for (const bool hasWideWeights : {false, true}) {
    for (const Vocabulary vocabulary :
         {Vocabulary::tokenizerJson, Vocabulary::vocabularyJson, Vocabulary::vocabularyText}) {
      CTranslate2Folder::Options options;
      options.hasWideWeights = hasWideWeights;
      options.vocabulary = vocabulary;
      const QString name = QStringLiteral("folder-%1-%2").arg(hasWideWeights).arg(static_cast<int>(vocabulary));
      progress_.clear();
      const auto imported = import(writeFolder(name, options));
      ASSERT_TRUE(imported) << qPrintable(imported.error().description);
      EXPECT_TRUE(std::is_sorted(progress_.begin(), progress_.end()));
      EXPECT_GT(progress_.back(), 0.95);
      EXPECT_LE(progress_.back(), 1.0);
      EXPECT_FALSE(imported->isCatalogModel);
      EXPECT_EQ(imported->name, name);
      EXPECT_EQ(imported->path, models_ + QStringLiteral("/custom/") + name + ".bin");
      EXPECT_EQ(imported->sha256, QString::fromLatin1(sha256(model()))) << qPrintable(name);
      EXPECT_TRUE(readFile(imported->path) == model()) << qPrintable(name);
    }
  }
}

TEST_F(ModelImporterTest, AModelOfTheCatalogueIsInstalledAsSuch) {
  checksums_ = {{"ggml-base.en.bin", QString::fromLatin1(sha256(model()))}};
  write("models/ggml-base.en.bin", "a damaged one");
  for (const QString& source : {write("downloads/some file.bin", model()), writeFolder("folder", {})}) {
    const auto imported = import(source, "mine");
    ASSERT_TRUE(imported) << qPrintable(imported.error().description);
    EXPECT_TRUE(imported->isCatalogModel);
    EXPECT_EQ(imported->name, "base.en");
    EXPECT_EQ(files(), QStringList{"ggml-base.en.bin"});
    EXPECT_TRUE(readFile(imported->path) == model());
  }
  QByteArray flipped = model();
  flipped[flipped.size() - 200] = static_cast<char>(flipped[flipped.size() - 200] ^ 1);
  const auto imported = import(write("ggml-base.en.bin", flipped));
  ASSERT_TRUE(imported);
  EXPECT_FALSE(imported->isCatalogModel);
  EXPECT_EQ(imported->name, "ggml-base.en-custom");
}

TEST_F(ModelImporterTest, RefusesWhatIsNoModelAndLeavesNothing) {
  const QByteArray whole = CTranslate2Folder::modelBytes(model(), {});
  const QByteArray words = CTranslate2Folder::vocabularyBytes(model(), Vocabulary::tokenizerJson);
  // A folder with these two files.
  int number = 0;
  const auto folder = [&](const QByteArray& modelFile, const QByteArray& vocabulary) {
    const QString name = QString("folder%1").arg(++number);
    write(name + "/tokenizer.json", vocabulary);
    write(name + "/model.bin", modelFile);
    return path(name);
  };
  const auto weights = [&](const char* before, const char* after) {
    return folder(QByteArray(whole).replace(before, after), words);
  };
  const auto vocabulary = [&](const char* before, const char* after) {
    return folder(whole, QByteArray(words).replace(before, after));
  };
  write("wordless/model.bin", whole);
  write("hollow/tokenizer.json", words);
  // 2 heads for a width of 32 are fine, 0 and 33 are not. The number is the last thing of its record.
  const qsizetype heads = whole.indexOf("encoder/num_heads") + 18 + 1 + 1 + 4;
  const auto withHeads = [&](char count) {
    return folder(QByteArray(whole).replace(heads, 1, QByteArray(1, count)), words);
  };
  const struct {
    const char* what;
    QString source;
    const char* key;
  } cases[] = {
      {"absent", path("absent.bin"), "models.file.error.missing"},
      {"empty file", write("empty.bin", {}), "models.file.error.empty"},
      {"cut file", write("cut.bin", model().left(1000000)), "models.file.error.truncated"},
      {"folder without model.bin", path("hollow"), "models.import.error.folderForeign"},
      {"model.bin is a ggml file", folder(model(), words), "models.import.error.folderForeign"},
      {"older format", folder(QByteArray(whole).replace(0, 1, "\5"), words), "models.import.error.folderVersion"},
      {"8-bit weights", weights("decoder/layer_norm/gamma", "decoder/layer_norm_scale"),
       "models.import.error.quantised"},
      {"no vocabulary", path("wordless"), "models.import.error.vocabularyMissing"},
      {"cut model.bin", folder(whole.left(whole.size() / 2), words), "models.file.error.truncated"},
      {"a tensor is missing", weights("encoder/layer_0/ffn/linear_1/bias", "encoder/layer_0/ffn/linear_x/bias"),
       "models.file.error.damaged"},
      {"a layer is missing",
       weights("coder/layer_0/self_attention/linear_0/w", "coder/layer_1/self_attention/linear_0/w"),
       "models.file.error.damaged"},
      {"33 heads", withHeads(33), "models.file.error.damaged"},
      {"vocabulary is no JSON", vocabulary("{", "<"), "models.import.error.vocabularyDamaged"},
      {"a word is missing", vocabulary("\"~5000\": 5000,", ""), "models.import.error.vocabularyDamaged"},
      {"a number twice", vocabulary("~5000\": 5000,", "~5000\": 5001,"), "models.import.error.vocabularyDamaged"},
      {"a character that stands for no byte", vocabulary("~5000", "東"), "models.import.error.vocabularyDamaged"},
  };
  for (const auto& [what, source, key] : cases) expectRefusal(what, source, key);
}

TEST_F(ModelImporterTest, KeepsNamesApart) {
  const QString first = write("first.bin", modelSaying("First."));
  const QString second = write("second.bin", modelSaying("Second."));
  const QString name = "Mine";
  write("models/.import-abcdef", "half a model that a killed import left");
  ASSERT_TRUE(import(first, name));
  EXPECT_TRUE(import(first, name)) << "the same content again";
  expectRefusal("taken", second, "models.import.error.nameTaken", name);
  EXPECT_TRUE(readFile(models_ + "/custom/Mine.bin") == modelSaying("First."));
  for (const char* reserved : {"tiny.en", "Large-V2", "ggml-base"}) {
    expectRefusal(reserved, second, "models.import.error.nameReserved", QString::fromLatin1(reserved));
  }
  EXPECT_EQ(files(), QStringList{"custom/Mine.bin"});
}

TEST_F(ModelImporterTest, MakesFileNamesOfNames) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {{u"My model 2.1_x-y", u"My model 2.1_x-y"},
                                                               {u"../../etc/passwd", u"-..-etc-passwd"},
                                                               {u".hidden", u"hidden"},
                                                               {u" \t ", u"-"},
                                                               {u"", u"model"},
                                                               {u"...", u"model"},
                                                               {u"a\nb\\c:d", u"a-b-c-d"},
                                                               {u"Größe 東京", u"Größe 東京"},
                                                               {u"end  ", u"end"}};
  for (const auto& [name, expected] : cases) {
    EXPECT_EQ(ModelImporter::sanitizedName(QString::fromUtf16(name)), QString::fromUtf16(expected));
  }
  EXPECT_EQ(ModelImporter::sanitizedName(QString(500, u'x')).size(), 100);
  EXPECT_LE(ModelImporter::sanitizedName(QString(500, u'東')).toUtf8().size(), 200);
}

TEST_F(ModelImporterTest, AFullDiskGivesASentenceAndLeavesNothing) {
  const QString source = writeFolder("folder", {});
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  const rlimit small{2000000, old.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto result = import(source);
  ::setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, oldHandler);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().domain, "filesystem");
  EXPECT_EQ(result.error().description, "models.import.error.diskFull");
  EXPECT_EQ(files(), QStringList());
  models_ = write("occupied", "a file where the folder should be");
  expectRefusal("no folder", write("m.bin", model()), "models.import.error.notWritten");
}

TEST_F(ModelImporterTest, ACancelLeavesNothing) {
  ScriptedWhisperModel::Options large;
  large.text = "One two three.";
  large.width = 128;
  const QString source = writeFolder("folder", {}, ScriptedWhisperModel::bytes(large));
  ModelImporter importer(models_, pool_, {}, {});
  TaskScope scope(executor_);
  TaskHandle<ImportResult> handle;
  handle = scope.spawn(importer.importModel(source, {}, [&](double) { handle.cancel(); }));
  executor_.runUntilIdle();
  EXPECT_TRUE(handle.isDone());
  EXPECT_EQ(files(), QStringList());
}

TEST_F(ModelImporterTest, ADimensionOfZeroIsDamage) {
  for (const char* tensor : {"decoder/embeddings/weight", "decoder/position_encodings/encodings",
                             "encoder/position_encodings/encodings", "encoder/layer_norm/gamma"}) {
    for (const bool isFirst : {true, false}) {
      QByteArray content = CTranslate2Folder::modelBytes(model(), {});
      // After the name and its zero: the rank, a dimension of four bytes each, the type, the length, the numbers.
      char* const record = content.data() + content.indexOf(tensor) + qsizetype(std::strlen(tensor)) + 1;
      const int rank = record[0];
      qToLittleEndian<quint32>(0, record + 1 + (isFirst ? 0 : 4 * (rank - 1)));
      char* const length = record + 1 + 4 * rank + 1;
      const auto bytes = qFromLittleEndian<quint32>(length);
      qToLittleEndian<quint32>(0, length);
      content.remove(length + 4 - content.constData(), bytes);
      const QString name = QString::fromLatin1(tensor).replace(u'/', u'-') + QString::number(isFirst);
      write(name + "/tokenizer.json", CTranslate2Folder::vocabularyBytes(model(), Vocabulary::tokenizerJson));
      write(name + "/model.bin", content);
      expectRefusal(tensor, path(name), "models.file.error.damaged");
    }
  }
}

}  // namespace
}  // namespace quillmere
