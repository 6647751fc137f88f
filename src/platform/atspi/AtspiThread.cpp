#include "platform/atspi/AtspiThread.h"

#include <utility>

namespace quillmere {

AtspiThread::AtspiThread(const Logging& logging) : waker_(new QObject) {
  waker_->moveToThread(&thread_);
  QObject::connect(&thread_, &QThread::started, waker_,
                   [this, logging] { bus_ = std::make_unique<AtspiBus>(logging); });
  QObject::connect(
      &thread_, &QThread::finished, waker_, [this] { bus_.reset(); }, Qt::DirectConnection);
  QObject::connect(&thread_, &QThread::finished, waker_, &QObject::deleteLater);
  thread_.setObjectName(QStringLiteral("accessibility"));
  thread_.start();
}

AtspiThread::~AtspiThread() {
  isEnding_ = true;
  {
    const std::scoped_lock lock(mutex_);
    jobs_.clear();
  }
  thread_.quit();
  thread_.wait();
}

void AtspiThread::post(Job job) {
  {
    const std::scoped_lock lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  QMetaObject::invokeMethod(
      waker_, [this] { runJobs(); }, Qt::QueuedConnection);
}

bool AtspiThread::isConnected() {
  if (!isLookingAgain_.exchange(true)) post([this](AtspiBus&) { isLookingAgain_ = false; });
  return isConnected_;
}

void AtspiThread::runJobs() {
  Job job;
  {
    const std::scoped_lock lock(mutex_);
    if (jobs_.empty()) return;
    job = std::move(jobs_.front());
    jobs_.pop_front();
  }
  isConnected_ = bus_->ensureConnected();
  job(*bus_);
}

}  // namespace quillmere
