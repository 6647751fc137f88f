#pragma once
#include "base/async/Executor.h"
#include "interface/ToastPanel.h"
#include "providers/UserNotices.h"

namespace quillmere {

// Short messages above the recording dialog, one at a time: a new one replaces the one shown. They leave by themselves,
// later the longer they are to read; a critical one stays longer. Main thread. The panel outlives this object.
class InlineErrorToastManager final : public UserNotices {
 public:
  InlineErrorToastManager(ToastPanel& panel, Executor& executor);
  ~InlineErrorToastManager() override;
  InlineErrorToastManager(const InlineErrorToastManager&) = delete;
  InlineErrorToastManager& operator=(const InlineErrorToastManager&) = delete;

  void showToast(const QString& message, bool isCritical) override;
  void dismiss();

  static Duration readingTime(const QString& message, bool isCritical);

 private:
  ToastPanel& panel_;
  Executor& executor_;
  Executor::TimerId timer_ = 0;
};

}  // namespace quillmere
