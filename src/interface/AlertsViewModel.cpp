#include "interface/AlertsViewModel.h"

#include <algorithm>

#include "base/async/Completion.h"

namespace quillmere {

void AlertsViewModel::show(Alert alert) {
  const auto isSame = [&](const Alert& other) { return other.title == alert.title && other.message == alert.message; };
  if (std::ranges::any_of(alerts_, isSame)) {
    if (alert.onCancel) alert.onCancel();
    return;
  }
  alerts_.push_back(std::move(alert));
  if (alerts_.size() == 1) Q_EMIT changed();
}

Task<bool> AlertsViewModel::ask(Alert alert) {
  Completion<bool> answered;
  alert.onAccept = [answered]() mutable { answered.resolve(true); };
  alert.onCancel = [answered]() mutable { answered.resolve(false); };
  show(std::move(alert));
  auto answer = answered.wait();
  co_return co_await std::move(answer);
}

const Alert& AlertsViewModel::shown() const {
  static const Alert none;
  return alerts_.empty() ? none : alerts_.front();
}

void AlertsViewModel::answer(std::function<void()> Alert::*how) {
  if (alerts_.empty()) return;
  const Alert answered = std::move(alerts_.front());
  alerts_.pop_front();
  Q_EMIT changed();
  if (answered.*how) (answered.*how)();
}

}  // namespace quillmere
