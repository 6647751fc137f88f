#include "models/ModelImporter.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>

#include "base/async/TaskScope.h"
#include "models/MelFilterBank.h"
#include "support/CTranslate2Folder.h"
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
  const std::vector<float> bank = melFilterBank(80);
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
  QString write(const QString& name, const QByteArray& content) {
    EXPECT_TRUE(QDir().mkpath(QFileInfo(path(name)).path()));
    QFile file(path(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    return path(name);
  }
  QString writeFolder(const QString& name, const CTranslate2Folder::Options& options,
                      const QByteArray& content = model()) {
    EXPECT_TRUE(CTranslate2Folder::write(path(name), content, options));
    return path(name);
  }
  static QByteArray read(const QString& file) {
    QFile opened(file);
    return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray();
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
  QString models_ = folder_.filePath(QStringLiteral("models"));
  QMap<QString, QString> checksums_;
  std::vector<double> progress_;
  ManualExecutor executor_;
  WorkerPool pool_{1};
};

TEST_F(ModelImporterTest, aConvertedFolderIsTheFileItWasMadeFrom) {
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
      EXPECT_EQ(imported->path, models_ + QStringLiteral("/custom/") + name + QStringLiteral(".bin"));
      EXPECT_EQ(imported->sha256, QString::fromLatin1(sha256(model()))) << qPrintable(name);
      EXPECT_TRUE(read(imported->path) == model()) << qPrintable(name);
    }
  }
}

TEST_F(ModelImporterTest, theMelBanksOfBothSizesHaveUnitArea) {
  for (const int bands : {80, 128}) {
    const std::vector<float> bank = melFilterBank(bands);
    ASSERT_EQ(bank.size(), static_cast<std::size_t>(bands) * 201);
    // The widest triangles are sampled finely enough for their area to show.
    float area = 0;
    for (std::size_t bin = 0; bin < 201; ++bin) area += bank[static_cast<std::size_t>(bands - 1) * 201 + bin] * 40;
    EXPECT_NEAR(area, 1.0f, 0.02f);
    EXPECT_EQ(bank.front(), 0.0f);
    EXPECT_EQ(bank.back(), 0.0f);
  }
}

TEST_F(ModelImporterTest, aModelOfTheCatalogueIsInstalledAsSuch) {
  checksums_ = {{QStringLiteral("ggml-base.en.bin"), QString::fromLatin1(sha256(model()))}};
  write(QStringLiteral("models/ggml-base.en.bin"), "a damaged one");
  for (const QString& source :
       {write(QStringLiteral("downloads/some file.bin"), model()), writeFolder(QStringLiteral("folder"), {})}) {
    const auto imported = import(source, QStringLiteral("mine"));
    ASSERT_TRUE(imported) << qPrintable(imported.error().description);
    EXPECT_TRUE(imported->isCatalogModel);
    EXPECT_EQ(imported->name, QStringLiteral("base.en"));
    EXPECT_EQ(files(), QStringList{QStringLiteral("ggml-base.en.bin")});
    EXPECT_TRUE(read(imported->path) == model());
  }
}

TEST_F(ModelImporterTest, refusesWhatIsNoModelAndLeavesNothing) {
  const QByteArray whole = CTranslate2Folder::modelBytes(model(), {});
  const auto folderWith = [&](const QString& name, const QByteArray& modelFile) {
    write(name + QStringLiteral("/tokenizer.json"),
          CTranslate2Folder::vocabularyBytes(model(), Vocabulary::tokenizerJson));
    write(name + QStringLiteral("/model.bin"), modelFile);
    return path(name);
  };
  const auto folderOf = [&](const QString& name, auto change) {
    CTranslate2Folder::Options options;
    change(options);
    return writeFolder(name, options);
  };
  const auto replaced = [&](const char* before, const char* after) { return QByteArray(whole).replace(before, after); };
  const auto vocabulary = [&](const QString& name, const QByteArray& before, const QByteArray& after) {
    const QString folder = folderWith(name, whole);
    write(name + QStringLiteral("/tokenizer.json"),
          read(folder + QStringLiteral("/tokenizer.json")).replace(before, after));
    return folder;
  };

  expectRefusal("absent", path(QStringLiteral("absent.bin")), "models.file.error.missing");
  expectRefusal("empty file", write(QStringLiteral("empty.bin"), {}), "models.file.error.empty");
  expectRefusal("text", write(QStringLiteral("text.bin"), "hello"), "models.file.error.foreign");
  expectRefusal("cut file", write(QStringLiteral("cut.bin"), model().left(1000000)), "models.file.error.truncated");
  ASSERT_TRUE(QDir().mkpath(path(QStringLiteral("hollow"))));
  expectRefusal("folder without model.bin", path(QStringLiteral("hollow")), "models.import.error.folderForeign");
  expectRefusal("model.bin is a ggml file", folderWith(QStringLiteral("a"), model()),
                "models.import.error.folderForeign");
  expectRefusal("other kind of model", folderOf(QStringLiteral("b"), [](auto& o) { o.kind = "TransformerSpec"; }),
                "models.import.error.folderForeign");
  expectRefusal("older format", folderOf(QStringLiteral("c"), [](auto& o) { o.version = 5; }),
                "models.import.error.folderVersion");
  expectRefusal("8-bit weights", folderOf(QStringLiteral("d"), [](auto& o) { o.isQuantised = true; }),
                "models.import.error.quantised");
  expectRefusal("no vocabulary", folderOf(QStringLiteral("e"), [](auto& o) { o.vocabulary = Vocabulary::none; }),
                "models.import.error.vocabularyMissing");
  expectRefusal("cut model.bin", folderWith(QStringLiteral("f"), whole.left(whole.size() / 2)),
                "models.file.error.truncated");
  expectRefusal("empty model.bin", folderWith(QStringLiteral("g"), {}), "models.import.error.folderForeign");
  expectRefusal("a tensor is missing",
                folderWith(QStringLiteral("h"),
                           replaced("encoder/layer_0/ffn/linear_1/bias", "encoder/layer_0/ffn/linear_x/bias")),
                "models.file.error.damaged");
  expectRefusal("a layer is missing",
                folderWith(QStringLiteral("i"), replaced("decoder/layer_0/self_attention/linear_0/weight",
                                                         "decoder/layer_1/self_attention/linear_0/weight")),
                "models.file.error.damaged");
  // 2 heads for a width of 32 are fine, 0 and 33 are not. The number is the last thing of its record.
  const qsizetype heads = whole.indexOf("encoder/num_heads") + 18 + 1 + 1 + 4;
  expectRefusal("no heads", folderWith(QStringLiteral("j"), QByteArray(whole).replace(heads, 1, QByteArray(1, '\0'))),
                "models.file.error.damaged");
  expectRefusal("33 heads", folderWith(QStringLiteral("k"), QByteArray(whole).replace(heads, 1, "!")),
                "models.file.error.damaged");
  expectRefusal("vocabulary is no JSON", vocabulary(QStringLiteral("l"), "{", "<"),
                "models.import.error.vocabularyDamaged");
  expectRefusal("a word is missing", vocabulary(QStringLiteral("m"), "\"~5000\": 5000,", ""),
                "models.import.error.vocabularyDamaged");
  expectRefusal("a number twice", vocabulary(QStringLiteral("n"), "\"~5000\": 5000,", "\"~5000\": 5001,"),
                "models.import.error.vocabularyDamaged");
  expectRefusal("a character that stands for no byte", vocabulary(QStringLiteral("o"), "\"~5000\"", "\"\u6771\""),
                "models.import.error.vocabularyDamaged");
}

TEST_F(ModelImporterTest, aFlippedWeightGivesACustomModel) {
  checksums_ = {{QStringLiteral("ggml-tiny.bin"), QString::fromLatin1(sha256(model()))}};
  QByteArray content = model();
  content[content.size() - 200] = static_cast<char>(content[content.size() - 200] ^ 1);
  const auto imported = import(write(QStringLiteral("ggml-tiny.bin"), content));
  ASSERT_TRUE(imported);
  EXPECT_FALSE(imported->isCatalogModel);
  EXPECT_EQ(imported->name, QStringLiteral("ggml-tiny-custom"));
}

TEST_F(ModelImporterTest, keepsNamesApart) {
  const QString first = write(QStringLiteral("first.bin"), modelSaying("First."));
  const QString second = write(QStringLiteral("second.bin"), modelSaying("Second."));
  const QString name = QStringLiteral("Mine");
  ASSERT_TRUE(import(first, name));
  EXPECT_TRUE(import(first, name)) << "the same content again";
  expectRefusal("taken", second, "models.import.error.nameTaken", name);
  EXPECT_TRUE(read(models_ + QStringLiteral("/custom/Mine.bin")) == modelSaying("First."));
  for (const char* reserved : {"tiny.en", "Large-V2", "ggml-base"}) {
    expectRefusal(reserved, second, "models.import.error.nameReserved", QString::fromLatin1(reserved));
  }
  EXPECT_EQ(files(), QStringList{QStringLiteral("custom/Mine.bin")});
}

TEST_F(ModelImporterTest, makesFileNamesOfNames) {
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

TEST_F(ModelImporterTest, aFullDiskGivesASentenceAndLeavesNothing) {
  const QString source = writeFolder(QStringLiteral("folder"), {});
  const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  const rlimit small{2000000, old.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto result = import(source);
  ::setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, oldHandler);
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().domain, QStringLiteral("filesystem"));
  EXPECT_EQ(result.error().description, QStringLiteral("models.import.error.notWritten"));
  EXPECT_EQ(files(), QStringList());
}

TEST_F(ModelImporterTest, aModelsFolderThatCannotBeMadeGivesASentence) {
  models_ = write(QStringLiteral("models"), "a file where the folder should be");
  const auto result = import(write(QStringLiteral("m.bin"), model()));
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error().description, QStringLiteral("models.import.error.notWritten"));
}

TEST_F(ModelImporterTest, aCancelLeavesNothing) {
  ScriptedWhisperModel::Options large;
  large.text = "One two three.";
  large.width = 128;
  const QString source = writeFolder(QStringLiteral("folder"), {}, ScriptedWhisperModel::bytes(large));
  ModelImporter importer(models_, pool_, {}, {});
  TaskScope scope(executor_);
  TaskHandle<ImportResult> handle;
  handle = scope.spawn(importer.importModel(source, {}, [&](double) { handle.cancel(); }));
  executor_.runUntilIdle();
  EXPECT_TRUE(handle.isDone());
  EXPECT_EQ(files(), QStringList());
}

TEST_F(ModelImporterTest, removesWhatAKilledImportLeft) {
  write(QStringLiteral("models/.import-abcdef"), "half a model");
  ASSERT_TRUE(import(write(QStringLiteral("m.bin"), model())));
  EXPECT_EQ(files(), QStringList{QStringLiteral("custom/m.bin")});
}

TEST_F(ModelImporterTest, theStarterModelsFolderGivesTheCataloguesFile) {
  const QString source = qEnvironmentVariable("QUILLMERE_STARTER_FOLDER");
  if (source.isEmpty()) GTEST_SKIP() << "QUILLMERE_STARTER_FOLDER does not name a folder";
  checksums_ = WhisperModelManagerConfiguration::catalogChecksums();
  const auto imported = import(source);
  ASSERT_TRUE(imported) << qPrintable(imported.error().description);
  EXPECT_TRUE(imported->isCatalogModel);
  EXPECT_EQ(imported->name, QStringLiteral("tiny.en"));
  EXPECT_EQ(imported->sha256, QStringLiteral("921e4cf8686fdd993dcd081a5da5b6c365bfde1162e72b08d75ac75289920b1f"));
  EXPECT_EQ(files(), QStringList{QStringLiteral("ggml-tiny.en.bin")});
}

}  // namespace
}  // namespace quillmere
