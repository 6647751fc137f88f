#include "platform/curl/CurlThread.h"

#include <pthread.h>

#include <algorithm>
#include <csignal>

#include "platform/curl/CurlTransfer.h"

namespace quillmere {
namespace {

constexpr int longestPollMs = 60'000;

CURLM* makeMulti() {
  static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
  return isReady == CURLE_OK ? curl_multi_init() : nullptr;
}

}  // namespace

CurlThread::CurlThread() : multi_(makeMulti()), thread_([this] { loop(); }) {}

CurlThread::~CurlThread() {
  {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
  }
  curl_multi_wakeup(multi_);
  thread_.join();
  for (const auto& [handle, transfer] : transfers_) curl_multi_remove_handle(multi_, handle);
  transfers_.clear();
  curl_multi_cleanup(multi_);
}

void CurlThread::run(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  posted_.push_back(std::move(work));
  curl_multi_wakeup(multi_);
}

void CurlThread::add(std::shared_ptr<CurlTransfer> transfer) {
  run([this, transfer = std::move(transfer)] {
    transfers_[transfer->handle()] = transfer;
    curl_multi_add_handle(multi_, transfer->handle());
  });
}

void CurlThread::remove(std::shared_ptr<CurlTransfer> transfer) {
  run([this, transfer = std::move(transfer)] {
    if (transfers_.erase(transfer->handle()) > 0) curl_multi_remove_handle(multi_, transfer->handle());
  });
}

void CurlThread::loop() {
  // The TLS library writes to sockets that the other side has closed.
  sigset_t pipe;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
  pthread_setname_np(pthread_self(), "http");
  for (;;) {
    {
      const std::lock_guard lock(mutex_);
      if (isStopped_) return;
    }
    runPosted();
    int running = 0;
    curl_multi_perform(multi_, &running);
    collectEnded();
    curl_multi_poll(multi_, nullptr, 0, endIdle(), nullptr);
  }
}

void CurlThread::runPosted() {
  std::vector<std::function<void()>> posted;
  {
    const std::lock_guard lock(mutex_);
    posted.swap(posted_);
  }
  for (const auto& work : posted) work();
}

void CurlThread::collectEnded() {
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode code = message->data.result;
    const auto transfer = transfers_.extract(message->easy_handle).mapped();
    curl_multi_remove_handle(multi_, transfer->handle());
    transfer->ended(code);
  }
}

int CurlThread::endIdle() {
  const TimePoint now = std::chrono::steady_clock::now();
  TimePoint next = now + std::chrono::milliseconds(longestPollMs);
  std::vector<std::shared_ptr<CurlTransfer>> idle;
  for (const auto& [handle, transfer] : transfers_) {
    const auto deadline = transfer->idleDeadline();
    if (deadline && *deadline <= now)
      idle.push_back(transfer);
    else if (deadline)
      next = std::min(next, *deadline);
  }
  for (const auto& transfer : idle) {
    transfers_.erase(transfer->handle());
    curl_multi_remove_handle(multi_, transfer->handle());
    transfer->ended(CURLE_OPERATION_TIMEDOUT);
  }
  return int(std::chrono::ceil<std::chrono::milliseconds>(next - now).count());
}

}  // namespace quillmere
