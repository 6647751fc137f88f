#include "app/session/ClipboardHolder.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDataStream>
#include <QFile>
#include <QProcess>
#include <cstring>

#include "base/async/Async.h"
#include "platform/qt/QtExecutor.h"
#include "platform/x11/X11Pasteboard.h"
#include "platform/x11/XcbConnection.h"

namespace quillmere {
namespace {

constexpr char holdArgument[] = "--hold-clipboard";
constexpr std::chrono::milliseconds takeOverLimit{2000};
constexpr std::chrono::milliseconds takeOverPace{5};
constexpr std::chrono::hours anyTime{24 * 365};

QByteArray bytesOf(const ClipboardItems& items) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream << quint32(items.size());
  for (const ClipboardItemData& item : items) stream << item.types << item.data;
  return bytes;
}

// Nothing when the bytes end too early.
ClipboardItems itemsOf(const QByteArray& bytes) {
  QDataStream stream(bytes);
  quint32 count = 0;
  stream >> count;
  ClipboardItems items;
  for (; count > 0 && stream.status() == QDataStream::Ok; --count) {
    ClipboardItemData item;
    stream >> item.types >> item.data;
    items.push_back(std::move(item));
  }
  if (stream.status() != QDataStream::Ok) items.clear();
  return items;
}

bool isManagerThere(XcbConnection& connection) {
  const xcb_atom_t manager = connection.atom("CLIPBOARD_MANAGER");
  const XcbPointer<xcb_get_selection_owner_reply_t> reply(
      xcb_get_selection_owner_reply(connection.raw(), xcb_get_selection_owner(connection.raw(), manager), nullptr));
  return reply && reply->owner != XCB_NONE;
}

Task<void> waitForLoss(Pasteboard& pasteboard) {
  for (bool isFetched = true; isFetched;) {
    pasteboard.expectFetch();
    auto waiting = pasteboard.waitForFetch(anyTime);
    isFetched = co_await std::move(waiting);
  }
  QCoreApplication::quit();
}

}  // namespace

Task<void> handOverClipboard(Pasteboard& pasteboard) {
  if (!pasteboard.ownsContents()) co_return;
  auto reading = pasteboard.items();
  const ClipboardItems items = co_await std::move(reading);
  QFile memory;
  const int descriptor = ::memfd_create("clipboard", MFD_CLOEXEC);
  if (items.empty() || descriptor < 0 ||
      !memory.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle) ||
      memory.write(bytesOf(items)) < 0)
    co_return;
  QProcess holder;
  holder.setProgram(QCoreApplication::applicationFilePath());
  holder.setArguments({QString::fromLatin1(holdArgument)});
  holder.setStandardInputFile(QStringLiteral("/proc/%1/fd/%2").arg(QCoreApplication::applicationPid()).arg(descriptor));
  holder.setStandardOutputFile(QProcess::nullDevice());
  holder.setStandardErrorFile(QProcess::nullDevice());
  holder.setWorkingDirectory(QStringLiteral("/"));
  qint64 processId = 0;
  if (!holder.startDetached(&processId)) co_return;
  Executor& executor = co_await currentExecutor();
  const TimePoint end = executor.now() + takeOverLimit;
  while (pasteboard.ownsContents() && executor.now() < end && ::kill(pid_t(processId), 0) == 0)
    co_await sleepFor(takeOverPace);
}

std::optional<int> holdClipboard(int argc, char** argv) {
  if (argc != 2 || std::strcmp(argv[1], holdArgument) != 0) return std::nullopt;
  const QCoreApplication application(argc, argv);
  QFile input;
  if (!input.open(STDIN_FILENO, QIODevice::ReadOnly)) return EXIT_FAILURE;
  const ClipboardItems items = itemsOf(input.readAll());
  auto connection = XcbConnection::open();
  if (items.empty() || !connection || isManagerThere(**connection)) return EXIT_FAILURE;
  (*connection)->setOnClosed([] { QCoreApplication::quit(); });
  QtExecutor executor;
  {
    auto pasteboard = X11Pasteboard::open(executor);
    if (!pasteboard || !(*pasteboard)->write(items)) return EXIT_FAILURE;
    TaskScope scope(executor);
    (void)scope.spawn(waitForLoss(**pasteboard));
    QCoreApplication::exec();
  }
  return EXIT_SUCCESS;
}

}  // namespace quillmere
