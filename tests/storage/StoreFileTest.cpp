#include "storage/StoreFile.h"

#include <sqlite3.h>
#include <QCryptographicHash>
#include <QDir>

#include "storage/StoreFixture.h"
#include "storage/StoreSchema.h"
#include "storage/WordTokenizer.h"
#include "support/WithoutPrivileges.h"

namespace quillmere {
namespace {

class StoreFileTest : public StoreFixture {
 public:
  // The refusal as the user sees it, as it is reported, and that the file is still what it was.
  void expectRefusal(const QString& reason) {
    const QByteArray before = bytes();
    reporting.reports.clear();
    const QString text = openError().description;
    EXPECT_TRUE(text.startsWith("Core Data failed to load: ")) << text.toStdString();
    EXPECT_TRUE(text.contains(reason)) << text.toStdString();
    EXPECT_TRUE(text.contains(path)) << text.toStdString();
    EXPECT_EQ(reportTexts(), QStringList{"Critical: Core Data failed to load"});
    EXPECT_EQ(bytes(), before);
  }
  void makeStore(int transcripts) {
    auto store = openStoreHere();
    for (int i = 0; i < transcripts; ++i) {
      const TranscriptPtr transcript = store->insertTranscript();
      transcript->text = QString("row %1 ").arg(i).repeated(20);
    }
    EXPECT_TRUE(store->save());
  }
};

TEST_F(StoreFileTest, ForeignAndDamagedFilesAreLeftAlone) {
  makeStore(200);
  const QByteArray sound = bytes();
  ASSERT_GT(sound.size(), 40'000);
  QByteArray zeros = sound;
  zeros.replace(8192, 16384, QByteArray(16384, '\0'));
  const struct {
    const char* name;
    QByteArray content;
    const char* reason;
  } cases[] = {{"text", "Dear diary, this isn't a database at all.", "file is not a database"},
               {"head only", sound.left(60), "file is not a database"},
               {"cut in the first page", sound.left(2000), ""},
               {"truncated", sound.left(sound.size() / 2), "malformed"},
               {"pages of zeros", zeros, "database"}};
  for (const auto& [name, content, reason] : cases) {
    SCOPED_TRACE(name);
    writeFile(path, content);
    expectRefusal(reason);
  }
  reporting.isOn = false;
  reporting.reports.clear();
  openError();
  EXPECT_TRUE(reporting.reports.empty()) << "without the user's consent";
  writeFile(path, sound);
  EXPECT_EQ(openStoreHere()->countTranscripts(), 200);
  writeFile(path);
  EXPECT_EQ(openStoreHere()->fetchAllModes().size(), 1u) << "an empty file becomes a store";
}

TEST_F(StoreFileTest, OtherPeoplesDatabasesAreLeftAlone) {
  for (const char* applicationId : {"0", "1196444487"}) {
    QFile::remove(path);
    {
      SQLite::Database foreign(path.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
      foreign.exec(std::string("PRAGMA application_id = ") + applicationId);
      foreign.exec("CREATE TABLE Mode(name TEXT)");
    }
    expectRefusal("not a Quillmere database");
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList{"Quillmere.sqlite"});
  }
}

TEST_F(StoreFileTest, ANewerStoreWhoseVersionIsStillInTheLogAndOneWithoutATable) {
  makeStore(1);
  {
    auto running = openStore(path, Logger()).value();
    running->exec("DROP TABLE Vocabulary");
    expectRefusal("Vocabulary");
    running->exec("PRAGMA user_version = 99");
    EXPECT_TRUE(QFile::exists(path + "-wal"));
    expectRefusal("newer version");
  }
  expectRefusal("newer version");
}

TEST_F(StoreFileTest, FoldersAndUnwritablePlaces) {
  QDir().mkpath(path);
  EXPECT_TRUE(openError().description.contains("directory"));
  EXPECT_TRUE(QDir(path).isEmpty());
  QDir().rmdir(path);

  path = "/proc/no/such/place/Quillmere.sqlite";
  EXPECT_TRUE(openError().description.contains("/proc/no/such/place"));

  path = folder.filePath("new/folder/Quillmere.sqlite");
  EXPECT_NE(openStoreHere(), nullptr);
  EXPECT_EQ(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
}

TEST_F(StoreFileTest, ReadOnlyFolderAndReadOnlyFile) {
  makeStore(3);
  const QByteArray before = bytes();
  ASSERT_TRUE(QFile::setPermissions(path, QFile::Permissions(0x6666)));
  ASSERT_TRUE(QFile::setPermissions(folder.path(), QFile::Permissions(0x5555)));
  {
    const WithoutPrivileges scope;
    openError();
    path += ".new";
    openError();
    EXPECT_FALSE(QFile::exists(path));
    path.chop(4);
  }
  ASSERT_TRUE(QFile::setPermissions(folder.path(), QFile::Permissions(0x7777)));
  ASSERT_TRUE(QFile::setPermissions(path, QFile::Permissions(0x4444)));
  {
    const WithoutPrivileges scope;
    openError();
  }
  EXPECT_EQ(bytes(), before);
  ASSERT_TRUE(QFile::setPermissions(path, QFile::Permissions(0x6666)));
  EXPECT_EQ(openStoreHere()->countTranscripts(), 3);
}

// A released step may never change: stores out there were made by it.
TEST(StoreSchemaTest, ReleasedStepsAreAsTheyWere) {
  const char* const released[] = {"6d3cdf6b67c1fdca", "8162d44d003262de", "13942e9f12764375", "3ee0dbdc09f0f0b6"};
  ASSERT_EQ(schemaVersions().size(), std::size(released));
  for (size_t i = 0; i < schemaVersions().size(); ++i) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const char* statement : schemaVersions()[i].statements) hash.addData(QByteArray(statement) + ';');
    EXPECT_EQ(schemaVersions()[i].version, static_cast<int>(i) + 1);
    EXPECT_EQ(hash.result().toHex().left(16).toStdString(), released[i]);
  }
}

TEST_F(StoreFileTest, StoresOfEveryEarlierVersionAreMigrated) {
  for (int version = 1; version < latestSchemaVersion(); ++version) {
    SCOPED_TRACE(version);
    QFile::remove(path);
    {
      SQLite::Database old(path.toStdString(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
      ASSERT_EQ(registerWordTokenizer(old.getHandle()), SQLITE_OK);
      old.exec("PRAGMA application_id = " + std::to_string(storeApplicationId));
      for (const SchemaVersion& step : schemaVersions())
        if (step.version <= version)
          for (const char* statement : step.statements) old.exec(statement);
      old.exec("PRAGMA user_version = " + std::to_string(version));
      old.exec("INSERT INTO Mode(id, name, sortOrder) VALUES ('00000000-0000-0000-0000-0000000000aa', 'Old', 3)");
      old.exec("INSERT INTO RecordingSession(id, deviceName) VALUES ('00000000-0000-0000-0000-0000000000bb', 'desk')");
      old.exec(
          "INSERT INTO Transcript(id, text, status, date, duration, modeRelationship, recordingSession) VALUES "
          "('00000000-0000-0000-0000-0000000000cc', 'Grüße aus der Vergangenheit', 'completed', 1000, 2.5, 1, 1)");
    }
    auto store = openStoreHere();
    EXPECT_EQ(names(store->fetchAllModes()), QStringList{"Old"});
    const auto found = store->fetchTranscripts(10, 0, "vergangen");
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0]->date, QDateTime::fromMSecsSinceEpoch(1000, Qt::UTC));
    EXPECT_EQ(found[0]->modeRelationship->name, "Old");
    EXPECT_EQ(found[0]->recordingSession->deviceName, "desk");
    EXPECT_EQ(store->countTranscripts("gangenhe"), 1);
    // Rows that were there before the index are taken out of it like any other.
    found[0]->text = "Neues";
    store->save();
    for (const char* gone : {"vergangenheit", "gangenhe", "gan"}) EXPECT_EQ(store->countTranscripts(gone), 0) << gone;
    for (const char* present : {"neues", "eues", "eue"}) EXPECT_EQ(store->countTranscripts(present), 1) << present;
  }
}

}  // namespace
}  // namespace quillmere
