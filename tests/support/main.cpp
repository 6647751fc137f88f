#include <gmock/gmock.h>

#include <QCoreApplication>

#include "support/SkipGuard.h"

// The main of every test executable: adapters and QEventLoop need an application object.
int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  quillmere::installSkipGuard();
  QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
