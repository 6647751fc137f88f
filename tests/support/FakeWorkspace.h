#pragma once
#include <algorithm>
#include <map>
#include <vector>

#include "ports/Workspace.h"

namespace quillmere {

// A desktop whose windows the test moves about.
class FakeWorkspace final : public Workspace {
 public:
  std::optional<RunningApplication> frontmost;
  std::vector<RunningApplication> applications;  // besides the frontmost one
  bool becomesFrontmostWhenActivated = true;
  bool canTerminate = true;

  // What was asked for.
  std::vector<qint64> activations;
  std::vector<qint64> terminations;
  int hides = 0;

  std::optional<RunningApplication> frontmostApplication() const override { return frontmost; }
  std::optional<RunningApplication> runningApplication(qint64 processId) const override {
    if (frontmost && frontmost->processId == processId) return frontmost;
    const auto found = std::find_if(applications.begin(), applications.end(),
                                    [&](const RunningApplication& one) { return one.processId == processId; });
    if (found == applications.end()) return std::nullopt;
    return *found;
  }
  bool activate(qint64 processId) override {
    activations.push_back(processId);
    const auto target = runningApplication(processId);
    if (!target) return false;
    if (becomesFrontmostWhenActivated) setFrontmost(target);
    return true;
  }
  void hideThisApplication() override {
    ++hides;
    if (frontmost && frontmost->isThisApplication) setFrontmost(std::nullopt);
  }
  Subscription observeFrontmost(std::function<void()> observer) override {
    return add(frontmostObservers_, std::move(observer));
  }
  Subscription observeLaunches(std::function<void(const RunningApplication&)> observer) override {
    return add(launchObservers_, std::move(observer));
  }
  bool forceTerminate(qint64 processId) override {
    terminations.push_back(processId);
    return canTerminate;
  }

  // --- the test's side
  // Brings an application to the front; the one that was there stays among the running ones.
  void setFrontmost(std::optional<RunningApplication> application) {
    if (application)
      std::erase_if(applications,
                    [&](const RunningApplication& one) { return one.processId == application->processId; });
    if (frontmost && (!application || frontmost->processId != application->processId))
      applications.push_back(*frontmost);
    frontmost = std::move(application);
    const auto observers = *frontmostObservers_;
    for (const auto& [id, observer] : observers) observer();
  }
  void launch(const RunningApplication& application) {
    applications.push_back(application);
    const auto observers = *launchObservers_;
    for (const auto& [id, observer] : observers) observer(application);
  }
  size_t launchObserverCount() const { return launchObservers_->size(); }

 private:
  template <typename F>
  using Observers = std::shared_ptr<std::map<int, F>>;

  template <typename F>
  Subscription add(const Observers<F>& observers, F observer) {
    const int id = ++lastId_;
    observers->emplace(id, std::move(observer));
    return Subscription([observers, id] { observers->erase(id); });
  }

  Observers<std::function<void()>> frontmostObservers_ = std::make_shared<std::map<int, std::function<void()>>>();
  Observers<std::function<void(const RunningApplication&)>> launchObservers_ =
      std::make_shared<std::map<int, std::function<void(const RunningApplication&)>>>();
  int lastId_ = 0;
};

}  // namespace quillmere
