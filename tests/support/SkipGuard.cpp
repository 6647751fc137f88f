#include "support/SkipGuard.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>

namespace quillmere {
namespace {

bool isAllowed(const QString& test) {
  QFile list(QStringLiteral(QUILLMERE_ALLOWED_SKIPS));
  if (!list.open(QIODevice::ReadOnly)) return false;
  while (!list.atEnd()) {
    const QString line = QString::fromUtf8(list.readLine()).trimmed();
    const qsizetype colon = line.indexOf(u':');
    if (line.startsWith(u'#') || colon < 0 || line.mid(colon + 1).trimmed().isEmpty()) continue;
    const QString pattern = QRegularExpression::wildcardToRegularExpression(line.left(colon));
    if (QRegularExpression(pattern).match(test).hasMatch()) return true;
  }
  return false;
}

class SkipGuard final : public testing::EmptyTestEventListener {
  void OnTestEnd(const testing::TestInfo& test) override {
    if (!test.result()->Skipped()) return;
    const QString name = QString("%1.%2").arg(QLatin1String(test.test_suite_name()), QLatin1String(test.name()));
    if (!isAllowed(name)) ADD_FAILURE() << "skipped, and tests/allowed_skips.txt does not name it";
  }
};

}  // namespace

void installSkipGuard() {
  if (qgetenv("CI") == "true") testing::UnitTest::GetInstance()->listeners().Append(new SkipGuard);
}

}  // namespace quillmere
