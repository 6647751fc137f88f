#include "platform/linux/ProcessIdentity.h"

#include <QProcess>
#include <QStringList>

namespace quillmere {
namespace {

// The identity of this process with one part changed.
QString with(int part, const QString& text) {
  QStringList parts = thisProcessIdentity().split(u' ');
  parts[part] = text;
  return parts.join(u' ');
}

TEST(ProcessIdentityTest, TellsTheLivingFromTheDead) {
  EXPECT_EQ(isProcessAlive(thisProcessIdentity()), true);
  const struct {
    const char* what;
    QString identity;
    std::optional<bool> isAlive;
  } cases[] = {{"before the machine was started anew", with(0, "another-boot"), false},
               {"in a sandbox", with(1, "pid:[1]"), std::nullopt},
               {"an older process of this number", with(3, "17"), false},
               {"no such process", with(2, "4194999"), false},
               {"nothing", "", false},
               {"no identity", "1234 5678", false}};
  for (const auto& [what, identity, isAlive] : cases) EXPECT_EQ(isProcessAlive(identity), isAlive) << what;
}

TEST(ProcessIdentityTest, AKilledProcessIsDeadAlsoBeforeItIsCollected) {
  QProcess process;
  process.start("cat", {});
  ASSERT_TRUE(process.waitForStarted());
  const QString pid = QString::number(process.processId());
  QFile stat("/proc/" + pid + "/stat");
  ASSERT_TRUE(stat.open(QIODevice::ReadOnly));
  const QString start = QString::fromLatin1(stat.readAll()).split(u' ').value(21);  // "cat" has no blank in it
  QStringList parts = thisProcessIdentity().split(u' ');
  parts[2] = pid;
  parts[3] = start;
  const QString identity = parts.join(u' ');
  EXPECT_EQ(isProcessAlive(identity), true);
  process.kill();
  QProcess::execute("sleep", {"0.2"});  // nobody has waited for it yet
  EXPECT_EQ(isProcessAlive(identity), false);
  process.waitForFinished();
  EXPECT_EQ(isProcessAlive(identity), false);
}

}  // namespace
}  // namespace quillmere
