#pragma once
#include <spdlog/formatter.h>
#include <QString>

namespace quillmere {

// One log message as one line of JSON. The logger's name is the category.
class JsonLineFormatter final : public spdlog::formatter {
 public:
  explicit JsonLineFormatter(QString processName) : processName_(std::move(processName)) {}
  void format(const spdlog::details::log_msg& message, spdlog::memory_buf_t& out) override;
  std::unique_ptr<spdlog::formatter> clone() const override {
    return std::make_unique<JsonLineFormatter>(processName_);
  }

 private:
  QString processName_;
};

}  // namespace quillmere
