#include "interface/FileQueue.h"

#include <algorithm>

namespace quillmere {

const FileQueue::Item* FileQueue::find(Id id) const {
  const auto index = indexOf(id);
  return index ? &items_[*index] : nullptr;
}

FileQueue::Item* FileQueue::item(Id id) {
  const auto index = indexOf(id);
  return index ? &items_[*index] : nullptr;
}

std::optional<size_t> FileQueue::indexOf(Id id) const {
  for (size_t i = 0; i < items_.size(); ++i)
    if (items_[i].id == id) return i;
  return std::nullopt;
}

const FileQueue::Item* FileQueue::running() const {
  const auto found = std::ranges::find(items_, State::running, &Item::state);
  return found == items_.end() ? nullptr : &*found;
}

bool FileQueue::isIdle() const {
  return std::ranges::all_of(items_, &Item::isOver);
}

bool FileQueue::isUnderWay(const std::filesystem::path& file) const {
  return std::ranges::any_of(items_, [&](const Item& item) { return !item.isOver() && item.file == file; });
}

FileQueue::Id FileQueue::add(std::filesystem::path file, const QString& modeId) {
  Item item;
  item.id = ++lastId_;
  item.file = std::move(file);
  item.modeId = modeId;
  items_.push_back(std::move(item));
  return lastId_;
}

std::optional<FileQueue::Id> FileQueue::startNext() {
  if (running() != nullptr) return std::nullopt;
  const auto next = std::ranges::find(items_, State::waiting, &Item::state);
  if (next == items_.end()) return std::nullopt;
  next->state = State::running;
  return next->id;
}

void FileQueue::report(Id id, const FileTranscriptionProgressState& progress) {
  Item* const running = item(id);
  if (running == nullptr || running->state != State::running) return;
  running->progress = progress;
}

void FileQueue::end(Id id, State state, const QString& problem, double audioSeconds) {
  Item* const running = item(id);
  if (running == nullptr || running->state != State::running) return;
  running->state = state;
  running->problem = problem;
  running->audioSeconds = audioSeconds;
}

bool FileQueue::cancelWaiting(Id id) {
  Item* const waiting = item(id);
  if (waiting == nullptr || waiting->state != State::waiting) return false;
  waiting->state = State::cancelled;
  return true;
}

bool FileQueue::retry(Id id) {
  Item* const over = item(id);
  if (over == nullptr || (over->state != State::failed && over->state != State::cancelled)) return false;
  over->state = State::waiting;
  over->progress = {};
  over->problem.clear();
  return true;
}

bool FileQueue::remove(Id id) {
  const auto index = indexOf(id);
  if (!index || !items_[*index].isOver()) return false;
  items_.erase(items_.begin() + std::ptrdiff_t(*index));
  return true;
}

}  // namespace quillmere
