#include <gtest/gtest.h>

#include "desktop/Keyboard.h"
#include "platform/qt/QtHttpDownloader.h"
#include "support/LoopbackHttpServer.h"

namespace quillmere {
namespace {

using Server = LoopbackHttpServer;

// The first run gets its model over real sockets from a server that hangs up in the middle.
TEST(DownloadTest, FirstRunDownloadsAModel) {
  QByteArray model(8'000'000, Qt::Uninitialized);
  for (qsizetype i = 0; i < model.size(); ++i) model[i] = char((i * 31) ^ (i >> 9));
  const qsizetype half = model.size() / 2;
  Server server([&](const QByteArray& request) {
    const bool isRest = !Server::header(request, "Range").isEmpty();
    const QByteArray body = isRest ? model.mid(half) : model;
    QByteArray headers = "ETag: \"v1\"\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n";
    if (isRest)
      headers += "Content-Range: bytes " + QByteArray::number(half) + '-' + QByteArray::number(model.size() - 1) + '/' +
                 QByteArray::number(model.size()) + "\r\n";
    return Server::Reply{
        Server::response(isRest ? "206 Partial Content" : "200 OK", headers, isRest ? body : body.left(half))};
  });
  QtHttpDownloader downloader(QStringLiteral("1"));
  DesktopFixture f(QStringLiteral("en"), false, false, &downloader, server.address());
  f.state.update([](AppStateData& data) {
    data.showOnboarding = true;
    data.onboardingCurrentStep = FirstRunViewModel::modelStep;
  });
  QQuickWindow* const window = activeWindow(f);
  ASSERT_NE(window, nullptr);
  const auto option = [&] { return itemNamed(window, QStringLiteral("Tiny (Multilingual), ")); };
  const auto bar = [&] { return itemNamed(window, QStringLiteral("Tiny (Multilingual): ")); };
  ASSERT_NE(option(), nullptr);
  ASSERT_TRUE(tabTo(f, accessibleName(option())));
  press(f, Qt::Key_Space);
  ASSERT_TRUE(f.settleUntil([&] { return bar() != nullptr; }));
  double most = 0;
  ASSERT_TRUE(f.settleUntil([&] {
    f.executor.advance(std::chrono::milliseconds(250));
    if (bar()) most = std::max(most, bar()->property("value").toDouble());
    return most > 0.4 && accessibleName(bar()).contains(QStringLiteral(" of "));
  })) << most;
  f.keepPicture(window, QStringLiteral("first-run-download"));
  // It goes on by itself where it broke off, and what has arrived is used.
  ASSERT_TRUE(f.settleUntil([&] {
    f.executor.advance(std::chrono::milliseconds(250));
    return f.models.findDownloaded(QStringLiteral("tiny")).has_value();
  })) << qPrintable(f.interface->firstRun()->modelProblem());
  EXPECT_TRUE(accessibleName(option()).contains(QStringLiteral("installed"))) << qPrintable(accessibleName(option()));
  EXPECT_TRUE(readFile(f.folder.filePath(QStringLiteral("ggml-tiny.bin"))) == model);
  EXPECT_EQ(f.store->fetchMode(f.state.data().selectedModeId)->model, QStringLiteral("tiny"));
}

}  // namespace
}  // namespace quillmere
