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
  std::optional<RunningApplication> find(const RunningApplication& application) const override {
    if (frontmost && isSameWindow(*frontmost, application)) return frontmost;
    const auto found = std::find_if(applications.begin(), applications.end(),
                                    [&](const RunningApplication& one) { return isSameWindow(one, application); });
    if (found == applications.end()) return std::nullopt;
    return *found;
  }
  bool activate(const RunningApplication& application) override {
    activations.push_back(application.processId);
    const auto target = find(application);
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
  Subscription observeTyping(std::function<void(const RunningApplication&)> observer) override {
    return add(typingObservers_, std::move(observer));
  }
  Subscription observeLaunches(std::function<void(const RunningApplication&)> observer) override {
    return add(launchObservers_, std::move(observer));
  }
  bool forceTerminate(qint64 processId) override {
    terminations.push_back(processId);
    return canTerminate;
  }

  // --- the test's side
  // One that runs, by its process.
  std::optional<RunningApplication> running(qint64 processId) const {
    RunningApplication application;
    application.processId = processId;
    return find(application);
  }
  // The user closes the window; the one below gets the keyboard.
  void close(const RunningApplication& application) {
    std::erase_if(applications, [&](const RunningApplication& one) { return isSameWindow(one, application); });
    if (!frontmost || !isSameWindow(*frontmost, application)) return;
    frontmost.reset();
    if (!applications.empty()) setFrontmost(applications.back());
  }
  // A key in the window in front.
  void type() {
    const auto observers = *typingObservers_;
    for (const auto& [id, observer] : observers) observer(*frontmost);
  }
  size_t typingObserverCount() const { return typingObservers_->size(); }
  // Brings an application to the front; the one that was there stays among the running ones.
  void setFrontmost(std::optional<RunningApplication> application) {
    if (application)
      std::erase_if(applications, [&](const RunningApplication& one) { return isSameWindow(one, *application); });
    if (frontmost && (!application || !isSameWindow(*frontmost, *application))) applications.push_back(*frontmost);
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
  using ApplicationObservers = Observers<std::function<void(const RunningApplication&)>>;
  ApplicationObservers launchObservers_ = std::make_shared<ApplicationObservers::element_type>();
  ApplicationObservers typingObservers_ = std::make_shared<ApplicationObservers::element_type>();
  int lastId_ = 0;
};

}  // namespace quillmere
