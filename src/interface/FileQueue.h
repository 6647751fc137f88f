#pragma once
#include <QString>
#include <filesystem>
#include <optional>
#include <vector>

#include "files/FileTranscriptionProgress.h"

namespace quillmere {

// Files that wait to be transcribed, one after the other, and what became of them. Pure: who runs them tells how it
// goes.
class FileQueue {
 public:
  using Id = quint64;
  enum class State { waiting, running, completed, failed, cancelled };
  struct Item {
    Id id = 0;
    std::filesystem::path file;
    QString modeId;
    State state = State::waiting;
    FileTranscriptionProgressState progress;  // of the running one
    QString problem;                          // of a failed one, in the user's language
    double audioSeconds = 0;
    bool isOver() const { return state != State::waiting && state != State::running; }
    bool operator==(const Item&) const = default;
  };

  const std::vector<Item>& items() const { return items_; }
  const Item* find(Id id) const;
  std::optional<size_t> indexOf(Id id) const;
  const Item* running() const;
  bool isIdle() const;  // nothing waits or runs

  // Whether this file waits or runs.
  bool isUnderWay(const std::filesystem::path& file) const;
  Id add(std::filesystem::path file, const QString& modeId);  // at the end
  // The first that waits; nothing while one runs.
  std::optional<Id> startNext();
  // Both of the running one; others stay as they are.
  void report(Id id, const FileTranscriptionProgressState& progress);
  void end(Id id, State state, const QString& problem = {}, double audioSeconds = 0);
  // One that waits is cancelled at once; the running one by end().
  bool cancelWaiting(Id id);
  // One that failed or was cancelled waits again, where it stands.
  bool retry(Id id);
  // One that is over.
  bool remove(Id id);

 private:
  Item* item(Id id);

  std::vector<Item> items_;
  Id lastId_ = 0;
};

}  // namespace quillmere
