#include "platform/qt/QtDefaultsStore.h"

#include <sys/stat.h>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <thread>

#include "support/SecondProcess.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

class QtDefaultsStoreTest : public testing::Test {
 public:
  QTemporaryDir folder;
  const QString path = folder.filePath("quillmere/quillmere.conf");

  void writeFile(const QByteArray& content) const {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(content), content.size());
  }
  QByteArray content() const {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }
};

constexpr int keysEach = 20;

TEST(DefaultsHelperTest, DISABLED_Writer) {
  QtDefaultsStore store(SecondProcess::path());
  const QString name = SecondProcess::name();
  for (int i = 0; i < keysEach; ++i) ASSERT_TRUE(store.setValue(name + QString::number(i), i % 2 == 0));
  for (int i = 0; i < keysEach; i += 2) ASSERT_TRUE(store.setValue(name + QString::number(i), false));
}

TEST_F(QtDefaultsStoreTest, ProcessesThatWriteDifferentKeysLoseNothing) {
  const QString writer = "DefaultsHelperTest.DISABLED_Writer";
  SecondProcess a(writer, path, "a"), b(writer, path, "b"), c(writer, path, "c");
  for (SecondProcess* process : {&a, &b, &c}) process->expectSuccess();
  const QtDefaultsStore store(path);
  EXPECT_EQ(store.keys().size(), 3 * keysEach);
  for (const QString& key : store.keys()) EXPECT_EQ(store.value(key), false) << key.toStdString();
  EXPECT_EQ(QDir(QFileInfo(path).absolutePath()).entryList(QDir::Files | QDir::Hidden), QStringList{"quillmere.conf"});
  EXPECT_EQ(QFile::permissions(path) & (QFile::WriteGroup | QFile::WriteOther), QFile::Permissions());
}

TEST_F(QtDefaultsStoreTest, AFileWrittenByHand) {
  writeFile(
      "[General]\nenableVAD=false\nmaxRecordingDuration=90\nsoundEffectsVolume=0.25\ncurrentMode=My notes\n"
      "indexedFileExtensions=a, b\nfutureKey=@Variant(whatever)\n\n[Group]\nkey=x\n");
  QtDefaultsStore store(path);
  const std::pair<const char*, QVariant> values[] = {
      {"enableVAD", false},        {"maxRecordingDuration", 90},      {"soundEffectsVolume", 0.25},
      {"currentMode", "My notes"}, {"indexedFileExtensions", "a, b"}, {"Group/key", "x"}};
  for (const auto& [key, value] : values) EXPECT_EQ(store.value(key), value) << key;
  EXPECT_TRUE(store.setValue("enableVAD", true));
  const QByteArray after = content();
  for (const char* line : {"enableVAD=true\n", "maxRecordingDuration=90\n", "soundEffectsVolume=0.25\n",
                           "currentMode=My notes\n", "futureKey=", "[Group]\nkey=x\n"})
    EXPECT_TRUE(after.contains(line)) << line << after.toStdString();
}

TEST_F(QtDefaultsStoreTest, AFileOfRubbishIsNoCrash) {
  for (const QByteArray& rubbish :
       {QByteArray("\0\xff\xfe[[[=\n==", 10), QByteArray("[General\nkey"), QByteArray("a=@Variant(\\0\\0\\0"),
        QByteArray("k=json:{\"unclosed\n"), QByteArray(100'000, '=')}) {
    writeFile(rubbish);
    QtDefaultsStore store(path);
    for (const QString& key : store.keys()) store.value(key);
    store.setValue("enableVAD", true);
    EXPECT_EQ(store.value("enableVAD"), true);
  }
}

TEST_F(QtDefaultsStoreTest, WritesOfOthersAreReadAtOnceWithoutAnEventLoop) {
  const QtDefaultsStore reader(path);
  QtDefaultsStore writer(path);
  // Values of equal length within one tick of the clock: neither time nor size of the file tell them apart by nature.
  for (int i = 0; i < 200; ++i) {
    writer.setValue("key", i % 2 ? "aaaa" : "bbbb");
    ASSERT_EQ(reader.value("key"), i % 2 ? "aaaa" : "bbbb") << i;
  }
  QFile::remove(path);
  EXPECT_FALSE(reader.value("key").isValid());
}

TEST_F(QtDefaultsStoreTest, TheEventLoopHearsOfChangesOfOthers) {
  QtDefaultsStore store(path);
  QEventLoop loop;
  QStringList heard;
  store.addObserver([&](const QString& key) {
    heard << key;
    loop.quit();
  });
  QTimer::singleShot(60'000, &loop, &QEventLoop::quit);
  for (const char* key : {"first", "second"}) {  // the second: the file that was watched has been replaced
    QtDefaultsStore other(path);
    other.setValue(key, true);
    loop.exec();
  }
  EXPECT_EQ(heard, QStringList({"first", "second"}));
}

TEST_F(QtDefaultsStoreTest, ObserversRunOnTheMainThread) {
  QtDefaultsStore store(path);
  QEventLoop loop;
  std::vector<QThread*> threads;
  store.addObserver([&](const QString&) {
    threads.push_back(QThread::currentThread());
    loop.quit();
  });
  std::thread([&] { store.setValue("key", 1); }).join();
  EXPECT_TRUE(threads.empty());
  QTimer::singleShot(60'000, &loop, &QEventLoop::quit);
  loop.exec();
  EXPECT_EQ(threads, std::vector{QThread::currentThread()});
}

TEST_F(QtDefaultsStoreTest, ManyThreadsMayReadAndWrite) {
  QtDefaultsStore store(path);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&store, t] {
      for (int i = 0; i < 50; ++i) {
        store.setValue(QString::number(t), i);
        store.value(QString::number((t + 1) % 4));
      }
    });
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(QtDefaultsStore(path).value(QString::number(t)), 49);
}

TEST_F(QtDefaultsStoreTest, WhatTheDiskRefusesStaysReadable) {
  writeFile("[General]\nkept=1\n");
  const QByteArray before = content();
  ASSERT_TRUE(QFile::setPermissions(folder.path(), QFile::Permissions(0x5555)));
  ASSERT_TRUE(QFile::setPermissions(QFileInfo(path).absolutePath(), QFile::Permissions(0x5555)));
  ASSERT_TRUE(QFile::setPermissions(path, QFile::Permissions(0x4444)));
  QtDefaultsStore store(path);
  {
    const WithoutPrivileges scope;
    EXPECT_FALSE(store.setValue("enableVAD", false));
    EXPECT_FALSE(store.remove("kept"));
  }
  EXPECT_EQ(store.value("enableVAD"), false);
  EXPECT_FALSE(store.value("kept").isValid());
  EXPECT_EQ(content(), before);
  ASSERT_TRUE(QFile::setPermissions(QFileInfo(path).absolutePath(), QFile::Permissions(0x7777)));
  ASSERT_TRUE(QFile::setPermissions(path, QFile::Permissions(0x6666)));
  EXPECT_TRUE(store.setValue("other", 1));  // what was refused goes along
  const QtDefaultsStore again(path);
  EXPECT_EQ(again.keys(), QStringList({"enableVAD", "other"}));
}

TEST_F(QtDefaultsStoreTest, IsClosedToOthersAlsoWhereItWasOpen) {
  const mode_t mask = ::umask(0022);
  constexpr QFile::Permissions others =
      QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
  {
    QtDefaultsStore store(path);
    EXPECT_TRUE(store.setValue("a", 1));
    EXPECT_EQ(QFile::permissions(path) & others, QFile::Permissions());
    EXPECT_EQ(QFile::permissions(QFileInfo(path).absolutePath()) & others, QFile::Permissions());
    ASSERT_TRUE(QFile::setPermissions(path, QFile::Permissions(0x6644)));
    EXPECT_TRUE(store.setValue("b", 2));
    EXPECT_EQ(QFile::permissions(path) & others, QFile::Permissions());
  }
  EXPECT_EQ(QtDefaultsStore(path).keys(), QStringList({"a", "b"}));
  ::umask(mask);
}

}  // namespace
}  // namespace quillmere
