#include <gmock/gmock.h>

#include <QCoreApplication>

// The main of every test executable: adapters and QEventLoop need an application object.
int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
