#include "support/XvfbServer.h"

#include <stdexcept>

namespace quillmere {
namespace {

constexpr int startLimitMs = 60000;

}  // namespace

XvfbServer::XvfbServer() {
  process_.setStandardErrorFile(QProcess::nullDevice());
  process_.start("Xvfb", {"-displayfd", "1", "-screen", "0", "640x480x24", "-nolisten", "tcp", "-noreset"});
  while (!process_.canReadLine())
    if (!process_.waitForReadyRead(startLimitMs)) throw std::runtime_error("Xvfb does not start");
  displayName_ = u':' + QString::fromLatin1(process_.readLine().trimmed());
}

XvfbServer::~XvfbServer() {
  process_.terminate();
  if (!process_.waitForFinished(startLimitMs)) kill();
}

void XvfbServer::kill() {
  process_.kill();
  process_.waitForFinished(-1);
}

}  // namespace quillmere
