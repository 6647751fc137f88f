#pragma once
#include <QFileInfo>
#include <QStringList>
#include <map>

#include "ports/FileEvents.h"

namespace quillmere {

class FakeFileEvents final : public FileEvents {
 public:
  bool canWatch = true;
  std::function<void(const QString& path)> onWatch;  // while the watch is being set up
  QStringList watched;

  std::unique_ptr<Watch> watch(const QString& path, std::function<void()> onWrite) override {
    if (onWatch) onWatch(path);
    if (!canWatch || !QFileInfo::exists(path)) return nullptr;
    watched << path;
    const int id = ++lastId_;
    (*watches_)[id] = {path, std::move(onWrite)};
    return std::make_unique<Entry>(watches_, id);
  }

  void write(const QString& path) {
    const auto watches = *watches_;
    for (const auto& [id, entry] : watches)
      if (entry.first == path) entry.second();
  }
  size_t watchCount() const { return watches_->size(); }

 private:
  using Watches = std::map<int, std::pair<QString, std::function<void()>>>;
  class Entry final : public Watch {
   public:
    Entry(std::shared_ptr<Watches> watches, int id) : watches_(std::move(watches)), id_(id) {}
    ~Entry() override { watches_->erase(id_); }

   private:
    std::shared_ptr<Watches> watches_;
    int id_;
  };
  std::shared_ptr<Watches> watches_ = std::make_shared<Watches>();
  int lastId_ = 0;
};

}  // namespace quillmere
