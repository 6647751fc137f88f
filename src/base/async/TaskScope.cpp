#include "base/async/TaskScope.h"

namespace quillmere {

TaskScope::~TaskScope() {
  isClosed_ = true;
  // Destroying frames may end other tasks of this scope or try to spawn new ones.
  while (!strands_.empty()) {
    auto first = strands_.extract(strands_.begin());
    first.mapped()->setOnOver(nullptr);
    first.mapped()->kill();
  }
}

void TaskScope::cancelAll() {
  std::vector<std::shared_ptr<detail::Strand>> strands;
  strands.reserve(strands_.size());
  for (const auto& [number, strand] : strands_) strands.push_back(strand);
  for (const auto& strand : strands) strand->cancel();
}

void TaskScope::adopt(std::shared_ptr<detail::Strand> strand) {
  if (isClosed_) {
    strand->kill();
    return;
  }
  const auto number = nextNumber_++;
  strand->setOnOver([this, number] { strands_.erase(number); });
  auto& adopted = *strand;
  strands_.emplace(number, std::move(strand));
  adopted.start();
}

}  // namespace quillmere
