#pragma once
#include <memory>
#include <vector>

#include "base/log/Logger.h"

namespace quillmere {

// Hands every record to several sinks. Thread-safe where they are.
class TeeLogSink final : public LogSink {
 public:
  explicit TeeLogSink(std::vector<std::shared_ptr<LogSink>> sinks) : sinks_(std::move(sinks)) {}
  void write(const LogRecord& record) override {
    for (const auto& sink : sinks_) sink->write(record);
  }

 private:
  std::vector<std::shared_ptr<LogSink>> sinks_;
};

}  // namespace quillmere
