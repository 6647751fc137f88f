#pragma once
#include <set>

#include "ports/ProcessLocks.h"

namespace quillmere {

// The locks of one made-up process. Processes of one machine share the table; a killed one loses what it had.
class FakeProcessLocks final : public ProcessLocks {
 public:
  using Table = std::set<QString>;

  explicit FakeProcessLocks(std::shared_ptr<Table> machine = std::make_shared<Table>())
      : machine_(std::move(machine)) {}

  std::shared_ptr<Table> machine() const { return machine_; }
  const Table& held() const { return *held_; }
  void kill() {
    for (const QString& name : *held_) machine_->erase(name);
    held_->clear();
  }

  std::unique_ptr<Lock> take(const QString& name) override {
    if (!machine_->insert(name).second) return nullptr;
    held_->insert(name);
    return std::make_unique<Held>(machine_, held_, name);
  }
  bool isTaken(const QString& name) const override { return machine_->contains(name); }

 private:
  struct Held final : Lock {
    Held(std::shared_ptr<Table> machine, std::shared_ptr<Table> owner, QString lock)
        : everybody(std::move(machine)), own(std::move(owner)), name(std::move(lock)) {}
    ~Held() override {
      if (own->erase(name)) everybody->erase(name);
    }
    const std::shared_ptr<Table> everybody, own;
    const QString name;
  };

  std::shared_ptr<Table> machine_;
  std::shared_ptr<Table> held_ = std::make_shared<Table>();
};

}  // namespace quillmere
