#pragma once
#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>

namespace quillmere {

// This test executable once more, running one of its DISABLED_ tests on the file `path` under a name of its own.
class SecondProcess {
 public:
  SecondProcess(const QString& test, const QString& path, const QString& name) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("SECOND_PROCESS_PATH", path);
    environment.insert("SECOND_PROCESS_NAME", name);
    process_.setProcessEnvironment(environment);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.start(QCoreApplication::applicationFilePath(),
                   {"--gtest_also_run_disabled_tests", "--gtest_filter=" + test});
  }
  void expectSuccess() {
    EXPECT_TRUE(process_.waitForFinished(120'000));
    EXPECT_EQ(process_.exitCode(), 0) << process_.readAll().toStdString();
  }
  // What the other side was given.
  static QString path() { return qEnvironmentVariable("SECOND_PROCESS_PATH"); }
  static QString name() { return qEnvironmentVariable("SECOND_PROCESS_NAME"); }

 private:
  QProcess process_;
};

}  // namespace quillmere
